// Paint pass into texture space: position and normal at once, into two targets.

// Vertex shader
#include "Common/ObjectVertex.glsl"

// Fragment shader
in vec3 vPos;
in vec3 vNormal;
layout(location = 0) out vec4 OutPos;
layout(location = 1) out vec4 OutNormal;
void main() {
  OutPos = vec4(vPos, 1.0);
  OutNormal = vec4(normalize(vNormal) * 0.5 + 0.5, 1.0);
}
