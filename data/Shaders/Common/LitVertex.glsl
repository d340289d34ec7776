// The vertex stage of lit, textured meshes: position, view-space normal and
// position for the lighting, and the UV.
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec3 Normal;
layout(location = 2) in vec2 TexCoord;
uniform mat4 g_WorldViewProjectionMatrix;
uniform mat4 g_WorldViewMatrix;
uniform mat3 g_NormalMatrix;
uniform mat3 g_NormalViewMatrix;
out vec3 vNormalView;
out vec3 vPosView;
out vec2 vUV;
void main() {
  gl_Position = g_WorldViewProjectionMatrix * vec4(Pos, 1.0);
  vNormalView = g_NormalViewMatrix * (g_NormalMatrix * Normal);
  vPosView = (g_WorldViewMatrix * vec4(Pos, 1.0)).xyz;
  vUV = TexCoord;
}
