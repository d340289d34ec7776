// cImageSwatchFile: an image offered as a swatch: its file and the name it
// is shown under (the file's name when empty).
#pragma once
#include "ClassEngine/comms/cClass.h"

namespace comms {

class cImageSwatchFile : public cClass {
 public:
  _str Name;
  _str File;
  MV_CLASS(cImageSwatchFile, cClass) {
    Member("_cStr", Name, "Name");
    Member("_cImageFile", File, "File");
  }
  const char* GetView(void* ptr) override;
};

}  // namespace comms
