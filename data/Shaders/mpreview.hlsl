// Material preview: a texture lit like the viewport.

// Vertex shader
#include "Common/LitVertex.glsl"

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in vec2 vUV;
out vec4 FragColor;
#include "Common/Clay.glsl"
uniform sampler2D s_Sampler0;
void main() { FragColor = vec4(Clay(normalize(vNormalView), texture(s_Sampler0, vUV).rgb), 1.0); }
