// The render room's shadow map: the scene seen along the light, orthographic,
// each texel keeping the height towards the light of the nearest surface
// (measured from the scene box's lowest, plus one, so an empty texel, 0, is
// below everything and lights it).

// Vertex shader
layout(location = 0) in vec3 Pos;
layout(location = 1) in vec3 Normal;
uniform vec3 g_ShadowRight;
uniform vec3 g_ShadowUp;
uniform vec3 g_ShadowDir;
uniform vec4 g_ShadowMap;  // scale, x offset, y offset, size in texels
uniform vec2 g_Heights;    // lowest height, span
out float vHeight;
void main() {
  vec2 t = vec2(dot(Pos, g_ShadowRight), dot(Pos, g_ShadowUp)) * g_ShadowMap.x + g_ShadowMap.yz;
  float h = dot(Pos, g_ShadowDir) - g_Heights.x;
  vHeight = h + 1.0;
  // The highest surface is the nearest to the light.
  gl_Position = vec4(t / g_ShadowMap.w * 2.0 - 1.0, 1.0 - 2.0 * h / g_Heights.y, 1.0);
}

// Fragment shader
in float vHeight;
out vec4 FragColor;
void main() { FragColor = vec4(vHeight, 0.0, 0.0, 1.0); }
