// The pen's stencil, material pattern and style (see PenMasks.h).
#include "paint/PenMasks.h"

#include <algorithm>

#include "ClassEngine/Log.h"
#include "interchange/IO.h"
#include "interchange/Image.h"
#include "paint/GeneralPen.h"
#include "render/Viewer.h"

PenMasks::~PenMasks() {
  if (GeneralPen::Mask == &mask_) GeneralPen::Mask = nullptr;
  if (OnePenStyle::Active == &style_) OnePenStyle::Active = nullptr;
}

void PenMasks::SetView(const comms::cViewer* camera) {
  camera_ = camera;
  if (camera) {
    mask_.ProjectThrough(*camera);
    style_.Project = ProjectionThrough(*camera);
  } else {
    mask_.Project = nullptr;
    style_.Project = nullptr;
  }
  Publish();
}

namespace {
bool ReadPicture(const std::string& path, comms::cImage& picture) {
  if (comms::cIO::LoadImage(path, picture) && picture.width > 0 && picture.height > 0) return true;
  Log("PenMasks: cannot read the picture %s", path.c_str());
  return false;
}
}  // namespace

bool PenMasks::LoadStencil(const std::string& path) {
  comms::cImage picture;
  if (!camera_ || !ReadPicture(path, picture)) return false;
  const comms::cRect& r = camera_->ViewRect;
  const float vw = float(r.right - r.left), vh = float(r.bottom - r.top);
  const float k = std::min(vw / picture.width, vh / picture.height);
  const float w = picture.width * k, h = picture.height * k;
  if (!mask_.SetStencil(picture, r.left + (vw - w) / 2, r.top + (vh - h) / 2, w, h)) return false;
  stencilFile_ = path;
  Publish();
  return true;
}

bool PenMasks::LoadMaterial(const std::string& path, float scale) {
  comms::cImage picture;
  if (!camera_ || !ReadPicture(path, picture) || !mask_.SetPattern(picture, std::max(scale, 1e-3f))) return false;
  materialFile_ = path;
  Publish();
  return true;
}

bool PenMasks::LoadStyle(const std::string& path) {
  comms::cImage picture;
  if (!camera_ || !ReadPicture(path, picture) || !style_.SetPicture(OnePenStyle::kColor, picture)) return false;
  style_.Slots[OnePenStyle::kColor].FileName = path;
  styleFile_ = path;
  Publish();
  return true;
}

void PenMasks::ClearStencil() {
  mask_.ClearStencil();
  stencilFile_.clear();
  Publish();
}

void PenMasks::ClearMaterial() {
  mask_.ClearPattern();
  materialFile_.clear();
  Publish();
}

void PenMasks::ClearStyle() {
  style_ = OnePenStyle();
  if (camera_) style_.Project = ProjectionThrough(*camera_);
  styleFile_.clear();
  Publish();
}

void PenMasks::SetInverted(bool inverted) { mask_.InvMask = inverted; }

void PenMasks::Publish() {
  const bool masked = camera_ && (!stencilFile_.empty() || !materialFile_.empty());
  if (masked) GeneralPen::Mask = &mask_;
  else if (GeneralPen::Mask == &mask_) GeneralPen::Mask = nullptr;
  if (camera_ && !styleFile_.empty()) OnePenStyle::Active = &style_;
  else if (OnePenStyle::Active == &style_) OnePenStyle::Active = nullptr;
}

PenMasks& ThePenMasks() {
  static PenMasks masks;
  return masks;
}

std::vector<std::string> StencilExtensions() { return {"tga", "bmp", "jpg", "png"}; }
std::vector<std::string> PatternExtensions() { return {"tga", "bmp", "jpg", "png", "tiff", "tif"}; }

void PenMaskPanel::ChooseStencil() {
  if (AskPicture)
    AskPicture("ChooseStencil", kStencilFolder, StencilExtensions(), [](const std::string& path) {
      ThePenMasks().SetInverted(InvMask);
      ThePenMasks().LoadStencil(path);
    });
}

void PenMaskPanel::DropStencil() { ThePenMasks().ClearStencil(); }

void PenMaskPanel::ChooseMaterial() {
  if (AskPicture)
    AskPicture("ChooseMaterial", kMaterialFolder, PatternExtensions(),
               [](const std::string& path) { ThePenMasks().LoadMaterial(path, MaterialScale); });
}

void PenMaskPanel::DropMaterial() { ThePenMasks().ClearMaterial(); }

void PenMaskPanel::ChoosePenStyle() {
  if (AskPicture)
    AskPicture("ChoosePenStyle", kMaterialFolder, PatternExtensions(),
               [](const std::string& path) { ThePenMasks().LoadStyle(path); });
}

void PenMaskPanel::DropPenStyle() { ThePenMasks().ClearStyle(); }

bool PenMaskPanel::OnChange(BaseClass*, void*, void*, const char* name) {
  const std::string n = name ? name : "";
  PenMasks& masks = ThePenMasks();
  if (n == "InvMask") masks.SetInverted(InvMask);
  if (n == "MaterialScale" && !masks.MaterialFile().empty()) masks.LoadMaterial(masks.MaterialFile(), MaterialScale);
  return true;
}
