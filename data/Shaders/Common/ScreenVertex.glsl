// The vertex stage of 2D passes and previews drawn in screen space.
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec4 Color;
layout(location = 2) in vec2 TexCoord0;
layout(location = 3) in vec2 TexCoord1;
uniform float g_ViewportInvWidth;
uniform float g_ViewportInvHeight;
uniform mat4 g_WorldViewProjectionMatrix;
out vec4 vColor;
out vec2 vUV;
out vec2 vUV2;
void main() {
#ifdef WORLD_SPACE
  gl_Position = g_WorldViewProjectionMatrix * vec4(Pos, 1.0);
#else
  // Pixels with y upwards, as the 2D layer hands them over.
  gl_Position = vec4(Pos.x * g_ViewportInvWidth * 2.0 - 1.0, Pos.y * g_ViewportInvHeight * 2.0 - 1.0, Pos.z, 1.0);
#endif
  vColor = Color;
  vUV = TexCoord0;
  vUV2 = TexCoord1;
}
