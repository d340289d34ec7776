// Callbacks: the behaviour of widgets. A wpcallback<T> holds a member function
// of T, an object and up to five 32-bit arguments, so two callbacks can be
// compared (AddCallback's replace rules) and nothing hides a pointer in an
// argument slot. The call kind says how many arguments there are and whether
// the function's bool result goes back to the dispatcher (kinds 1-6 and
// 13-18, the latter for const functions) or the call reports false (7-12 and
// 19-24). OnlyFor names a target widget weakly: a callback whose target is
// gone or no longer below the running widget removes itself.
#pragma once
#include <cstring>
#include <type_traits>
#include <utility>

#include "interface/Widget.h"

class WBaseCallback : public BaseClass {
 public:
  static constexpr uint32_t kAlive = 0xabcdefabu;
  static constexpr uint32_t kDestroyed = 0xbaadfeedu;

  int Event = 0;
  uint16_t RemoveAfterCall = 0;
  WidgetHandle OnlyFor;
  int CallKind = 0;
  uint32_t A[5] = {0, 0, 0, 0, 0};
  int HotKey = 0;  // low byte key; 0x100 Ctrl, 0x200 Alt, 0x400 Shift
  uint32_t StopAfter = kAlive;

  MV_CLASS(WBaseCallback, BaseClass) {}
  ~WBaseCallback() override { A[0] = kDestroyed; }

  // Runs the call; see the file comment for when it does nothing.
  bool Execute();
  // Same function (and same object)?
  virtual bool SameFunction(const WBaseCallback& /*other*/) const { return false; }
  bool SameArguments(const WBaseCallback& o) const { return memcmp(A, o.A, sizeof A) == 0; }
  WBaseCallback* For(BaseWidget* target) {
    OnlyFor = target ? target->Handle() : WidgetHandle();
    return this;
  }
  WBaseCallback* WithHotKey(int key) {
    HotKey = key;
    return this;
  }

 protected:
  virtual bool Invoke() { return false; }
};

// The key state a hot key compares with; the router sets it.
struct HotKeyState {
  int LastKey = -1;
  bool Ctrl = false, Alt = false, Shift = false;
};
HotKeyState& HotKeys();

template <class T>
class wpcallback : public WBaseCallback {
 public:
  using Invoker = bool (*)(T* object, const unsigned char* function, const uint32_t* args);
  T* Object = nullptr;

  const char* GetClassName() override { return "wpcallback"; }
  bool SameFunction(const WBaseCallback& other) const override {
    auto* o = dynamic_cast<const wpcallback<T>*>(&other);
    return o && o->Object == Object && o->invoke_ == invoke_ &&
           memcmp(o->function_, function_, sizeof function_) == 0;
  }

  // Binds fn(args...) on object; arguments are 32-bit plain values.
  template <class R, class... P, class... V>
  static wpcallback* Make(T* object, R (T::*fn)(P...), V... values) {
    static_assert(sizeof...(P) == sizeof...(V) && sizeof...(P) <= 5, "one value per parameter, at most five");
    static_assert(((std::is_arithmetic_v<P> && sizeof(P) <= 4) && ...), "arguments are 32-bit values");
    auto* c = new wpcallback;
    c->Object = object;
    c->CallKind = (std::is_same_v<R, bool> ? 0 : 6) + int(sizeof...(P)) + 1;
    static_assert(sizeof fn <= sizeof c->function_);
    memcpy(c->function_, &fn, sizeof fn);
    uint32_t raw[5] = {};
    int i = 0;
    ((raw[i] = Pack(P(values)), ++i), ...);
    memcpy(c->A, raw, sizeof raw);
    c->invoke_ = &Call<R, P...>;
    return c;
  }

 protected:
  bool Invoke() override { return Object && invoke_ ? invoke_(Object, function_, A) : false; }

 private:
  template <class P>
  static uint32_t Pack(P v) {
    uint32_t r = 0;
    memcpy(&r, &v, sizeof v);
    return r;
  }
  template <class P>
  static P Unpack(uint32_t r) {
    P v;
    memcpy(&v, &r, sizeof v);
    return v;
  }
  template <class R, class... P, size_t... I>
  static bool CallWith(T* object, R (T::*fn)(P...), const uint32_t* args, std::index_sequence<I...>) {
    if constexpr (std::is_same_v<R, bool>)
      return (object->*fn)(Unpack<P>(args[I])...);
    else {
      (object->*fn)(Unpack<P>(args[I])...);
      return false;
    }
  }
  template <class R, class... P>
  static bool Call(T* object, const unsigned char* function, const uint32_t* args) {
    R (T::*fn)(P...);
    memcpy(&fn, function, sizeof fn);
    return CallWith(object, fn, args, std::index_sequence_for<P...>());
  }

  unsigned char function_[16] = {};
  Invoker invoke_ = nullptr;
};

// MakeCallback(this, &Widget::OnClick, 3): the usual way to bind.
template <class T, class R, class... P, class... V>
wpcallback<T>* MakeCallback(T* object, R (T::*fn)(P...), V... values) {
  return wpcallback<T>::Make(object, fn, values...);
}
