// A view-space normal texture of the voxel surface shaded as grey clay (previews).

// Vertex shader
#include "Common/ScreenVertex.glsl"

// Fragment shader
in vec4 vColor;
in vec2 vUV;
in vec2 vUV2;
out vec4 FragColor;
uniform sampler2D s_Sampler0;
void main() {
  vec4 t = texture(s_Sampler0, vUV);
  vec3 n = normalize(t.xyz * 2.0 - 1.0);
  float key = max(dot(n, normalize(vec3(-0.45, 0.55, 0.7))), 0.0);
  vec3 c = vec3(0.62) * (0.3 + 0.75 * key);
  FragColor = vec4(c, t.a) * vColor;
}
