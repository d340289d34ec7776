// The error collector of class loads.
#include "ClassEngine/xml/ErrorCollector.h"

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "ClassEngine/Log.h"
#include "ClassEngine/SystemDialog.h"
#include "ClassEngine/xml/XmlNode.h"

void ErrorCollector::Report(const char* format, ...) {
  char text[1024];
  va_list args;
  va_start(args, format);
  vsnprintf(text, sizeof text, format, args);
  va_end(args);
  Messages.Add(text);
  Count++;
  if (ShowMessages) Log("%s", text);
}

void ErrorCollector::ShowSource(const XmlNode* node) {
  if (!ShowMessages || !node) return;
  std::string source;
  node->Write(source, 0);
  if (source.size() > 500) source.resize(500);
  SystemDialog box;
  box.title = "Class engine error";
  box.text = "XML source:\n\n" + source + "...\n";
  box.buttons = {"OK", "Cancel"};
  box.kind = SystemDialog::Kind::Error;
  if (ShowSystemDialog(box) == 1) std::exit(1);
}
