// LWO2 meshes: an IFF of big-endian chunks. Decoding reads layers, points,
// polygons, UV maps (per point and per polygon corner), morph maps, surface
// tags, clips and surfaces; chunks it doesn't know are stepped over. A
// surface's node setup ("NODS") is kept as bytes and written back unchanged;
// a material with a bump texture and no setup of its own gets a normal-map link.
#include <algorithm>
#include <cmath>
#include <filesystem>
#include <map>
#include <memory>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "interchange/IO.h"
#include "interchange/LwoChunks.h"
#include "interchange/LwoNodes.h"
#include "interchange/MeshCodecs.h"
#include "interchange/TextUtil.h"

namespace comms {

bool cMeshLwo::m_UseLwoSubpatch = false;

namespace {

constexpr float kPi = 3.14159265358979f;
constexpr int kNoMaterial = 0xffff;

struct LwoReadState {
  LwoReadState(cMesh& m, std::string path) : mesh(m), meshPath(std::move(path)) {}
  cMesh& mesh;
  std::string meshPath;
  std::vector<std::string> tags;
  int layer = -1;                 // current object
  size_t pointBase = 0;           // first position of the current layer
  std::vector<size_t> layerPolys; // header cells of the current layer's polygons
  std::vector<int> pointUv;       // per position, from the first TXUV map
  std::string uvMap;              // the name of the TXUV map in use
  std::map<uint32_t, std::string> clips;
  std::vector<std::pair<int, uint32_t>> slotClips;  // (material * 3 + slot, clip id)
};

int MaterialByName(cMesh& mesh, const std::string& name) {
  int m = mesh.FindMaterial(name);
  return m >= 0 ? m : mesh.AddMaterial(name);
}

void EnsureLayer(LwoReadState& s) {
  if (s.layer >= 0) return;
  s.layer = s.mesh.AddObject("Layer 1");
  s.pointBase = s.mesh.positions.size();
}

void ReadVmap(LwoReadState& s, LwoCursor c) {
  uint32_t type = c.U4();
  uint16_t dim = c.U2();
  std::string name = c.S0();
  if (type == LwoTag("TXUV") && dim == 2) {
    if (s.uvMap.empty()) s.uvMap = name;
    if (name != s.uvMap) return;  // one UV set per mesh
    while (!c.AtEnd() && c.Ok()) {
      uint32_t v = c.VX();
      float u = c.F4(), w = c.F4();
      if (!c.Ok()) break;
      size_t p = s.pointBase + v;
      if (p >= s.mesh.positions.size()) continue;
      if (s.pointUv.size() < s.mesh.positions.size()) s.pointUv.resize(s.mesh.positions.size(), -1);
      s.mesh.uvs.push_back({u, w});
      s.pointUv[p] = (int)s.mesh.uvs.size() - 1;
    }
  } else if (type == LwoTag("MORF") && dim == 3) {
    cMorph* morph = nullptr;
    for (cMorph& m : s.mesh.morphs)
      if (m.name == name) morph = &m;
    if (!morph) {
      s.mesh.morphs.emplace_back();
      morph = &s.mesh.morphs.back();
      morph->name = name;
    }
    while (!c.AtEnd() && c.Ok()) {
      uint32_t v = c.VX();
      float x = c.F4(), y = c.F4(), z = c.F4();
      if (!c.Ok()) break;
      size_t p = s.pointBase + v;
      if (p >= s.mesh.positions.size()) continue;
      if (morph->offsets.size() < s.mesh.positions.size()) morph->offsets.resize(s.mesh.positions.size());
      morph->offsets[p] = {x, y, -z};
    }
  }
}

void ReadPols(LwoReadState& s, LwoCursor c) {
  uint32_t type = c.U4();
  if (type != LwoTag("FACE") && type != LwoTag("PTCH")) return;
  EnsureLayer(s);
  s.layerPolys.clear();
  const int material = kNoMaterial;  // until a "PTAG" names one
  std::vector<int> corners;
  while (!c.AtEnd() && c.Ok()) {
    int n = c.U2() & 0x3ff;
    corners.clear();
    for (int k = 0; k < n && c.Ok(); k++) corners.push_back((int)(s.pointBase + c.VX()));
    if (!c.Ok()) break;
    s.layerPolys.push_back(s.mesh.polygons.size());
    s.mesh.BeginPolygon(n, material, s.layer);
    // LWO winds clockwise; the mesh keeps the other order.
    for (int k = n - 1; k >= 0; k--) s.mesh.AddCorner(corners[k], -1, -1);
  }
}

void ReadVmad(LwoReadState& s, LwoCursor c) {
  uint32_t type = c.U4();
  uint16_t dim = c.U2();
  std::string name = c.S0();
  if (type != LwoTag("TXUV") || dim != 2) return;
  if (s.uvMap.empty()) s.uvMap = name;
  if (name != s.uvMap) return;
  while (!c.AtEnd() && c.Ok()) {
    uint32_t v = c.VX(), poly = c.VX();
    float u = c.F4(), w = c.F4();
    if (!c.Ok() || poly >= s.layerPolys.size()) continue;
    cPolyCell* h = &s.mesh.polygons[s.layerPolys[poly]];
    for (int k = 1; k <= h->a; k++)
      if (h[k].a == (int)(s.pointBase + v)) {
        s.mesh.uvs.push_back({u, w});
        h[k].b = (int)s.mesh.uvs.size() - 1;
      }
  }
}

void ReadPtag(LwoReadState& s, LwoCursor c) {
  if (c.U4() != LwoTag("SURF")) return;
  while (!c.AtEnd() && c.Ok()) {
    uint32_t poly = c.VX();
    uint16_t tag = c.U2();
    if (!c.Ok() || poly >= s.layerPolys.size() || tag >= s.tags.size()) continue;
    int m = MaterialByName(s.mesh, s.tags[tag]);
    s.mesh.polygons[s.layerPolys[poly]].b = cMesh::PackMaterial(m, 0);
  }
}

void ReadClip(LwoReadState& s, LwoCursor c) {
  uint32_t id = c.U4();
  while (c.Left() >= 6 && c.Ok()) {
    uint32_t tag = c.U4();
    uint16_t size = c.U2();
    if (size > c.Left()) break;
    LwoCursor sub(c.Here(), c.Here() + size);
    if (tag == LwoTag("STIL")) s.clips[id] = sub.S0();
    c.Skip(size + (size & 1));
  }
}

void ReadBlok(LwoReadState& s, int material, LwoCursor c) {
  int slot = -1;
  uint32_t clip = 0;
  bool image = false;
  while (c.Left() >= 6 && c.Ok()) {
    uint32_t tag = c.U4();
    uint16_t size = c.U2();
    if (size > c.Left()) break;
    LwoCursor sub(c.Here(), c.Here() + size);
    if (tag == LwoTag("IMAP")) {
      image = true;
      sub.S0();  // ordinal
      while (sub.Left() >= 6 && sub.Ok()) {
        uint32_t t = sub.U4();
        uint16_t n = sub.U2();
        if (n > sub.Left()) break;
        if (t == LwoTag("CHAN") && n >= 4) {
          LwoCursor ch(sub.Here(), sub.Here() + n);
          uint32_t channel = ch.U4();
          if (channel == LwoTag("COLR") || channel == LwoTag("DIFF")) slot = kDiffuseSlot;
          else if (channel == LwoTag("SPEC")) slot = kSpecularSlot;
          else if (channel == LwoTag("BUMP")) slot = kBumpSlot;
        }
        sub.Skip(n + (n & 1));
      }
    } else if (tag == LwoTag("IMAG")) {
      clip = sub.VX();
    }
    c.Skip(size + (size & 1));
  }
  if (image && slot >= 0 && clip) s.slotClips.push_back({material * kTextureSlots + slot, clip});
}

void ReadSurf(LwoReadState& s, LwoCursor c) {
  std::string name = c.S0();
  c.S0();  // source
  int m = MaterialByName(s.mesh, name);
  while (c.Left() >= 6 && c.Ok()) {
    uint32_t tag = c.U4();
    uint16_t size = c.U2();
    if (size > c.Left()) break;
    LwoCursor sub(c.Here(), c.Here() + size);
    if (tag == LwoTag("SMAN")) {
      float a = sub.F4();
      s.mesh.materials[m].smooth = a > 0;
      if (a > 0 && a <= kPi) s.mesh.materials[m].smoothAngle = kPi - a;
    } else if (tag == LwoTag("BLOK")) {
      ReadBlok(s, m, sub);
    } else if (tag == LwoTag("NODS")) {
      // Kept as bytes to go back out unchanged; a setup that does not parse as a
      // node tree is kept all the same, and said in the log.
      std::vector<uint8_t>& nodes = s.mesh.materials[m].lwoNodes;
      nodes.assign(sub.Here(), sub.Here() + size);
      LwoNodeRoot tree;
      if (!tree.ReadBody(nodes)) Log("LWO: the node setup of surface %d is not a node tree; kept as bytes", m);
    }
    c.Skip(size + (size & 1));
  }
}

// A clip's path as it is, beside the mesh, or in an "Images" folder beside it.
std::string FindClip(const std::string& clip, const std::string& meshPath) {
  std::error_code ec;
  if (std::filesystem::exists(cIO::ResolvePath(clip), ec)) return clip;
  std::string folder = FolderOf(meshPath), name = FileNameOf(clip);
  std::string beside = folder + name;
  if (std::filesystem::exists(cIO::ResolvePath(beside), ec)) return beside;
  std::string images = folder + "Images/" + name;
  if (std::filesystem::exists(cIO::ResolvePath(images), ec)) return images;
  return clip;
}

}  // namespace

cMesh* cMeshLwo::Decode(cMeshFile& source) {
  LwoCursor file(source.Data(), source.Data() + source.Size());
  if (file.U4() != LwoTag("FORM")) {
    Log("cMeshLwo::DecodeLwo(): The file doesn't start with \"FORM\".");
    return nullptr;
  }
  uint32_t formSize = file.U4();
  uint32_t type = file.U4();
  if (type == LwoTag("LWOB")) {
    Log("cMeshLwo::DecodeLwo(): \"%s\" is an old LWOB file; only LWO2 files are read.", source.Path().c_str());
    SystemDialog box;
    box.title = "Warning";
    box.text = "OLD_LWO";
    box.kind = SystemDialog::Kind::Warning;
    ShowSystemDialog(box);
    return nullptr;
  }
  if (type != LwoTag("LWO2") || !file.Ok()) {
    Log("cMeshLwo::DecodeLwo(): The file isn't an LWO2 form.");
    return nullptr;
  }
  auto mesh = std::make_unique<cMesh>();
  mesh->name = StripExtension(FileNameOf(source.Path()));
  LwoReadState s(*mesh, source.Path());
  size_t formLeft = formSize >= 4 ? formSize - 4 : 0;
  LwoCursor form(file.Here(), file.Here() + std::min(formLeft, file.Left()));
  while (form.Left() >= 8 && form.Ok()) {
    uint32_t tag = form.U4();
    uint32_t size = form.U4();
    if (size > form.Left()) {
      Log("cMeshLwo::DecodeLwo(): A chunk runs past the end of the file.");
      return nullptr;
    }
    LwoCursor c(form.Here(), form.Here() + size);
    if (tag == LwoTag("TAGS")) {
      while (!c.AtEnd() && c.Ok()) s.tags.push_back(c.S0());
    } else if (tag == LwoTag("LAYR")) {
      uint16_t number = c.U2();
      c.U2();  // flags
      c.Skip(12);  // pivot
      std::string name = c.Ok() ? c.S0() : "";
      s.layer = mesh->AddObject(name.empty() ? FormatC("Layer %d", number + 1) : name);
      s.pointBase = mesh->positions.size();
      s.layerPolys.clear();
    } else if (tag == LwoTag("PNTS")) {
      EnsureLayer(s);
      s.pointBase = mesh->positions.size();
      s.layerPolys.clear();
      mesh->positions.reserve(mesh->positions.size() + size / 12);
      while (c.Left() >= 12) {
        float x = c.F4(), y = c.F4(), z = c.F4();
        mesh->positions.push_back({x, y, -z});
      }
    } else if (tag == LwoTag("VMAP")) {
      ReadVmap(s, c);
    } else if (tag == LwoTag("POLS")) {
      ReadPols(s, c);
    } else if (tag == LwoTag("VMAD")) {
      ReadVmad(s, c);
    } else if (tag == LwoTag("PTAG")) {
      ReadPtag(s, c);
    } else if (tag == LwoTag("CLIP")) {
      ReadClip(s, c);
    } else if (tag == LwoTag("SURF")) {
      ReadSurf(s, c);
    }
    form.Skip(size + (size & 1));
  }
  // Corners without their own UV take their point's.
  s.pointUv.resize(mesh->positions.size(), -1);
  size_t i = 0;
  while (i < mesh->polygons.size()) {
    cPolyCell* h = &mesh->polygons[i];
    for (int k = 1; k <= h->a; k++)
      if (h[k].b < 0 && h[k].a >= 0 && (size_t)h[k].a < s.pointUv.size()) h[k].b = s.pointUv[h[k].a];
    i += (size_t)h->a + 1;
  }
  for (cMorph& m : mesh->morphs) m.offsets.resize(mesh->positions.size());
  for (const auto& [slot, clip] : s.slotClips) {
    auto it = s.clips.find(clip);
    if (it != s.clips.end())
      mesh->materials[slot / kTextureSlots].slots[slot % kTextureSlots].path = FindClip(it->second, source.Path());
  }
  int fallback = -1;
  i = 0;
  while (i < mesh->polygons.size()) {
    cPolyCell& h = mesh->polygons[i];
    if (cMesh::MaterialOf(h.b) == kNoMaterial) {
      if (fallback < 0) fallback = MaterialByName(*mesh, "default");
      h.b = cMesh::PackMaterial(fallback, 0);
    }
    i += (size_t)h.a + 1;
  }
  if (mesh->materials.empty()) mesh->AddMaterial("default");
  if (mesh->objects.empty()) mesh->AddObject("Layer 1");
  return mesh.release();
}

namespace {

void WriteSurface(LwoChunk& form, const cMaterial& m, const std::vector<std::string>& clips) {
  LwoChunk& surf = form.Child(LwoTag("SURF"), false);
  surf.S0(m.name);
  surf.S0("");
  surf.Child(LwoTag("SMAN")).F4(m.smooth ? (m.smoothAngle > 0 && m.smoothAngle < kPi ? kPi - m.smoothAngle : kPi / 3) : 0);
  LwoChunk& colr = surf.Child(LwoTag("COLR"));
  colr.F4(0.8f); colr.F4(0.8f); colr.F4(0.8f); colr.VX(0);
  auto scalar = [&](const char (&tag)[5], float v) {
    LwoChunk& c = surf.Child(LwoTag(tag));
    c.F4(v);
    c.VX(0);
  };
  scalar("DIFF", 1.0f);
  scalar("SPEC", 0.0f);
  scalar("LUMI", 0.0f);
  scalar("REFL", 0.0f);
  scalar("TRAN", 0.0f);
  scalar("TRNL", 0.0f);
  scalar("GLOS", 0.4f);
  scalar("BUMP", 1.0f);
  static const char* const channels[kTextureSlots] = {"COLR", "SPEC", "BUMP"};
  for (int slot = 0; slot < kTextureSlots; slot++) {
    const std::string& path = m.slots[slot].path;
    if (path.empty()) continue;
    uint32_t clip = (uint32_t)(std::find(clips.begin(), clips.end(), path) - clips.begin()) + 1;
    LwoChunk& blok = surf.Child(LwoTag("BLOK"));
    LwoChunk& imap = blok.Child(LwoTag("IMAP"));
    imap.S0("\x80");
    const char* ch = channels[slot];
    imap.Child(LwoTag("CHAN")).U4((uint32_t)(uint8_t)ch[0] << 24 | (uint32_t)(uint8_t)ch[1] << 16 |
                                   (uint32_t)(uint8_t)ch[2] << 8 | (uint32_t)(uint8_t)ch[3]);
    imap.Child(LwoTag("ENAB")).U2(1);
    blok.Child(LwoTag("IMAG")).VX(clip);
    blok.Child(LwoTag("PROJ")).U2(5);  // UV
    blok.Child(LwoTag("VMAP")).S0("UVMap");
  }
  if (!m.lwoNodes.empty()) {
    surf.Child(LwoTag("NODS")).Raw(m.lwoNodes);
  } else if (!m.slots[kBumpSlot].path.empty()) {
    const std::string& bump = m.slots[kBumpSlot].path;
    LwoNodeRoot nodes;
    BuildNormalMapNodes(nodes, (uint32_t)(std::find(clips.begin(), clips.end(), bump) - clips.begin()) + 1, "UVMap");
    surf.Child(LwoTag("NODS")).Raw(nodes.Body());
  }
}

}  // namespace

void cMeshLwo::Encode(const cMesh& mesh, cMeshFile& target) {
  LwoChunk form(LwoTag("FORM"), false);
  form.U4(LwoTag("LWO2"));
  LwoChunk& tags = form.Child(LwoTag("TAGS"), false);
  for (const cMaterial& m : mesh.materials) tags.S0(m.name);
  if (mesh.materials.empty()) tags.S0("default");

  std::vector<std::string> clips;
  for (const cMaterial& m : mesh.materials)
    for (const cTextureSlot& slot : m.slots)
      if (!slot.path.empty() && std::find(clips.begin(), clips.end(), slot.path) == clips.end())
        clips.push_back(slot.path);

  const int objects = std::max<int>(1, (int)mesh.objects.size());
  for (int o = 0; o < objects; o++) {
    // The layer's own points, numbered in the order of the mesh.
    std::vector<int> local(mesh.positions.size(), -1), points;
    std::vector<size_t> polys;
    mesh.ForEachPolygon([&](size_t at, const cPolyCell& h, const cPolyCell* c) {
      int ho = h.c >= 0 && h.c < objects ? h.c : 0;
      if (ho != o || h.a < 1 || h.a > 1023) return;
      polys.push_back(at);
      for (int k = 0; k < h.a; k++) local[c[k].a] = 0;
    });
    for (size_t i = 0; i < local.size(); i++)
      if (local[i] == 0) {
        local[i] = (int)points.size();
        points.push_back((int)i);
      }
    LwoChunk& layr = form.Child(LwoTag("LAYR"), false);
    layr.U2((uint16_t)o);
    layr.U2(0);
    layr.F4(0); layr.F4(0); layr.F4(0);
    layr.S0(o < (int)mesh.objects.size() ? mesh.objects[o].name : "Layer 1");
    LwoChunk& pnts = form.Child(LwoTag("PNTS"), false);
    float lo[3] = {1e30f, 1e30f, 1e30f}, hi[3] = {-1e30f, -1e30f, -1e30f};
    for (int p : points) {
      const cMeshVec3& v = mesh.positions[p];
      float xyz[3] = {v.x, v.y, -v.z};
      for (int k = 0; k < 3; k++) {
        pnts.F4(xyz[k]);
        lo[k] = std::min(lo[k], xyz[k]);
        hi[k] = std::max(hi[k], xyz[k]);
      }
    }
    for (const cMorph& morph : mesh.morphs) {
      LwoChunk& vmap = form.Child(LwoTag("VMAP"), false);
      vmap.U4(LwoTag("MORF"));
      vmap.U2(3);
      vmap.S0(morph.name);
      for (size_t i = 0; i < points.size(); i++) {
        cMeshVec3 d = (size_t)points[i] < morph.offsets.size() ? morph.offsets[points[i]] : cMeshVec3{};
        vmap.VX((uint32_t)i);
        vmap.F4(d.x); vmap.F4(d.y); vmap.F4(-d.z);
      }
    }
    LwoChunk& bbox = form.Child(LwoTag("BBOX"), false);
    if (points.empty()) lo[0] = lo[1] = lo[2] = hi[0] = hi[1] = hi[2] = 0;
    for (float v : lo) bbox.F4(v);
    for (float v : hi) bbox.F4(v);
    // A point with one UV goes in the point map; one with several goes per corner.
    std::vector<int> pointUv(points.size(), -1);
    std::vector<bool> several(points.size(), false);
    for (size_t at : polys) {
      const cPolyCell* h = &mesh.polygons[at];
      for (int k = 1; k <= h->a; k++) {
        int lp = local[h[k].a], uv = h[k].b;
        if (uv < 0) continue;
        if (pointUv[lp] < 0) pointUv[lp] = uv;
        else if (pointUv[lp] != uv) {
          const cMeshVec2 &a = mesh.uvs[pointUv[lp]], &b = mesh.uvs[uv];
          if (a.x != b.x || a.y != b.y) several[lp] = true;
        }
      }
    }
    bool anyUv = false;
    for (int uv : pointUv) anyUv |= uv >= 0;
    if (anyUv) {
      LwoChunk& vmap = form.Child(LwoTag("VMAP"), false);
      vmap.U4(LwoTag("TXUV"));
      vmap.U2(2);
      vmap.S0("UVMap");
      for (size_t i = 0; i < points.size(); i++)
        if (pointUv[i] >= 0 && !several[i]) {
          vmap.VX((uint32_t)i);
          vmap.F4(mesh.uvs[pointUv[i]].x);
          vmap.F4(mesh.uvs[pointUv[i]].y);
        }
    }
    LwoChunk& pols = form.Child(LwoTag("POLS"), false);
    pols.U4(m_UseLwoSubpatch ? LwoTag("PTCH") : LwoTag("FACE"));
    for (size_t at : polys) {
      const cPolyCell* h = &mesh.polygons[at];
      pols.U2((uint16_t)h->a);
      for (int k = h->a; k >= 1; k--) pols.VX((uint32_t)local[h[k].a]);
    }
    // Every polygon tag type names the polygon's material.
    for (const char* kind : {"SURF", "PART", "SPEC", "BUMP"}) {
      LwoChunk& ptag = form.Child(LwoTag("PTAG"), false);
      ptag.U4((uint32_t)(uint8_t)kind[0] << 24 | (uint32_t)(uint8_t)kind[1] << 16 | (uint32_t)(uint8_t)kind[2] << 8 |
              (uint32_t)(uint8_t)kind[3]);
      for (size_t i = 0; i < polys.size(); i++) {
        ptag.VX((uint32_t)i);
        int m = cMesh::MaterialOf(mesh.polygons[polys[i]].b);
        ptag.U2((uint16_t)(m < (int)mesh.materials.size() ? m : 0));
      }
    }
    bool anySeveral = false;
    for (bool b : several) anySeveral |= b;
    if (anySeveral) {
      LwoChunk& vmad = form.Child(LwoTag("VMAD"), false);
      vmad.U4(LwoTag("TXUV"));
      vmad.U2(2);
      vmad.S0("UVMap");
      for (size_t i = 0; i < polys.size(); i++) {
        const cPolyCell* h = &mesh.polygons[polys[i]];
        for (int k = 1; k <= h->a; k++) {
          int lp = local[h[k].a];
          if (!several[lp] || h[k].b < 0) continue;
          vmad.VX((uint32_t)lp);
          vmad.VX((uint32_t)i);
          vmad.F4(mesh.uvs[h[k].b].x);
          vmad.F4(mesh.uvs[h[k].b].y);
        }
      }
    }
  }
  for (size_t i = 0; i < clips.size(); i++) {
    LwoChunk& clip = form.Child(LwoTag("CLIP"), false);
    clip.U4((uint32_t)i + 1);
    clip.Child(LwoTag("STIL")).S0(clips[i]);
  }
  for (const cMaterial& m : mesh.materials) WriteSurface(form, m, clips);
  std::vector<uint8_t> bytes;
  form.WriteTo(bytes);
  target.Write(bytes.data(), bytes.size());
}

}  // namespace comms
