// The vertex stage of the object passes that render into textures.
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
