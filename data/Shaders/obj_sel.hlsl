// The selected object: VIEW_COLOR, VIEW_RELIEF, VIEW_SPECULAR, VIEW_ENV or VIEW_ALL; VERT_NORMAL takes the normal from the vertex only.

// Vertex shader
#include "Common/LitVertex.glsl"

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in vec2 vUV;
out vec4 FragColor;
#include "Common/Clay.glsl"
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
