// Paint pass into texture space: the composed normal in 0..1 (shortened where
// frozen), specular in alpha.

// Vertex shader
#include "Common/PaintBatchVertex.glsl"

// Fragment shader
in vec4 vColor;
in vec4 vNormal;
out vec4 FragColor;
void main() { FragColor = vNormal; }
