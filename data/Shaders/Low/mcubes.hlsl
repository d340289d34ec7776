// The voxel surface for slow devices: one key light and a flat ambient.

// Vertex shader
#include "Common/VoxelVertex.glsl"

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in float vFreeze;
out vec4 FragColor;
void main() {
  vec3 n = normalize(vNormalView);
  if (dot(n, -vPosView) < 0.0) n = -n;
  float key = max(dot(n, normalize(vec3(-0.45, 0.55, 0.70))), 0.0);
  FragColor = vec4(vec3(0.66) * (0.3 + 0.7 * key), 1.0);
}
