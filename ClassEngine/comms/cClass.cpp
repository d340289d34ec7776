// cClass's file operations and warnings, and the registration of every comms
// class.
#include "ClassEngine/comms/cClass.h"

#include <cstdarg>
#include <cstdio>

#include "ClassEngine/Log.h"
#include "ClassEngine/comms/cColorEdit.h"
#include "ClassEngine/comms/cImageSwatchFile.h"
#include "ClassEngine/comms/cSamplerState.h"
#include "ClassEngine/comms/cSettings.h"
#include "ClassEngine/comms/cSpline.h"
#include "ClassEngine/comms/cTransform.h"
#include "ClassEngine/xml/ErrorCollector.h"
#include "ClassEngine/xml/XmlNode.h"

namespace comms {

void ClassEngineWarning(const char* format, ...) {
  char text[4096];
  va_list args;
  va_start(args, format);
  vsnprintf(text, sizeof text, format, args);
  va_end(args);
  Log("Class engine warning!\n%s", text);
}

bool cClass::ReadFromFile(const char* name) {
  Log(" # Loading xml file \"%s\"...", name ? name : "");
  XmlNode tree;
  if (!name || !tree.ReadFromFile(name)) {
    ClassEngineWarning("%s: unable to read \"%s\"", GetClassName(), name ? name : "");
    return false;
  }
  ErrorCollector errors(false);
  bool ok = Load(&tree, this, &errors, nullptr);
  if (errors.Count > 0) ClassEngineWarning("%s", errors.Messages.cpchar());
  return ok;
}

bool cClass::WriteToFile(const char* name) {
  Log(" # Saving xml file \"%s\"...", name ? name : "");
  XmlNode tree;
  if (!name || !Save(&tree, this, nullptr) || !tree.WriteToFile(name)) {
    ClassEngineWarning("%s: unable to write \"%s\"", GetClassName(), name ? name : "");
    return false;
  }
  return true;
}

void RegisterCommsClasses() {
  static bool done = false;
  if (done) return;
  done = true;
  RegisterClassEngineClasses();
  auto add = [](auto model) { RegisterClass(&model, "comms", model.GetClassName()); };
  auto addMember = [](auto model) { RegisterClass(&model, nullptr, model.GetClassName()); };
  addMember(_cInt());
  addMember(_cFloat());
  addMember(_cBool());
  addMember(_cStr());
  addMember(_cIndex());
  addMember(_cColor());
  addMember(_cBind());
  addMember(_cImageID());
  addMember(_cSliderI());
  addMember(_cSliderF());
  addMember(_cEditSliderI());
  addMember(_cEditSliderF());
  addMember(_cSliderRangedI());
  addMember(_cSliderRangedF());
  addMember(_cImageFile());
  addMember(_cSoundFile());
  addMember(_cModelFile());
  addMember(_cAnimFile());
  addMember(_cCameraFile());
  addMember(_cBspFile());
  addMember(_cXmlFile());
  addMember(_cLabel());
  addMember(_cSeparator());
  addMember(_cFloat2());
  addMember(_cFloat3());
  addMember(_cFloat4());
  addMember(_cVec2i());
  addMember(_cVec3i());
  GetClassDescriptor("_cButton");  // each button carries its own object
  add(cClass());
  add(cSettings_ClearColor());
  add(cSettings());
  add(cColorEdit());
  add(cTransform());
  add(cSamplerState());
  add(cImageSwatchFile());
  add(cSpline_Node());
  add(cSpline());
}

}  // namespace comms
