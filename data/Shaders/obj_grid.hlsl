// The paint mesh drawn from its micro-vertex grids: composed colour and
// normal per vertex (the colour word in red, green, blue order, specular in
// alpha). VIEW_COLOR shows the colour alone, VIEW_RELIEF the shape alone.

// Vertex shader
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec3 Normal;
layout(location = 2) in vec4 Color;
uniform mat4 g_WorldViewProjectionMatrix;
uniform mat4 g_WorldViewMatrix;
uniform mat3 g_NormalMatrix;
uniform mat3 g_NormalViewMatrix;
out vec3 vNormalView;
out vec3 vPosView;
out vec4 vColor;
void main() {
  gl_Position = g_WorldViewProjectionMatrix * vec4(Pos, 1.0);
  vPosView = (g_WorldViewMatrix * vec4(Pos, 1.0)).xyz;
  vNormalView = g_NormalViewMatrix * (g_NormalMatrix * Normal);
  vColor = Color;
}

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in vec4 vColor;
out vec4 FragColor;
#include "Common/Clay.glsl"
void main() {
  vec3 n = normalize(vNormalView);
  // Two-sided: the side that faces the camera is lit.
  if (dot(n, vPosView) > 0.0) n = -n;
#if defined(VIEW_COLOR)
  FragColor = vec4(vColor.rgb, 1.0);
#elif defined(VIEW_RELIEF)
  FragColor = vec4(Clay(n, vec3(0.7)), 1.0);
#else
  vec3 h = normalize(normalize(kKey) + vec3(0.0, 0.0, 1.0));
  float gloss = pow(max(dot(n, h), 0.0), 40.0) * vColor.a;
  FragColor = vec4(Clay(n, vColor.rgb) + vec3(gloss * 0.5), 1.0);
#endif
}
