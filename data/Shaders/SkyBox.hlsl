// The sky box: a cube texture looked up by the direction from the eye.

// Vertex shader
layout(location = 0) in vec3 Pos;
uniform mat4 g_ViewProjectionMatrix;
uniform vec3 g_ViewerPos;
out vec3 vDir;
void main() {
  // A unit cube round the eye, pushed to the far plane.
  vec4 p = g_ViewProjectionMatrix * vec4(g_ViewerPos + Pos, 1.0);
  gl_Position = p.xyww;
  vDir = Pos;
}

// Fragment shader
in vec3 vDir;
out vec4 FragColor;
uniform samplerCube s_Sampler0;
void main() { FragColor = vec4(texture(s_Sampler0, vDir).rgb, 1.0); }
