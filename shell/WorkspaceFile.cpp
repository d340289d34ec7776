// SaveWorkspaceFile and LoadWorkspaceFile; see WorkspaceFile.h.
#include "shell/WorkspaceFile.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "ClassEngine/Log.h"
#include "ClassEngine/UserPaths.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"
#include "interface/AppOptions.h"
#include "interface/Docks.h"
#include "interface/OptionsFile.h"

namespace {
std::string PageFile(int room) { return UserFilePath("Temp/page_" + std::to_string(room) + ".xml"); }
constexpr const char* kPagePrefix = "page_";
}  // namespace

bool SaveWorkspaceFile(const std::string& path, Docks& docks, int rooms) {
  if (docks.Room() >= 0) docks.SavePage(docks.Room());
  XmlNode root("Workspace");
  for (int r = 0; r < rooms; ++r) {
    auto page = std::make_unique<XmlNode>();
    if (!page->ReadFromFile(PageFile(r).c_str())) continue;  // a room never arranged
    XmlNode* holder = root.AddChild((kPagePrefix + std::to_string(r)).c_str());
    holder->AddChild(page.release());
  }
  XmlNode* options = root.AddChild("Options");
  auto values = std::make_unique<XmlNode>("AppOptions");
  TheOptions().Save(values.get(), &TheOptions(), nullptr);
  options->AddChild(values.release());
  if (!root.WriteToFile(path.c_str())) {
    Log("SaveWorkspaceFile(): cannot write %s", path.c_str());
    return false;
  }
  return true;
}

bool LoadWorkspaceFile(const std::string& path, Docks& docks) {
  XmlNode root;
  if (!root.ReadFromFile(path.c_str()) || std::string(root.GetName()) != "Workspace") {
    Log("LoadWorkspaceFile(): %s is not a workspace file", path.c_str());
    return false;
  }
  // The options first: saving them also keeps the page on show, which the
  // file's pages then replace.
  if (XmlNode* options = root.FindChild("Options"); options && options->ChildCount() == 1) {
    ErrorCollector errors(false);
    TheOptions().Load(options->Child(0), &TheOptions(), &errors, nullptr);
    SaveOptions();
  }
  for (int i = 0; i < root.ChildCount(); ++i) {
    XmlNode* c = root.Child(i);
    const std::string name = c->GetName();
    if (name.rfind(kPagePrefix, 0) != 0 || c->ChildCount() != 1) continue;
    char* end = nullptr;
    const long room = std::strtol(name.c_str() + std::strlen(kPagePrefix), &end, 10);
    if (*end || room < 0 || room > 1000) continue;
    if (!c->Child(0)->WriteToFile(PageFile(int(room)).c_str())) Log("LoadWorkspaceFile(): cannot write the page of room %ld", room);
  }
  if (docks.Room() >= 0) docks.LoadPage(docks.Room());
  return true;
}
