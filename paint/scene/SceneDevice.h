// The paint scene on the device. SceneDevice registers the paint vertex
// formats, makes each render target's normal and colour textures, draws the
// face batches of UpdateDirtyFaces into them in texture space
// ("obj_render_color", "obj_render_normals" or "obj_render_mrt"), copies
// composed per-pixel tiles into them through "rt_copy", and keeps one
// StaticMesh per mesh block and render target that the 3D view draws: the
// micro-vertex grids with their composed colours ("obj_grid"), per-pixel
// faces with their target's colour and normal maps ("obj_sel"). Only the
// thread that owns the renderer calls it.
#pragma once
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "render/Render.h"

class PaintScene;
class MRenderTarget;
class PixelMap;
struct FaceBatch;
struct PixelTile;
struct MeshBlockPart;
namespace comms {
class cViewer;
class cImage;
}  // namespace comms

// The paint vertex formats, registered after the stock ones.
enum {
  kVfPaintBatch = comms::kStockVertexFormats,  // Pos, TexCoord, Color, normal word: the texture-space passes
  kVfPaintUV,                           // Pos, TexCoord: the UV layout
  kVfPaintWires,                        // Pos, Color: wireframes
};

// The element lists of the three paint formats, in their order.
std::vector<std::vector<comms::VertexElement>> PaintVertexFormats();
// Registers them on a renderer that has exactly the stock formats; true when
// they stand at their numbers afterwards.
bool RegisterPaintVertexFormats(comms::cRender& render);

// How the view shows the scene: lit colour, colour alone, relief alone.
enum class PaintViewMode { Lit, Colour, Relief };

class SceneDevice {
 public:
  SceneDevice(comms::cRender& render, PaintScene& scene);
  ~SceneDevice();
  SceneDevice(const SceneDevice&) = delete;
  SceneDevice& operator=(const SceneDevice&) = delete;

  // Hooks the scene's texture creation, face batches and tile upload to this
  // device; the destructor unhooks them.
  void Attach();
  // The two textures of a target (a per-pixel target's map gets its own);
  // false with the reason when the device refuses them.
  bool CreateTargetTextures(MRenderTarget& target, std::string* why);
  // Draws one batch into its target's normal map, and colour map when asked.
  void DrawBatch(const FaceBatch& batch, bool colourPass);
  // Copies composed tiles into the map's textures (colour only when asked).
  void UploadTiles(int target, const std::vector<PixelTile*>& tiles, const std::vector<uint32_t>& colour,
                   const std::vector<uint32_t>& normal, bool colourToo);

  // Brings dirty faces and tiles into the textures; leaves the back buffer
  // current.
  void Update();
  // Rebuilds the meshes of blocks that changed and draws every visible block
  // through `camera` into the current target. Returns the number drawn.
  int DrawMeshes(comms::cViewer& camera, PaintViewMode mode = PaintViewMode::Lit);
  // Update, then DrawMeshes into the back buffer with the camera's view
  // rectangle.
  int Draw(comms::cViewer& camera, PaintViewMode mode = PaintViewMode::Lit);
  // Frees every mesh (the scene was replaced) and the targets' textures.
  void Clear();
  int MeshesBuilt() const { return meshesBuilt_; }

 private:
  void BuildMesh(MeshBlockPart& part);
  bool PerPixel(int target) const;
  void RestoreBackBuffer(comms::cViewer& camera);
  int ViewShader(bool perPixel, PaintViewMode mode);

  comms::cRender& render_;
  PaintScene& scene_;
  int passColour_ = -1, passNormals_ = -1, passBoth_ = -1, copy_ = -1;
  int pointSampler_ = -1, depth_ = -1;
  int viewShaders_[2][3] = {{-1, -1, -1}, {-1, -1, -1}};
  int meshesBuilt_ = 0;
};
