// The vertex stage of voxel surfaces: the normal's length carries the freeze.
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec3 Normal;
uniform mat4 g_WorldViewProjectionMatrix;
uniform mat4 g_WorldViewMatrix;
uniform mat3 g_NormalMatrix;
uniform mat3 g_NormalViewMatrix;
out vec3 vNormalView;
out vec3 vPosView;
out float vFreeze;
void main() {
  gl_Position = g_WorldViewProjectionMatrix * vec4(Pos, 1.0);
  // The normal's length carries the freeze: 1 + Freeze / 65535.
  float len = length(Normal);
  vFreeze = clamp(len - 1.0, 0.0, 1.0);
  vNormalView = g_NormalViewMatrix * (g_NormalMatrix * (Normal / max(len, 1e-6)));
  vPosView = (g_WorldViewMatrix * vec4(Pos, 1.0)).xyz;
}
