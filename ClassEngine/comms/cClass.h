// cClass: the reflected classes of the engine library (namespace comms): the
// engine settings, colour editing, transforms, sampler states, image swatches
// and splines. A cClass is a BaseClass under another name, so its members,
// XML and binary forms, copies and panels are the same; what differs is how
// it speaks: file loads log " # Loading xml file ..." and its troubles go to
// the log under the banner "Class engine warning!", never to a box. Its member
// classes are in cMembers.h, its containers in cContainers.h.
#pragma once
#include "ClassEngine/BaseClass.h"

namespace comms {

// Logs "Class engine warning!" and then the message.
void ClassEngineWarning(const char* format, ...) __attribute__((format(printf, 1, 2)));

class cClass : public BaseClass {
 public:
  MV_CLASS(cClass, BaseClass) {}

  // A missing or malformed file, or members that did not read, are warned
  // about in the log; the object keeps what it had for what was not read.
  bool ReadFromFile(const char* name) override;
  bool SafeReadFromFile(const char* name) override { return ReadFromFile(name); }
  bool WriteToFile(const char* name) override;

 protected:
  // A command button: `fn` runs on the object when the row is pressed.
  template <class T>
  void Button(void (T::*fn)(), const char* name);
};

// Registers cClass, its member classes, containers and derived classes; idempotent.
void RegisterCommsClasses();

}  // namespace comms

#include "ClassEngine/comms/cMembers.h"

template <class T>
void comms::cClass::Button(void (T::*fn)(), const char* name) {
  AddMethodRecord(new _cButton<T>(fn), name);
}
