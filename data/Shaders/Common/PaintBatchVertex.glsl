// The vertex stage of the paint passes: a micro-vertex drawn into its render
// target at its texture coordinate, with its colour word (red, green, blue,
// coverage) and its normal word (blue, green, red order: z, y, x, specular).
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec2 TexCoord;
layout(location = 2) in vec4 Color;
layout(location = 3) in vec4 NormalWord;
// Takes back the half-texel shift that the batch's coordinates carry.
uniform vec2 g_TexelShift = vec2(0.0, 0.0);
out vec4 vColor;
out vec4 vNormal;
void main() {
  gl_Position = vec4((TexCoord + g_TexelShift) * 2.0 - 1.0, 0.0, 1.0);
  vColor = Color;
  vNormal = NormalWord.bgra;
}
