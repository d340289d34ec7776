// The export options' panel: the SwapYZ row is the mesh codecs' own switch,
// so ticking it turns the axes of the next mesh loaded.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>

#include "WidgetTestKit.h"
#include "interchange/MeshIO.h"
#include "interface/ClassPanel.h"
#include "paint/ExportOpt.h"

TEST(ExportOptions, SwapYZRowTurnsTheAxesOfLoadedMeshes) {
  UiScope ui;
  comms::cMeshIO::m_SwapYZ = false;
  ClassPanel* panel = ui.tree.Root().Add(new ClassPanel);
  panel->W = 300;
  panel->Object = &ExportOpt::Instance();
  panel->Rebuild();
  ui.tree.Layout();
  CheckBox* box = nullptr;
  for (BaseWidget* w : panel->Children)
    if (auto* row = dynamic_cast<ClassRow*>(w); row && row->MemberName == "SwapYZ")
      for (BaseWidget* c : row->Children)
        if (auto* b = dynamic_cast<CheckBox*>(c)) box = b;
  ASSERT_NE(box, nullptr);
  ui.Click(box->AbsX + 3, box->AbsY + 3);
  EXPECT_TRUE(comms::cMeshIO::m_SwapYZ);

  const std::string path = ::testing::TempDir() + "export_opt_tri.obj";
  std::ofstream(path) << "v 1 2 3\nv 4 5 6\nv 7 8 9\nf 1 2 3\n";
  std::unique_ptr<comms::cMesh> mesh(comms::cMeshIO::LoadMesh(path.c_str()));
  comms::cMeshIO::m_SwapYZ = false;
  ASSERT_TRUE(mesh);
  EXPECT_EQ(mesh->positions[0].x, 2);  // (x, y, z) became (y, z, x)
  EXPECT_EQ(mesh->positions[0].y, 3);
  EXPECT_EQ(mesh->positions[0].z, 1);
  std::filesystem::remove(path);
}
