// Paint pass into texture space: the surface position of each texel.

// Vertex shader
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec3 Normal;
layout(location = 2) in vec2 TexCoord;
uniform mat4 g_WorldMatrix;
out vec3 vPos;
out vec3 vNormal;
void main() {
  // Drawn into texture space: the texture coordinate is the position.
  gl_Position = vec4(TexCoord * 2.0 - 1.0, 0.0, 1.0);
  vPos = (g_WorldMatrix * vec4(Pos, 1.0)).xyz;
  vNormal = Normal;
}

// Fragment shader
in vec3 vPos;
in vec3 vNormal;
out vec4 FragColor;
void main() { FragColor = vec4(vPos, 1.0); }
