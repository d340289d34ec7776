// comms::cStr: the comms library's string. Up to 19 characters live in the
// object itself; longer texts take a buffer, in multiples of 32 bytes, from
// the comms block pool. Comparison is plain byte order.
#pragma once

namespace comms {

class cStr {
 public:
  static constexpr int kInline = 20;
  static constexpr int kFormatLimit = 9999;  // Format() writes at most this many characters

  char* Data;
  int Length;
  int Capacity;
  char Inline[kInline];

  cStr() : Data(Inline), Length(0), Capacity(kInline) { Inline[0] = 0; }
  cStr(const char* s) : cStr() { Assign(s); }
  cStr(const cStr& s) : cStr() { Assign(s.Data); }
  cStr(cStr&& s) noexcept;
  cStr& operator=(const cStr& s) {
    Assign(s.Data);
    return *this;
  }
  cStr& operator=(const char* s) {
    Assign(s);
    return *this;
  }
  ~cStr() { Free(); }

  const char* ToCharPtr() const { return Data; }
  int GetLength() const { return Length; }
  bool IsEmpty() const { return Length == 0; }
  bool IsInline() const { return Data == Inline; }

  void Assign(const char* s);
  void Append(const char* s);
  void Append(char c);
  cStr& operator+=(const char* s) {
    Append(s);
    return *this;
  }
  void Clear();
  // Replaces the contents by printf-style text.
  void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
  static cStr Formatted(const char* format, ...) __attribute__((format(printf, 1, 2)));

  // -1, 0 or 1 in plain byte order.
  static int Compare(const char* a, const char* b);
  int Compare(const cStr& s) const { return Compare(Data, s.Data); }
  bool operator==(const cStr& s) const { return Compare(s) == 0; }
  bool operator==(const char* s) const { return Compare(Data, s) == 0; }
  bool operator<(const cStr& s) const { return Compare(s) < 0; }

  // Number parsing: leading blanks and tabs, an optional sign, digits, an
  // optional fraction and an optional exponent; trailing blanks and tabs are
  // allowed, anything else makes the text no number. C locale always.
  static bool ParseDouble(const char* s, double* out);
  bool ToDouble(double* out) const { return ParseDouble(Data, out); }
  bool ToFloat(float* out) const;
  bool ToInt(int* out) const;

 private:
  void Reserve(int bytes);
  void Free();
};

}  // namespace comms
