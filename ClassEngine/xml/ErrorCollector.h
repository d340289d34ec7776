// Gathers the complaints of a class load (unknown members, numbers that do
// not read) so that loading goes on past them. Loads started by the user see
// them in the log and, for a failing element, in a box; file reads of the
// class engine make a silent collector, whose messages are only kept here.
#pragma once
#include "ClassEngine/DString.h"

class XmlNode;

class ErrorCollector {
 public:
  explicit ErrorCollector(bool showMessages = true) : ShowMessages(showMessages) {}

  DString Messages;  // every message, in order
  bool ShowMessages;
  int Count = 0;

  // Adds a message (printf form); logged when ShowMessages is set.
  void Report(const char* format, ...) __attribute__((format(printf, 2, 3)));
  // An element that failed to load: with ShowMessages, a box with the first
  // 500 characters of its XML. Cancel ends the process with code 1, as a
  // user asks who would rather fix the file than run with half of it.
  void ShowSource(const XmlNode* node);
};
