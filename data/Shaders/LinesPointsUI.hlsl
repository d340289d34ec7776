// Interface lines, points and fills: vertex colour, pixels unless WORLD_SPACE.

// Vertex shader
#include "Common/ColoredVertex.glsl"

// Fragment shader
in vec4 vColor;
out vec4 FragColor;
void main() { FragColor = vColor; }
