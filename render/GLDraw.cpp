// cRenderGL: vertex formats, vertex and index buffers, and the draw calls.
// The position element reads from attribute 0 and every other element from
// attribute 1 + its running number in the list, so a shader declares
// `layout(location = N)` in the order of its format.
#include <epoxy/gl.h>

#include <algorithm>
#include "render/RenderGL.h"

namespace comms {

namespace {
const GLenum kModes[6] = {GL_POINTS, GL_LINES, GL_LINE_STRIP, GL_TRIANGLES, GL_TRIANGLE_STRIP, GL_TRIANGLE_FAN};
int g_enabledAttributes = 0;  // of the one vertex array object; main thread only
}  // namespace

int cRenderGL::RegisterVertexFormat(const std::vector<VertexElement>& elements) {
  cVertexFormat f;
  if (!BuildVertexFormat(elements, f)) return -1;
  formats_.push_back(std::move(f));
  return int(formats_.size()) - 1;
}

int cRenderGL::GetVertexSize(int format) const {
  return format >= 0 && format < int(formats_.size()) ? formats_[format].Size : 0;
}

int cRenderGL::CreateVertexBuffer(const void* data, int bytes) {
  if (bytes <= 0) return -1;
  Buffer b;
  b.Size = bytes;
  glGenBuffers(1, &b.Gl);
  glBindBuffer(GL_ARRAY_BUFFER, b.Gl);
  glBufferData(GL_ARRAY_BUFFER, bytes, data, GL_STATIC_DRAW);
  layoutDirty_ = true;
  if (glGetError() != GL_NO_ERROR) {
    glDeleteBuffers(1, &b.Gl);
    return -1;
  }
  return vertexBuffers_.Add(b);
}

int cRenderGL::CreateIndexBuffer(const void* data, int count, int indexSize) {
  if (count <= 0 || (indexSize != 2 && indexSize != 4)) return -1;
  Buffer b;
  b.Size = count;
  b.IndexSize = indexSize;
  glGenBuffers(1, &b.Gl);
  // Element buffers are vertex-array state: bind, fill, and let the next
  // SetIndexBuffer bind what it wants.
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, b.Gl);
  glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(count) * indexSize, data, GL_STATIC_DRAW);
  ib_ = -1;
  if (glGetError() != GL_NO_ERROR) {
    glDeleteBuffers(1, &b.Gl);
    return -1;
  }
  return indexBuffers_.Add(b);
}

void cRenderGL::FreeVertexBuffer(int id) {
  Buffer* b = vertexBuffers_.Get(id);
  if (!b) return;
  glDeleteBuffers(1, &b->Gl);
  if (vb_ == id) vb_ = -1, layoutDirty_ = true;
  vertexBuffers_.Free(id);
}

void cRenderGL::FreeIndexBuffer(int id) {
  Buffer* b = indexBuffers_.Get(id);
  if (!b) return;
  glDeleteBuffers(1, &b->Gl);
  if (ib_ == id) ib_ = -1;
  indexBuffers_.Free(id);
}

void cRenderGL::SetVertexBuffer(int id, int byteOffset) {
  if (id == vb_ && byteOffset == vbOffset_) return;
  vb_ = vertexBuffers_.Get(id) ? id : -1;
  vbOffset_ = byteOffset;
  layoutDirty_ = true;
}

void cRenderGL::SetIndexBuffer(int id) {
  if (id == ib_) return;
  const Buffer* b = indexBuffers_.Get(id);
  ib_ = b ? id : -1;
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, b ? b->Gl : 0);
}

void cRenderGL::ApplyVertexLayout(int format, unsigned buffer, intptr_t offset) {
  const cVertexFormat& f = formats_[format];
  glBindBuffer(GL_ARRAY_BUFFER, buffer);
  int next = 1, used = 0;
  bool positionTaken = false;
  for (size_t i = 0; i < f.Elements.size(); i++) {
    const VertexElement& e = f.Elements[i];
    // The first position element is POSITION; all others TEXCOORDn in turn.
    bool position = e.Semantic == kSemPos && !positionTaken;
    positionTaken |= position;
    int location = position ? 0 : next++;
    const void* at = reinterpret_cast<const void*>(offset + f.Offsets[i]);
    glEnableVertexAttribArray(GLuint(location));
    if (e.Type == kCompByte)
      glVertexAttribPointer(GLuint(location), 4, GL_UNSIGNED_BYTE, GL_TRUE, f.Size, at);
    else
      glVertexAttribPointer(GLuint(location), e.Count, GL_FLOAT, GL_FALSE, f.Size, at);
    used = std::max(used, location + 1);
  }
  for (int i = used; i < g_enabledAttributes; i++) glDisableVertexAttribArray(GLuint(i));
  g_enabledAttributes = used;
  layoutFormat_ = format;
}

