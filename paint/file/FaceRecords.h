// One face record of the scene file's surface block, decoded from bytes in
// memory: which fields the block's tag gives it, how long it is, and the face
// it describes. Decoding depends on nothing but the bytes and a read-only
// context, so the reader decodes a run of faces on the thread pool.
#pragma once
#include <cstdint>
#include <string>
#include <vector>

struct PaintFace;

// The fields of a face record in a surface block of a given tag.
struct FaceLayout {
  bool Targets = true;   // u16 render target, u16 UV set ("SUR7" and up)
  bool Grids = true;     // u16 Nx, u16 Ny ("SUR6" and up); else the default grid
  bool Objects = true;   // u32 object, u32 material ("SUR3" and up)
  bool Wear = true;      // f32 wear ("SUR5" and up, with objects)
  uint32_t DefaultGrid = 0;

  // `tag` is one of "SUR2" .. "SUR9" ("SAR*" already mapped).
  static FaceLayout Of(uint32_t tag, uint32_t defaultGrid);
  int64_t HeadBytes() const { return 17 + (Targets ? 4 : 0) + (Grids ? 4 : 0) + (Objects ? 8 : 0) + (Wear ? 4 : 0); }
};

// What a face record is read against: the scene's lists as they stand when
// the surface block begins, and the reader's old-file fix-ups.
struct FaceContext {
  int UVSets = 0;
  std::vector<uint8_t> ObjectVisible, ObjectLocked, MaterialLocked;
  bool SwapYZ = false;
  bool OldSpecular = false;
};

// The length of the face record at `p`, of which `avail` bytes are in memory;
// -1 when more are needed, `need` then saying how many would let the
// measure go on (at most the whole record). Lengths that no file could hold
// come out very large, never wrapped.
int64_t FaceRecordLength(const FaceLayout& layout, const uint8_t* p, int64_t avail, int64_t& need);

// Decodes one whole record of `FaceRecordLength` bytes into `f`: grid and
// layer samples allocated and filled, layer entries with their LayerID and no
// Info yet (the caller resolves them, in face order, on one thread). False
// with `why` set for a record that is not a face.
bool DecodeFaceRecord(const FaceLayout& layout, const FaceContext& context, const uint8_t* p, PaintFace& f,
                      std::string& why);
