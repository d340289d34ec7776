// Normal-map preview: the map lit by a light from the upper left.

// Vertex shader
#include "Common/ScreenVertex.glsl"

// Fragment shader
in vec4 vColor;
in vec2 vUV;
in vec2 vUV2;
out vec4 FragColor;
uniform sampler2D s_Sampler0;
void main() {
  vec3 n = normalize(texture(s_Sampler0, vUV).xyz * 2.0 - 1.0);
  float d = clamp(dot(n, normalize(vec3(-0.4, 0.5, 0.77))), 0.0, 1.0);
  FragColor = vec4(vec3(0.15 + 0.85 * d), 1.0) * vColor;
}
