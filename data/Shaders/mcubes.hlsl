// The voxel surface as grey clay: a key light, a wrap fill, a rim and a matcap-like ambient; frozen parts tinted.

// Vertex shader
#include "Common/VoxelVertex.glsl"

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in float vFreeze;
#include "Common/Clay.glsl"
uniform vec3 g_SurfaceColor = vec3(0.66, 0.65, 0.63);
uniform vec3 g_FreezeColor = vec3(0.35, 0.45, 0.85);
out vec4 FragColor;
void main() {
  vec3 n = normalize(vNormalView);
  // Seen from inside (a cut, or the camera in the volume), light the side we see.
  if (dot(n, -vPosView) < 0.0) n = -n;
  vec3 albedo = mix(g_SurfaceColor, g_FreezeColor, vFreeze * 0.6);
  vec3 c = Clay(n, albedo);
  FragColor = vec4(pow(c, vec3(1.0 / 1.15)), 1.0);
}
