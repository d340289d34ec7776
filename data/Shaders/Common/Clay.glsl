// The viewport's clay lighting, shared by the shaders that should look alike.
// Lights live in view space: the key from the upper left in front, a rim behind.
const vec3 kKey = vec3(-0.45, 0.55, 0.70);
vec3 Clay(vec3 n, vec3 albedo) {
  float key = max(dot(n, normalize(kKey)), 0.0);
  float wrap = max((dot(n, normalize(kKey)) + 0.4) / 1.4, 0.0);
  // Matcap-like ambient: brighter toward the camera and from above.
  float ambient = 0.18 + 0.12 * n.y + 0.12 * n.z;
  float rim = pow(1.0 - max(n.z, 0.0), 3.0) * 0.35;
  vec3 h = normalize(normalize(kKey) + vec3(0.0, 0.0, 1.0));
  float highlight = pow(max(dot(n, h), 0.0), 40.0) * 0.18;
  return albedo * (ambient + 0.55 * key + 0.2 * wrap) + vec3(rim + highlight);
}
