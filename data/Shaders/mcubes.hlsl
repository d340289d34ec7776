// The voxel surface as grey clay: a key light, a wrap fill, a rim and a matcap-like ambient; frozen parts tinted.

// Vertex shader
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec3 Normal;
uniform mat4 g_WorldViewProjectionMatrix;
uniform mat4 g_WorldViewMatrix;
uniform mat3 g_NormalMatrix;
uniform mat3 g_NormalViewMatrix;
out vec3 vNormalView;
out vec3 vPosView;
out float vFreeze;
void main() {
  gl_Position = g_WorldViewProjectionMatrix * vec4(Pos, 1.0);
  // The normal's length carries the freeze: 1 + Freeze / 65535.
  float len = length(Normal);
  vFreeze = clamp(len - 1.0, 0.0, 1.0);
  vNormalView = g_NormalViewMatrix * (g_NormalMatrix * (Normal / max(len, 1e-6)));
  vPosView = (g_WorldViewMatrix * vec4(Pos, 1.0)).xyz;
}

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in float vFreeze;
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
uniform vec3 g_SurfaceColor = vec3(0.66, 0.65, 0.63);
uniform vec3 g_FreezeColor = vec3(0.35, 0.45, 0.85);
out vec4 FragColor;
void main() {
  vec3 n = normalize(vNormalView);
  // Seen from inside (a cut, or the camera in the volume), light the side we see.
  if (dot(n, -vPosView) < 0.0) n = -n;
  vec3 albedo = mix(g_SurfaceColor, g_FreezeColor, vFreeze * 0.6);
  vec3 c = Clay(n, albedo);
  FragColor = vec4(pow(c, vec3(1.0 / 1.15)), 1.0);
}
