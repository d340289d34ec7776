// The export options' members: rows on the mesh codecs' statics.
#include "paint/ExportOpt.h"

#include "interchange/MeshCodecs.h"
#include "interchange/MeshIO.h"

void ExportOpt::RegisterOwnMembers() {
  NextStatic();
  Member("_bool", comms::cMeshIO::m_SwapYZ, "SwapYZ");
  NextStatic();
  Member("_bool", comms::cMeshLwo::m_UseLwoSubpatch, "UseLwoSubpatch");
}

ExportOpt& ExportOpt::Instance() {
  static ExportOpt options;
  return options;
}
