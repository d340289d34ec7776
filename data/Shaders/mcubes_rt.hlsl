// The voxel surface into a target: view-space normal 0..1 in rgb, view depth in alpha.

// Vertex shader
#include "Common/VoxelVertex.glsl"

// Fragment shader
in vec3 vNormalView;
in vec3 vPosView;
in float vFreeze;
uniform float g_DepthScale = 0.001;
out vec4 FragColor;
void main() {
  vec3 n = normalize(vNormalView);
  FragColor = vec4(n * 0.5 + 0.5, -vPosView.z * g_DepthScale);
}
