// Text glyphs in pixels: coverage from the atlas, colour from the vertex.

// Vertex shader
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec4 Color;
layout(location = 2) in vec2 TexCoord;
uniform float g_ViewportInvWidth;
uniform float g_ViewportInvHeight;
out vec4 vColor;
out vec2 vUV;
void main() {
  gl_Position = vec4(Pos.x * g_ViewportInvWidth * 2.0 - 1.0, Pos.y * g_ViewportInvHeight * 2.0 - 1.0, Pos.z, 1.0);
  vColor = Color;
  vUV = TexCoord;
}

// Fragment shader
in vec4 vColor;
in vec2 vUV;
out vec4 FragColor;
uniform sampler2D s_Sampler0;
void main() {
  vec4 t = texture(s_Sampler0, vUV);
  FragColor = vec4(vColor.rgb, vColor.a * min(t.r, t.a));
}
