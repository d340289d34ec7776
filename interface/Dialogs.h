// Modal boxes drawn in the interface tree: a text, the panel of an object if
// one is given, and a row of buttons. ShowDialog pumps the program's messages
// until a button is pressed; a run with no one to ask (no pump installed, as
// in headless runs and tests) takes the default answer and logs the key.
#pragma once
#include <functional>
#include <initializer_list>

#include "interface/ClassPanel.h"

class WidgetTree;

// Runs frames and messages until done() says true.
using ModalPump = std::function<void(const std::function<bool()>& done)>;
void SetDialogPump(ModalPump pump);

class DialogBox : public PanelWidget {
 public:
  int Result = 0;  // the pressed button's index from 1, 0 while open
  MV_CLASS(DialogBox, PanelWidget) {}
  bool Pick(int index);
};

// Builds the box in `tree` and waits for an answer: the button's index from 1.
int ShowDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
               std::initializer_list<const char*> buttonKeys, int defaultButton = 1);
// Builds the box without waiting (the pump and tests use it).
DialogBox* BuildDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
                       std::initializer_list<const char*> buttonKeys);
