// Paint pass into texture space: the composed colour, coverage in alpha.

// Vertex shader
#include "Common/PaintBatchVertex.glsl"

// Fragment shader
in vec4 vColor;
in vec4 vNormal;
out vec4 FragColor;
void main() { FragColor = vColor; }
