// A filled rectangle with a soft inner shade toward its edges (TexCoord0 runs 0..1 across it).

// Vertex shader
#include "Common/ScreenVertex.glsl"

// Fragment shader
in vec4 vColor;
in vec2 vUV;
in vec2 vUV2;
out vec4 FragColor;
void main() {
  vec2 e = min(vUV, 1.0 - vUV);
  float edge = clamp(min(e.x, e.y) * 12.0, 0.0, 1.0);
  FragColor = vec4(vColor.rgb * mix(0.8, 1.0, edge), vColor.a);
}
