// A textured square copied unchanged into the current render target: the
// position is already in clip space, the texture is sampled at texel centres.

// Vertex shader
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec2 TexCoord;
out vec2 vUV;
void main() {
  gl_Position = vec4(Pos.xy, 0.0, 1.0);
  vUV = TexCoord;
}

// Fragment shader
in vec2 vUV;
out vec4 FragColor;
uniform sampler2D s_Sampler0;
void main() { FragColor = texelFetch(s_Sampler0, ivec2(floor(vUV * vec2(textureSize(s_Sampler0, 0)))), 0); }
