// Paint pass into texture space: the surface position of each texel.

// Vertex shader
#include "Common/ObjectVertex.glsl"

// Fragment shader
in vec3 vPos;
in vec3 vNormal;
out vec4 FragColor;
void main() { FragColor = vec4(vPos, 1.0); }
