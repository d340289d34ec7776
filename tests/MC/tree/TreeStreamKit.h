// The layer tree through the volume stream of a scene file: written with its
// volumes, read back into another tree.
#pragma once
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ClassEngine/streams/MemoryBinStream.h"
#include "MC/file/VolumeStream.h"
#include "MC/mcubes/VolumeObject.h"
#include "MC/tree/VoxVisualTree.h"
#include "paint/file/BlockCoding.h"

// Writes `tree` and its volumes, and reads them into `back`; the tree's XML
// comes back in `xml` when asked.
inline void ThroughVolumeStream(VoxVisualTree& tree, VoxVisualTree& back, std::string* xmlOut = nullptr) {
  MemoryBinStream s;
  {
    BlockWriter w(s);
    WriteVolumes(w, tree.Volumes(), false, tree.TreeXml());
  }
  BlockReader r(s, s.Size());
  std::vector<std::unique_ptr<VolumeObject>> volumes;
  std::string xml;
  ASSERT_TRUE(ReadVolumes(r, volumes, &xml)) << r.Error();
  ASSERT_FALSE(xml.empty());
  back.TakeScene(std::move(volumes), xml);
  if (xmlOut) *xmlOut = xml;
}
