// ExportOpt: the export options, one global instance, saved as "Export.xml"
// after an export and read at the next. Its axis swap and LWO patch switch
// are the mesh codecs' own settings (cMeshIO::m_SwapYZ,
// cMeshLwo::m_UseLwoSubpatch): the members are registered at those
// addresses, so a panel row or a loaded file changes what the codecs do.
#pragma once
#include "ClassEngine/BaseClass.h"
#include "ClassEngine/MemberClasses.h"

class ExportOpt : public BaseClass {
 public:
  MV_CLASS(ExportOpt, BaseClass);
  // The program's one instance.
  static ExportOpt& Instance();
};
