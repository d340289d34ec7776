// Paint pass into texture space: the surface normal of each texel, 0..1.

// Vertex shader
#include "Common/ObjectVertex.glsl"

// Fragment shader
in vec3 vPos;
in vec3 vNormal;
out vec4 FragColor;
void main() { FragColor = vec4(normalize(vNormal) * 0.5 + 0.5, 1.0); }
