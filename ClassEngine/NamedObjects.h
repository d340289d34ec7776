// Objects found by name: a class that overrides GetObjectName, IsNamed,
// GetObjectID and SetObjectID has its objects entered here when they finish
// loading from XML (TryToLinkClass), and other objects refer to them by
// (class name, object name) through LinkByName, before or after the named
// object was loaded. The table has 256 chains, chosen by a hash of the class
// name; an object's id is (chain << 24) + its index in the chain, taken as
// unsigned bits (an id may be negative; -1 means none), and stays valid for the run. Main thread only, as all reflection.
#pragma once
#include <functional>

class BaseClass;

constexpr int kNamedChains = 256;

// The four object-name operations of a class whose objects are named by the
// _str member `nameMember`, with the id kept in the object. Its destructor
// still calls ForgetNamedObject(this).
#define MV_NAMED_OBJECT(nameMember)                                   \
 public:                                                              \
  _str* GetObjectName() override { return &nameMember; }             \
  bool IsNamed() override { return true; }                            \
  int GetObjectID() override { return namedObjectId_; }               \
  void SetObjectID(int id) override { namedObjectId_ = id; }          \
                                                                      \
 private:                                                             \
  int namedObjectId_ = -1;                                            \
                                                                      \
 public:

// The chain of a class name: (sum of character * position, from 1) modulo 256.
int NamedObjectChain(const char* className);

// Enters `object` under its class and object name and binds every reference
// waiting for that pair. False for an unnamed object, an empty name, or a
// name that another live object of the class holds already (logged as
// "TryToLinkClass failed!").
bool TryToLinkClass(BaseClass* object);

// The live object of that class and name, or null.
BaseClass* FindNamedObject(const char* className, const char* objectName);
// The live object of an id, or null.
BaseClass* NamedObjectById(int id);
// How many references were bound to the object of `id`.
int NamedObjectReferences(int id);

// Asks for the object (className, objectName): `bind` gets it now if it is
// known, else when it is linked. `key` identifies the reference (the address
// of the pointer it fills): a new request under the same key replaces a
// waiting one. An empty name binds null at once.
void LinkByName(const void* key, const char* className, const char* objectName,
                std::function<void(BaseClass*)> bind);
// Drops the waiting reference of `key`; its owner is going away.
void ForgetLink(const void* key);
// Takes a dying object out of the table; references to it are not touched.
void ForgetNamedObject(BaseClass* object);

int WaitingLinkCount();
// Empties the table and drops every waiting reference (tests).
void ClearNamedObjects();
