// The start-up registration of the program's tools, from one explicit call.
// Layers above the tools (paint, voxels, retopology) hand their own tool
// objects in by name; every other name gets a pending tool (PendingTools.h).
#pragma once
#include <functional>
#include <map>
#include <string>

#include "shell/tools/ToolTable.h"

using ToolFactory = std::function<BasicTool*()>;
using ToolProviders = std::map<std::string, ToolFactory>;

// The registered names, in registration order.
extern const char* const kStandardToolNames[];
extern const int kStandardToolCount;

// Registers every standard name in order: a provided tool if there is one,
// else its pending tool. Returns how many were registered.
int RegisterStandardTools(ToolTable& table, const ToolProviders& providers = {});
// The pending tool of a standard name.
BasicTool* MakePendingTool(const char* name);