void cRenderGL::PrepareDraw() {
  const Shader* s = shaders_.Get(shader_);
  if (!s) return;
  if (layoutDirty_ || layoutFormat_ != s->Format) {
    const Buffer* b = vertexBuffers_.Get(vb_);
    if (b) ApplyVertexLayout(s->Format, b->Gl, vbOffset_);
    layoutDirty_ = false;
  }
}

void cRenderGL::DrawUser(int kind, const void* vertices, int count) {
  const Shader* s = shaders_.Get(shader_);
  if (!s || kind < 0 || kind > 5 || count <= 0 || !vertices) return;
  int stride = formats_[s->Format].Size;
  glBindBuffer(GL_ARRAY_BUFFER, streamVbo_);
  glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(count) * stride, vertices, GL_STREAM_DRAW);
  ApplyVertexLayout(s->Format, streamVbo_, 0);
  glDrawArrays(kModes[kind], 0, count);
  CountDraw();
  // Drawing from memory leaves no buffer bound.
  vb_ = -1;
  layoutDirty_ = true;
  SetIndexBuffer(-1);
}

void cRenderGL::Draw(int kind, int first, int count) {
  const Shader* s = shaders_.Get(shader_);
  const Buffer* b = vertexBuffers_.Get(vb_);
  if (!s || !b || kind < 0 || kind > 5 || first < 0) return;
  int stride = formats_[s->Format].Size;
  if (count < 0) count = (b->Size - vbOffset_) / stride - first;
  if (count <= 0) return;
  PrepareDraw();
  glDrawArrays(kModes[kind], first, count);
  CountDraw();
}

void cRenderGL::DrawIndexedUser(int kind, const void* vertices, const void* indices, int vertexCount, int indexCount,
                                int indexSize) {
  const Shader* s = shaders_.Get(shader_);
  if (!s || kind < 0 || kind > 5 || vertexCount <= 0 || indexCount <= 0 || !vertices || !indices) return;
  if (indexSize != 2 && indexSize != 4) return;
  int stride = formats_[s->Format].Size;
  glBindBuffer(GL_ARRAY_BUFFER, streamVbo_);
  glBufferData(GL_ARRAY_BUFFER, GLsizeiptr(vertexCount) * stride, vertices, GL_STREAM_DRAW);
  ApplyVertexLayout(s->Format, streamVbo_, 0);
  glBindBuffer(GL_ELEMENT_ARRAY_BUFFER, streamIbo_);
  glBufferData(GL_ELEMENT_ARRAY_BUFFER, GLsizeiptr(indexCount) * indexSize, indices, GL_STREAM_DRAW);
  glDrawElements(kModes[kind], indexCount, indexSize == 2 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT, nullptr);
  CountDraw();
  vb_ = -1;
  ib_ = -2;  // the stream buffer is bound; the next SetIndexBuffer rebinds
  layoutDirty_ = true;
}

void cRenderGL::DrawIndexed(int kind, int firstIndex, int count) {
  const Shader* s = shaders_.Get(shader_);
  const Buffer* ib = indexBuffers_.Get(ib_);
  if (!s || !ib || !vertexBuffers_.Get(vb_) || kind < 0 || kind > 5 || firstIndex < 0) return;
  if (count < 0) count = ib->Size - firstIndex;
  if (count <= 0) return;
  PrepareDraw();
  glDrawElements(kModes[kind], count, ib->IndexSize == 2 ? GL_UNSIGNED_SHORT : GL_UNSIGNED_INT,
                 reinterpret_cast<const void*>(intptr_t(firstIndex) * ib->IndexSize));
  CountDraw();
}

}  // namespace comms
