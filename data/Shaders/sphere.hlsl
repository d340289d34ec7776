// The material preview sphere: grey clay lit like the viewport.

// Vertex shader
#include "Common/LitVertex.glsl"

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in vec2 vUV;
out vec4 FragColor;
#include "Common/Clay.glsl"
void main() { FragColor = vec4(Clay(normalize(vNormalView), vec3(0.65)), 1.0); }
