// Glyphs from an atlas: coverage from the atlas (luminance or alpha), colour from the vertex.

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
  // An L8 atlas reads as (L, L, L, 1), an alpha atlas as (1, 1, 1, A): min() takes the coverage of either.
  float coverage = min(t.r, t.a);
  FragColor = vec4(vColor.rgb, vColor.a * coverage);
}
