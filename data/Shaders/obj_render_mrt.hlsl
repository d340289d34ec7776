// Paint pass into texture space: colour and normal at once, into two targets.

// Vertex shader
#include "Common/PaintBatchVertex.glsl"

// Fragment shader
in vec4 vColor;
in vec4 vNormal;
layout(location = 0) out vec4 OutColor;
layout(location = 1) out vec4 OutNormal;
void main() {
  OutColor = vColor;
  OutNormal = vNormal;
}
