// The UV layout: each vertex at its texture coordinate, in one colour.

// Vertex shader
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec2 TexCoord;
uniform mat4 g_WorldViewProjectionMatrix;
void main() {
#ifdef WORLD_SPACE
  gl_Position = g_WorldViewProjectionMatrix * vec4(TexCoord, 0.0, 1.0);
#else
  gl_Position = vec4(TexCoord * 2.0 - 1.0, 0.0, 1.0);
#endif
}

// Fragment shader
out vec4 FragColor;
uniform vec4 g_Color = vec4(1.0, 1.0, 1.0, 1.0);
void main() { FragColor = g_Color; }
