// Paint pass into texture space: position and normal at once, into two targets.

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
layout(location = 0) out vec4 OutPos;
layout(location = 1) out vec4 OutNormal;
void main() {
  OutPos = vec4(vPos, 1.0);
  OutNormal = vec4(normalize(vNormal) * 0.5 + 0.5, 1.0);
}
