// The Class Explorer's panes and commands; see ClassExplorer.h.
#include "ClassEngine/comms/ClassExplorer.h"

#include <algorithm>
#include <cstring>

#include "ClassEngine/DString.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"

namespace comms {

const std::vector<std::string>& cClassExplorer::Commands() {
  static const std::vector<std::string> commands = {"Undo",  "Redo",    "Back",      "Forward",
                                                    "Copy",  "Paste",   "Delete",    "Move Up",
                                                    "Move Down", "Load...", "Save...", "Clear"};
  return commands;
}

std::vector<std::string> cClassExplorer::ClassPane() const {
  std::vector<std::string> out;
  for (int i = 0; i < RegisteredClassCount(); i++) {
    ClassDescriptor* d = GetClassDescriptorByIndex(i);
    if (!d || !d->Prototype || !d->Name || strchr(d->Name, '.')) continue;
    out.push_back(d->Category ? std::string(d->Category) + "/" + d->Name : d->Name);
  }
  std::sort(out.begin(), out.end());
  return out;
}

BaseClass* cClassExplorer::Current() {
  BaseClass* o = root_;
  for (int i : path_) {
    if (!o || i < 0 || i >= o->GetAmountOfElements()) return nullptr;
    BaseClass* c = o->GetElementClass(i);
    if (!c || !c->IsCompound()) return nullptr;
    o = static_cast<BaseClass*>(o->GetElementPtr(i, o));
  }
  return o;
}

std::vector<cClassExplorer::Row> cClassExplorer::ObjectPane() {
  std::vector<Row> rows;
  BaseClass* o = Current();
  if (!o) return rows;
  for (int i = 0; i < o->GetAmountOfElements(); i++) {
    Row r;
    const char* id = o->GetElementID(i);
    r.Name = id ? id : "";
    BaseClass* c = o->GetElementClass(i);
    void* p = o->GetElementPtr(i, o);
    r.Opens = c && p && c->IsCompound();
    if (r.Opens) {
      const char* view = c->GetView(p);
      r.Value = view ? view : "";
    } else if (c && p) {
      DString value;
      if (c->GetValueByName(value, p, o->GetElementExtra(i), "value")) r.Value = value.cpchar();
    }
    rows.push_back(r);
  }
  return rows;
}

bool cClassExplorer::Open(int element) {
  BaseClass* o = Current();
  if (!o || element < 0 || element >= o->GetAmountOfElements()) return false;
  BaseClass* c = o->GetElementClass(element);
  if (!c || !c->IsCompound() || !o->GetElementPtr(element, o)) return false;
  back_.push_back(path_);
  forward_.clear();
  path_.push_back(element);
  return true;
}

bool cClassExplorer::Back() {
  if (back_.empty()) return false;
  forward_.push_back(path_);
  path_ = back_.back();
  back_.pop_back();
  return true;
}

bool cClassExplorer::Forward() {
  if (forward_.empty()) return false;
  back_.push_back(path_);
  path_ = forward_.back();
  forward_.pop_back();
  return true;
}

std::string cClassExplorer::Snapshot() {
  XmlNode tree;
  root_->Save(&tree, root_, nullptr);
  std::string text;
  tree.Write(text);
  return text;
}

void cClassExplorer::Restore(const std::string& text) {
  XmlNode tree;
  if (tree.Parse(text.c_str()) < 0) return;
  root_->Reset(root_);
  ErrorCollector silent(false);
  root_->Load(&tree, root_, &silent, nullptr);
  // The way into sub-objects may not exist any more.
  while (!path_.empty() && !Current()) path_.pop_back();
}

void cClassExplorer::Remember() {
  undo_.push_back(Snapshot());
  redo_.clear();
}

bool cClassExplorer::Undo() {
  if (undo_.empty()) return false;
  redo_.push_back(Snapshot());
  Restore(undo_.back());
  undo_.pop_back();
  return true;
}

bool cClassExplorer::Redo() {
  if (redo_.empty()) return false;
  undo_.push_back(Snapshot());
  Restore(redo_.back());
  redo_.pop_back();
  return true;
}

bool cClassExplorer::Copy(int element) {
  BaseClass* o = Current();
  if (!o || element < 0 || element >= o->GetAmountOfElements()) return false;
  BaseClass* c = o->GetElementClass(element);
  void* p = o->GetElementPtr(element, o);
  if (!c || !p) return false;
  const char* id = o->GetElementID(element);
  XmlNode tree(id ? id : "");
  c->Save(&tree, p, o->GetElementExtra(element));
  Clipboard.clear();
  tree.Write(Clipboard);
  return true;
}

bool cClassExplorer::Paste() {
  BaseClass* o = Current();
  XmlNode tree;
  if (!o || Clipboard.empty() || tree.Parse(Clipboard.c_str()) < 0) return false;
  Remember();
  int i = o->ExpandWith(tree.GetName(), o);
  if (i < 0) i = o->FindElement(tree.GetName());
  BaseClass* c = i < 0 ? nullptr : o->GetElementClass(i);
  void* p = i < 0 ? nullptr : o->GetElementPtr(i, o);
  if (!c || !p) {
    undo_.pop_back();
    return false;
  }
  ErrorCollector silent(false);
  c->Load(&tree, p, &silent, o->GetElementExtra(i));
  o->RunSetAccessor(i, o, p);
  return true;
}

bool cClassExplorer::Delete(int element) {
  BaseClass* o = Current();
  if (!o) return false;
  Remember();
  if (o->DelElement(element)) return true;
  undo_.pop_back();
  return false;
}

bool cClassExplorer::Move(int element, int shift) {
  BaseClass* o = Current();
  if (!o) return false;
  Remember();
  if (o->MoveElement(element, shift)) return true;
  undo_.pop_back();
  return false;
}

bool cClassExplorer::Load(const char* path) {
  XmlNode tree;
  if (!path || !tree.ReadFromFile(path)) return false;
  Remember();
  root_->Reset(root_);
  ErrorCollector silent(false);
  root_->Load(&tree, root_, &silent, nullptr);
  path_.clear();
  back_.clear();
  forward_.clear();
  return true;
}

bool cClassExplorer::Save(const char* path) { return path && root_->WriteToFile(path); }

bool cClassExplorer::Clear() {
  BaseClass* o = Current();
  if (!o) return false;
  Remember();
  o->Reset(o);
  return true;
}

}  // namespace comms
