// The pen preview under the cursor: the pen picture as alpha in the vertex colour.

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
  FragColor = vec4(vColor.rgb, vColor.a * t.r * t.a);
}
