// Wireframes: coloured lines in the world.

// Vertex shader
#include "Common/ColoredVertex.glsl"

// Fragment shader
in vec4 vColor;
out vec4 FragColor;
void main() { FragColor = vColor; }
