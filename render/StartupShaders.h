// The start-up list: every interface and viewport shader is asked for once at
// start-up, so a broken one shows at once and the compile cost is paid early.
#pragma once
#include <string>
#include <vector>

namespace comms {

class cIRS;

struct ShaderRequest {
  std::string Name;
  int VertexFormat;
  std::string Defines;
};

std::vector<ShaderRequest> StartupShaderList();
// Requests them all through IRS; returns how many failed. Requests for vertex
// formats not registered yet (the paint mesh's 12 and up) are skipped.
int RequestStartupShaders(cIRS& irs);

}  // namespace comms
