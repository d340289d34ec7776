// Coloured geometry in the world (guides, gizmos).

// Vertex shader
#define WORLD_ONLY
#include "Common/ColoredVertex.glsl"

// Fragment shader
in vec4 vColor;
out vec4 FragColor;
void main() { FragColor = vColor; }
