// The layer widgets of the interface and the tools; see Interface.h.
#include "shell/Interface.h"

#include <cstdlib>

#include "ClassEngine/Log.h"
#include "interface/Callbacks.h"
#include "interface/ClassExplorerForm.h"
#include "interface/Dialogs.h"
#include "interface/TextTable.h"
#include "interface/UiContext.h"
#include "interface/Widgets.h"
#include "platform/Keys.h"
#include "render/Render.h"
#include "shell/Shell.h"

namespace {
int ButtonMessage(int key, bool down, bool dbl) {
  int base = key == keys::RightButton ? kEvRDown : key == keys::MiddleButton ? kEvMDown : kEvLDown;
  return dbl ? base + 2 : down ? base : base + 1;
}
bool IsButton(int key) { return key >= keys::LeftButton && key <= keys::MiddleButton; }
bool IsWheel(int key) { return key == keys::WheelUp || key == keys::WheelDown; }
}  // namespace

// Layer 0: the only widget that talks to tools.
class ShellInterface::SceneWidget : public comms::cWidget {
 public:
  explicit SceneWidget(ShellInterface& owner) : o_(owner) {}
  bool OnKeyDown(int key) override { return Key(key, true); }
  bool OnKeyUp(int key) override { return Key(key, false); }
  bool OnMouseMove() override {
    const Dispatcher& d = o_.shell_.Dispatch();
    return o_.router_.OnPointerMove(d.EventX(), d.EventY());
  }

 private:
  bool Key(int key, bool down) {
    const Dispatcher& d = o_.shell_.Dispatch();
    if (IsButton(key)) Pointer().X = d.EventX(), Pointer().Y = d.EventY();
    return o_.router_.OnKeyChange(key, down, down && d.EventDoubleClick());
  }
  ShellInterface& o_;
};

// Layer 1 (IntfWidget1): layer events become tree events.
class ShellInterface::RouterWidget : public comms::cWidget {
 public:
  explicit RouterWidget(ShellInterface& owner) : o_(owner) {}
  bool OnKeyDown(int key) override { return Key(key, true); }
  bool OnKeyUp(int key) override { return Key(key, false); }
  bool OnMouseMove() override {
    const Dispatcher& d = o_.shell_.Dispatch();
    return o_.tree_.OnPointer(kEvMove, d.EventX(), d.EventY());
  }
  bool OnChar(int code, bool isKey) override {
    if (isKey) return false;
    CurrentChar() = code;
    return o_.tree_.OnKey(kEvChar, -1);
  }
  bool OnHover(bool) override {
    float x = 0, y = 0;
    o_.shell_.Window().PointerPosition(x, y);
    return o_.tree_.HitTest(x, y) != nullptr;
  }
  bool GetCursor(int& id) override {
    id = CursorShape(o_.tree_.CursorId());
    return id >= 0;
  }
  void OnRender() override { o_.RunTools(); }

 private:
  bool Key(int key, bool down) {
    const Dispatcher& d = o_.shell_.Dispatch();
    if (IsButton(key)) return o_.tree_.OnPointer(ButtonMessage(key, down, down && d.EventDoubleClick()), d.EventX(), d.EventY());
    if (IsWheel(key)) return down && o_.tree_.OnPointer(kEvWheel, d.EventX(), d.EventY(), d.EventWheel());
    return o_.tree_.OnKey(down ? kEvKeyDown : kEvKeyUp, key);
  }
  ShellInterface& o_;
};

// Layer 4 (IntfWidget2): the tree's frame.
class ShellInterface::DrawWidget : public comms::cWidget {
 public:
  explicit DrawWidget(ShellInterface& owner) : o_(owner) {}
  void OnRender() override { o_.DrawTree(); }

 private:
  ShellInterface& o_;
};

ShellInterface::ShellInterface(Shell& shell, std::function<comms::cRender*()> renderer, const ToolProviders& providers)
    : shell_(shell), renderer_(std::move(renderer)), tree_(TheWidgetTree()), router_(Tools()) {
  if (!Ui().Font.Ready() && !Ui().LoadFont()) Log("Interface: no font, the interface draws no text");
  if (Tools().Count() == 0) RegisterStandardTools(Tools(), providers);
  rooms_ = std::make_unique<RoomInterface>(tree_, Tools());
  tree_.Hooks().ToolKeys = [](int key) {
    BasicTool* current = Tools().CurrentTool();
    if (current->OnKey(key) || current->OnKeySecond(key)) return true;
    for (int i = 0; i < Tools().Count(); ++i)
      if (Tools().At(i) != current && Tools().At(i)->OnKeySecond(key)) return true;
    return false;
  };
  tree_.Hooks().ReloadShaders = [this] {
    if (comms::cRender* r = renderer_ ? renderer_() : nullptr) r->ReloadShaders();
  };
  tree_.Hooks().OpenClassExplorer = [this] { ToggleClassExplorer(tree_, &shell_.Settings()); };
  tree_.Hooks().ToggleFullScreen = [this] { shell_.SetFullScreenWanted(!shell_.Window().IsFullScreen()); };
  SetDialogPump([this](const std::function<bool()>& done) { shell_.PumpModal(done); });
}

ShellInterface::~ShellInterface() {
  SetDialogPump(nullptr);
  SaveText();
  Ui().Render = nullptr;
}

void ShellInterface::Attach(const char* firstTool) {
  scene_ = std::make_unique<SceneWidget>(*this);
  routerWidget_ = std::make_unique<RouterWidget>(*this);
  drawWidget_ = std::make_unique<DrawWidget>(*this);
  shell_.Layers().Register(0, scene_.get(), true);
  shell_.Layers().Register(1, routerWidget_.get(), true);
  shell_.Layers().Register(4, drawWidget_.get(), true);
  firstTool_ = firstTool ? firstTool : "";
}

// The first frame makes the strip and the first tool's panel: by then the
// shell has started and the user's folder (and its text.xml) is known.
void ShellInterface::RunTools() {
  if (!started_) {
    started_ = true;
    int w = 0, h = 0;
    shell_.Window().ClientSize(w, h);
    width_ = w > 0 ? w : 1280, height_ = h > 0 ? h : 720;
    // The platform reports no dots per inch, so the scale comes from
    // MORVANE_UI_SCALE, else from the window: a 4K-class height doubles it.
    float scale = height_ >= 2000 ? 2.0f : 1.0f;
    if (const char* env = getenv("MORVANE_UI_SCALE")) scale = float(atof(env));
    Ui().SetDpi(96.0f * scale);
    rooms_->Resize(width_, height_);
    Tools().SetCurrentTool(firstTool_.c_str());
    rooms_->RebuildStrip();
  }
  Tools().RunFrame();
}

void ShellInterface::DrawTree() {
  comms::cRender* render = renderer_ ? renderer_() : nullptr;
  Ui().Render = render;
  int w = 0, h = 0;
  shell_.Window().ClientSize(w, h);
  if (w < 1 || h < 1 || !started_) return;
  if (w != width_ || h != height_) {
    width_ = w, height_ = h;
    rooms_->Resize(w, h);
  }
  Ui().CaretShown = false;
  tree_.Frame(w, h, uint32_t(shell_.Time().TimeMs));
  // An open text box blinks its caret every half second.
  if (Ui().CaretShown) shell_.FrameIn(500);
}
