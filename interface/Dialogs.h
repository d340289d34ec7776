// Modal boxes drawn in the interface tree: a text, the panel of an object if
// one is given, and a row of buttons. ShowDialog pumps the program's messages
// until a button is pressed; a run with no one to ask (no pump installed, as
// in headless runs and tests) takes the default answer and logs the key.
#pragma once
#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

#include "interface/ClassPanel.h"

class WidgetTree;

// Runs frames and messages until done() says true.
using ModalPump = std::function<void(const std::function<bool()>& done)>;
void SetDialogPump(ModalPump pump);

// The box answers the keyboard too: Enter picks the default button, Esc the
// last one (the one that cancels), and a letter the first button whose words
// begin with it ("n" for "No").
class DialogBox : public PanelWidget {
 public:
  int Result = 0;  // the pressed button's index from 1, 0 while open
  int DefaultButton = 1;
  std::vector<std::string> ButtonWords;
  MV_CLASS(DialogBox, PanelWidget) {}
  DialogBox();
  bool Pick(int index);
  bool OnKey();
};

// Builds the box in `tree` and waits for an answer: the button's index from 1.
int ShowDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
               std::initializer_list<const char*> buttonKeys, int defaultButton = 1);
// Builds the box without waiting (the pump and tests use it).
DialogBox* BuildDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
                       std::initializer_list<const char*> buttonKeys);
// The same with the buttons in a list. Keys, or words marked with "#": the
// text is wrapped to the box's width and "\n" starts a new line.
DialogBox* BuildDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
                       const std::vector<std::string>& buttonKeys, int defaultButton = 1);
int ShowDialog(WidgetTree& tree, const char* textKey, const char* titleKey, BaseClass* object,
               const std::vector<std::string>& buttonKeys, int defaultButton = 1);
