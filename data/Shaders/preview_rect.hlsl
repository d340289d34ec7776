// A texture preview over a checkerboard, as in swatches.

// Vertex shader
#include "Common/ScreenVertex.glsl"

// Fragment shader
in vec4 vColor;
in vec2 vUV;
in vec2 vUV2;
out vec4 FragColor;
vec3 Checker(vec2 p) {
  vec2 c = floor(p / 8.0);
  return mod(c.x + c.y, 2.0) < 1.0 ? vec3(0.8) : vec3(0.55);
}
uniform sampler2D s_Sampler0;
void main() {
  vec4 t = texture(s_Sampler0, vUV) * vColor;
  FragColor = vec4(mix(Checker(gl_FragCoord.xy), t.rgb, t.a), 1.0);
}
