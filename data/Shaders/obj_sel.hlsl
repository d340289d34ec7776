// The selected object: VIEW_COLOR, VIEW_RELIEF, VIEW_SPECULAR, VIEW_ENV or VIEW_ALL; VERT_NORMAL takes the normal from the vertex only.

// Vertex shader
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

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in vec2 vUV;
out vec4 FragColor;
// Lights live in view space: the key from the upper left in front, a rim behind.
const vec3 kKey = vec3(-0.45, 0.55, 0.70);
vec3 Clay(vec3 n, vec3 albedo) {
  float key = max(dot(n, normalize(kKey)), 0.0);
  float wrap = max((dot(n, normalize(kKey)) + 0.4) / 1.4, 0.0);
  // Matcap-like ambient: brighter toward the camera and from above.
  float ambient = 0.18 + 0.12 * n.y + 0.12 * n.z;
  float rim = pow(1.0 - max(n.z, 0.0), 3.0) * 0.35;
  vec3 h = normalize(normalize(kKey) + vec3(0.0, 0.0, 1.0));
  float highlight = pow(max(dot(n, h), 0.0), 40.0) * 0.18;
  return albedo * (ambient + 0.55 * key + 0.2 * wrap) + vec3(rim + highlight);
}
uniform sampler2D s_Sampler0;
void main() {
#ifdef VERT_NORMAL
  vec3 n = normalize(vNormalView);
#else
  // The face's own normal, so flat relief shows facets as they are.
  vec3 n = normalize(cross(dFdx(vPosView), dFdy(vPosView)));
#endif
  vec3 albedo = texture(s_Sampler0, vUV).rgb;
#if defined(VIEW_COLOR)
  FragColor = vec4(albedo, 1.0);
#elif defined(VIEW_RELIEF)
  FragColor = vec4(Clay(n, vec3(0.7)), 1.0);
#elif defined(VIEW_SPECULAR)
  vec3 h = normalize(normalize(kKey) + vec3(0.0, 0.0, 1.0));
  FragColor = vec4(vec3(pow(max(dot(n, h), 0.0), 40.0)), 1.0);
#elif defined(VIEW_ENV)
  FragColor = vec4(vec3(0.5) + 0.5 * n.yyy * vec3(0.6, 0.7, 0.9), 1.0);
#else
  FragColor = vec4(Clay(n, albedo), 1.0);
#endif
}
