// window.txt; see WindowPlacement.h.
#include "shell/WindowPlacement.h"

#include <cstdio>

WindowPlacement DefaultWindowPlacement() {
  WindowPlacement p;
  p.rect = {0, 0, 1280, 720};
  p.maximised = true;
  return p;
}

WindowPlacement ParseWindowPlacement(const char* text) {
  int l = 0, t = 0, r = 0, b = 0, flag = 0;
  int n = sscanf(text, "%d%d%d%d%d", &l, &t, &r, &b, &flag);
  if (n >= 4 && r > l && b > t && flag == 0) return {{l, t, r, b}, false};
  return DefaultWindowPlacement();
}

WindowPlacement ReadWindowPlacement(const std::string& path) {
  FILE* f = fopen(path.c_str(), "rb");
  if (!f) return DefaultWindowPlacement();
  char buf[256] = {};
  size_t n = fread(buf, 1, sizeof buf - 1, f);
  fclose(f);
  buf[n] = 0;
  return ParseWindowPlacement(buf);
}

bool WriteWindowPlacement(const std::string& path, const WindowRect& r, bool maximised) {
  FILE* f = fopen(path.c_str(), "wb");
  if (!f) return false;
  fprintf(f, "%d %d %d %d %d", r.left, r.top, r.right, r.bottom, maximised ? 1 : 0);
  return fclose(f) == 0;
}
