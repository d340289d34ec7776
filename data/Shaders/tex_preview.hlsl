// Texture preview: colour channels only.

// Vertex shader
#include "Common/ScreenVertex.glsl"

// Fragment shader
in vec4 vColor;
in vec2 vUV;
in vec2 vUV2;
out vec4 FragColor;
uniform sampler2D s_Sampler0;
void main() { FragColor = vec4(texture(s_Sampler0, vUV).rgb, 1.0) * vColor; }
