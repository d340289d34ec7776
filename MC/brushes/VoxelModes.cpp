// The VOXMODES table and its enumerators.
#include "MC/brushes/VoxelModes.h"

#include <cstring>

#include "ClassEngine/BaseClass.h"
#include "ClassEngine/Enumerator.h"

namespace {
const VoxModeInfo kModes[kVoxModeCount] = {
    {0, "SCULP_GROW", "*Voxels", true},       {1, "SCULPT_SMOOTH", "*Voxels", true},
    {2, "SCULP_FILL", "*Voxels", true},       {3, "SCULP_CLAY", "*Voxels", true},
    {4, "SCULPT_CARVE", "*Voxels", true},     {5, "SCULPT_ALPGROW", "*Voxels", true},
    {6, "SCULPT_BUILD", "*Voxels", true},     {7, "SCULPT_EXTRUDE", "*Voxels", true},
    {8, "SCULP_SPHERE", "*Voxels", true},     {9, "SCULPT_BRANCH", "*Voxels", true},
    {10, "SCULPT_RASPFILE", "*Voxels", true}, {11, "SCULP_VXPLANE", "*Voxels", true},
    {12, "SCULP_VXPINCH", "*Voxels", true},   {13, "SCULP_VXFOLLOW", "*Voxels", true},
    {14, "SCULPT_MEASURE", "*Adjust", true}, {15, "SCULPT_PICK", "*Adjust", true},
    {16, "SCULPT_TRANSPOSE", "*Adjust", true}, {17, "SCULP_MOVE", "*Adjust", true},
    {18, "SCULP_HIDE", "*Adjust", true},     {19, "SCULP_CLHIDE", "*Adjust", true},
    {20, "SCULPT_COPY", "*Adjust", true},    {21, "SCULPT_TRANSFORM", "*Adjust", true},
    {22, "SCULP_WRAP", "*Adjust", true},     {23, "SCULPT_AXIAL", "*Adjust", true},
    {24, "SCULPT_BARELIEF", "*Adjust", true}, {25, "SCULPT_LOGO", "*Objects", true},
    {26, "SCULPT_CUTNCLONE", "*Objects", true}, {27, "SCULPT_RECTSPLIT", "*Objects", true},
    {28, "SCULP_MERGE", "*Objects", true},   {29, "SCULP_SKETCH", "*Objects", true},
    {30, "SCULP_CURVES", "*Objects", false},  {31, "SCULP_SPSTROKE", "*Objects", false},
    {32, "SCULP_FREESP", "*Objects", false},  {33, "SCULP_TUBE", "*Objects", false},
    {34, "SCULP_MUSCLE", "*Objects", false},  {35, "SCULP_PRIM", "*Objects", false},
    {36, "SCULP_TEXT", "*Objects", true},    {37, "SCULP_CLOTH", "*Objects", false},
    {38, "SCULPT_DRAW", "*Surface", true},   {39, "SCULPT_PINCH", "*Surface", true},
    {40, "SCULP_FOLLOW", "*Surface", true},  {41, "SCULP_PLANE", "*Surface", true},
    {42, "SCULP_PLANE2", "*Surface", true},  {43, "SCULP_SCLAY", "*Surface", true},
    {44, "SCULP_SFILL", "*Surface", true},   {45, "SCULP_SFEXTRUDE0", "*Surface", true},
    {46, "SCULP_SFEXTRUDE", "*Surface", true}, {47, "SCULP_SFEXTRUDEA", "*Surface", true},
    {48, "SCULP_SFREEZE", "*Surface", true}, {49, "SCULPT_RAPID", "*Surface", true},
};
// -1 "*Surface", -2 "*Adjust".
const int kSurfaceList[] = {-1, 38, 1, 39, 40, 41, 42, 43, 44, 45, 46, 47, 48, 49, -2, 14, 15, 16, 17, 21};
}  // namespace

const VoxModeInfo* FindVoxMode(int index) { return index >= 0 && index < kVoxModeCount ? &kModes[index] : nullptr; }

int VoxModeByName(const char* name) {
  for (const VoxModeInfo& m : kModes)
    if (std::strcmp(m.Name, name) == 0) return m.Index;
  return -1;
}

bool IsSurfaceTool(int i) { return i == 14 || i == 15 || i == 16 || i == 17 || (i >= 38 && i <= 49); }

bool PicksLiveSurface(int i) { return i == SCULP_GROW || i == SCULPT_SMOOTH || i == SCULPT_BUILD || i == SCULP_PLANE2; }

int SurfaceModeList(const int** list) {
  *list = kSurfaceList;
  return (int)(sizeof kSurfaceList / sizeof kSurfaceList[0]);
}

void RegisterVoxModeEnumerators() {
  Enumerator* modes = GetEnumerator("VOXMODES");
  if (modes->GetStoredAmount() == 0) {
    // Section titles take -1, -2, ... and cannot be selected.
    const char* section = "";
    int title = 0;
    for (const VoxModeInfo& m : kModes) {
      if (std::strcmp(section, m.Section) != 0) {
        section = m.Section;
        // Add() reads -1 as "take the entry's index", so the title's value
        // is written afterwards.
        modes->Values[modes->Add(section)] = --title;
      }
      modes->Add(m.Name, m.Index);
    }
    modes->Add("IncRes", VOX_INCRES);
    modes->Add("Clear", VOX_CLEAR);
    modes->Add("SmAll", VOX_SMALL);
  }
  Enumerator* surf = GetEnumerator("VOXSURFMODES");
  if (surf->GetStoredAmount() == 0) {
    const int* list;
    const int n = SurfaceModeList(&list);
    for (int i = 0; i < n; ++i)
      surf->Values[surf->Add(list[i] == -1 ? "*Surface" : list[i] == -2 ? "*Adjust" : kModes[list[i]].Name)] = list[i];
  }
}
