// The selected object: VIEW_COLOR, VIEW_RELIEF, VIEW_SPECULAR, VIEW_ENV or VIEW_ALL; VERT_NORMAL takes the normal from the vertex only;
// TANGENT_NORMALS bends it by the tangent-space normal map in s_Sampler1 (x, y in red and green, 0.5 flat).

// Vertex shader
#include "Common/LitVertex.glsl"

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in vec2 vUV;
out vec4 FragColor;
#include "Common/Clay.glsl"
uniform sampler2D s_Sampler0;
#ifdef TANGENT_NORMALS
uniform sampler2D s_Sampler1;
// The frame of the texture's axes on the surface, from the screen derivatives.
vec3 BendNormal(vec3 n) {
  vec3 dp1 = dFdx(vPosView), dp2 = dFdy(vPosView);
  vec2 duv1 = dFdx(vUV), duv2 = dFdy(vUV);
  vec3 dp2perp = cross(dp2, n), dp1perp = cross(n, dp1);
  vec3 t = dp2perp * duv1.x + dp1perp * duv2.x;
  vec3 b = dp2perp * duv1.y + dp1perp * duv2.y;
  float scale = inversesqrt(max(max(dot(t, t), dot(b, b)), 1e-30));
  vec2 m = texture(s_Sampler1, vUV).rg * 2.0 - 1.0;
  float z = sqrt(max(1.0 - dot(m, m), 0.0));
  return normalize(t * scale * m.x + b * scale * m.y + n * z);
}
#endif
void main() {
#if defined(TANGENT_NORMALS)
  vec3 n = BendNormal(normalize(vNormalView));
#elif defined(VERT_NORMAL)
  vec3 n = normalize(vNormalView);
#else
  // The face's own normal, so flat relief shows facets as they are.
  vec3 n = normalize(cross(dFdx(vPosView), dFdy(vPosView)));
#endif
  // The colour map carries its coverage in alpha: the unpainted grey shows
  // where nothing covers it.
  vec4 painted = texture(s_Sampler0, vUV);
  vec3 albedo = mix(vec3(0.5), painted.rgb, painted.a);
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
