// The pictures the artist chooses for the pen in its panel: the stencil laid
// over the view (dark holds the pen back), the material pattern tiled over
// the view, and the pen style whose colour picture tints the paint. One set
// serves the program: the stencil and the pattern become the mask every pen
// reads (GeneralPen::Mask, painting and sculpting alike), the style the
// active one (OnePenStyle::Active). PenMaskPanel is their block of rows in
// the paint tools' panel; the window answers its file questions.
#pragma once
#include <functional>
#include <string>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"
#include "paint/OnePenStyle.h"
#include "paint/StencilMask.h"

namespace comms {
class cViewer;
}

class PenMasks {
 public:
  PenMasks() { mask_.Placement = &placement_; }
  PenMasks(const PenMasks&) = delete;
  PenMasks& operator=(const PenMasks&) = delete;
  ~PenMasks();

  // The view the pictures are laid over (it must outlive its use here, or
  // be taken back with null): the stencil is fitted into its rectangle.
  void SetView(const comms::cViewer* camera);
  // Each loads a picture file and puts it in use; false (with the previous
  // one kept) when the file cannot be read as a picture or no view is set.
  // The stencil keeps the picture's shape, as large as the view allows,
  // centred; the pattern repeats every `scale` view pixels a picture pixel.
  bool LoadStencil(const std::string& path);
  bool LoadMaterial(const std::string& path, float scale);
  bool LoadStyle(const std::string& path);
  void ClearStencil();
  void ClearMaterial();
  void ClearStyle();
  // The stencil reads 1 - value.
  void SetInverted(bool inverted);

  const std::string& StencilFile() const { return stencilFile_; }
  const std::string& MaterialFile() const { return materialFile_; }
  const std::string& StyleFile() const { return styleFile_; }
  const StencilMask& Mask() const { return mask_; }
  // Where the material pattern lies on the screen; the navigation moves it.
  MaterialPattern& Placement() { return placement_; }
  const OnePenStyle& Style() const { return style_; }

 private:
  // GeneralPen::Mask and OnePenStyle::Active after a change.
  void Publish();

  const comms::cViewer* camera_ = nullptr;
  MaterialPattern placement_;
  StencilMask mask_;
  OnePenStyle style_;
  std::string stencilFile_, materialFile_, styleFile_;
};

// The program's set.
PenMasks& ThePenMasks();

// The rows of the pen's panel that choose and drop the pictures.
class PenMaskPanel : public BaseClass {
 public:
  static inline bool InvMask = false;
  static inline float MaterialScale = 1.f;  // view pixels a picture pixel
  // Asks for a picture file: the title's text key, the folder offered first,
  // the extensions listed, then what to do with the chosen path. The window
  // sets it; without it the buttons do nothing.
  static inline std::function<void(const char* titleKey, const std::string& folder,
                                   const std::vector<std::string>& extensions,
                                   std::function<void(const std::string&)> then)>
      AskPicture;

  MV_CLASS(PenMaskPanel, BaseClass) {
    Method(&PenMaskPanel::ChooseStencil, "ChooseStencil");
    NextStatic();
    Member("_bool", InvMask, "InvMask");
    Method(&PenMaskPanel::DropStencil, "DropStencil");
    Method(&PenMaskPanel::ChooseMaterial, "ChooseMaterial");
    NextStatic();
    Member("CtrlFSlider", MaterialScale, "MaterialScale", NewFloatSliderRange(0.25f, 8));
    Method(&PenMaskPanel::DropMaterial, "DropMaterial");
    Method(&PenMaskPanel::ChoosePenStyle, "ChoosePenStyle");
    Method(&PenMaskPanel::DropPenStyle, "DropPenStyle");
  }
  void ChooseStencil();
  void DropStencil();
  void ChooseMaterial();
  void DropMaterial();
  void ChoosePenStyle();
  void DropPenStyle();
  // The inversion and the pattern's scale take effect at once.
  bool OnChange(BaseClass* cls, void* ptr, void* extra, const char* name) override;
};

// Where the libraries keep their pictures, and what they list.
inline constexpr const char* kStencilFolder = "textures/masks/";
inline constexpr const char* kMaterialFolder = "patterns/";
std::vector<std::string> StencilExtensions();
std::vector<std::string> PatternExtensions();
