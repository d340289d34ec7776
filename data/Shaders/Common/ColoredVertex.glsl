// The vertex stage of lines and points with a colour per vertex.
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec4 Color;
uniform float g_ViewportInvWidth;
uniform float g_ViewportInvHeight;
uniform mat4 g_WorldViewProjectionMatrix;
out vec4 vColor;
void main() {
#if defined(WORLD_SPACE) || defined(WORLD_ONLY)
  gl_Position = g_WorldViewProjectionMatrix * vec4(Pos, 1.0);
#else
  gl_Position = vec4(Pos.x * g_ViewportInvWidth * 2.0 - 1.0, Pos.y * g_ViewportInvHeight * 2.0 - 1.0, Pos.z, 1.0);
#endif
  vColor = Color;
}
