// One frame of the render room's picture: the surface seen from the eye
// moved on the lens (the plane in focus stays where the unmoved eye sees
// it), lit by one light or, for the ambient share, by one random direction,
// with the shadow map's four nearest texels weighed for soft edges. Frames
// add into a float target; the picture is their mean.

// Vertex shader
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec3 Normal;
uniform vec3 g_EyePos;
uniform vec3 g_EyeRight;
uniform vec3 g_EyeUp;
uniform vec3 g_EyeForward;
uniform vec4 g_Lens;     // focal length in pixels, lens shift x, y over the focus distance, 0
uniform vec4 g_Picture;  // width, height, jitter x, jitter y (pixels)
uniform vec2 g_Depths;   // nearest, farthest distance
out vec3 vPos;
out vec3 vNormal;
void main() {
  vec3 d = Pos - g_EyePos;
  float z = dot(d, g_EyeForward);
  float x = g_Picture.x * 0.5 + g_Lens.x * (dot(d, g_EyeRight) / z + g_Lens.y) + g_Picture.z;
  float y = g_Picture.y * 0.5 - g_Lens.x * (dot(d, g_EyeUp) / z + g_Lens.z) + g_Picture.w;
  float depth = 2.0 * (z - g_Depths.x) / (g_Depths.y - g_Depths.x) - 1.0;
  gl_Position = vec4((x / g_Picture.x * 2.0 - 1.0) * z, (1.0 - y / g_Picture.y * 2.0) * z, depth * z, z);
  vPos = Pos;
  vNormal = Normal;
}

// Fragment shader
in vec3 vPos;
in vec3 vNormal;
out vec4 FragColor;
uniform sampler2D s_Shadow;
uniform vec3 g_EyePos;
uniform vec3 g_LightDir;
uniform vec3 g_LightColor;
uniform vec3 g_ShadowRight;
uniform vec3 g_ShadowUp;
uniform vec3 g_ShadowDir;
uniform vec4 g_ShadowMap;  // scale, x offset, y offset, size in texels
uniform vec2 g_Heights;    // lowest height, span
uniform vec4 g_Shading;    // ambient frame (0, 1), shadows (0, 1), brightness
const vec3 kAlbedo = vec3(0.66, 0.65, 0.63);
const vec3 kAmbient = vec3(0.85, 0.88, 0.95);

float Lit(vec3 p) {
  vec2 t = vec2(dot(p, g_ShadowRight), dot(p, g_ShadowUp)) * g_ShadowMap.x + g_ShadowMap.yz - 0.5;
  float h = dot(p, g_ShadowDir) - g_Heights.x + 1.0;
  float bias = 1.5 / g_ShadowMap.x;
  ivec2 t0 = ivec2(floor(t));
  vec2 f = t - vec2(t0);
  int last = int(g_ShadowMap.w) - 1;
  float lit = 0.0;
  for (int k = 0; k < 4; ++k) {
    ivec2 at = clamp(t0 + ivec2(k & 1, k >> 1), ivec2(0), ivec2(last));
    float w = ((k & 1) != 0 ? f.x : 1.0 - f.x) * ((k >> 1) != 0 ? f.y : 1.0 - f.y);
    lit += w * (h >= texelFetch(s_Shadow, at, 0).r - bias ? 1.0 : 0.0);
  }
  return lit;
}

void main() {
  vec3 n = normalize(vNormal);
  if (dot(n, g_EyePos - vPos) < 0.0) n = -n;  // a cut seen from inside
  float cosine = max(0.0, dot(n, g_LightDir));
  float lit = cosine > 0.0 && g_Shading.y > 0.5 ? Lit(vPos + n * (0.75 / g_ShadowMap.x)) : 1.0;
  vec3 c;
  if (g_Shading.x > 0.5)
    c = kAlbedo * kAmbient * (4.0 * cosine * lit * 0.6);
  else
    c = kAlbedo * g_LightColor * (cosine * lit * 0.85) + kAlbedo * kAmbient * 0.12;
  FragColor = vec4(c * g_Shading.z, 1.0);
}
