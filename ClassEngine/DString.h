// DString: the application's string. Storage comes from the small-block pools
// in size classes (8, 16, 32, 64, 128, then steps of 16, then a margin of half
// above 512 bytes), so short strings stay off the system heap. `str` may be
// null; every reader goes through cpchar(), which gives "" for null.
#pragma once

class DString {
 public:
  char* str = nullptr;
  int L = 0;    // length
  int Max = 0;  // capacity in bytes

  DString() = default;
  DString(const char* s) { Assign(s); }
  DString(const DString& s) { Assign(s.cpchar()); }
  DString& operator=(const DString& s) {
    if (this != &s) Assign(s.cpchar());
    return *this;
  }
  DString& operator=(const char* s) {
    Assign(s);
    return *this;
  }
  ~DString() { Clear(); }

  const char* cpchar() const { return str ? str : ""; }
  int Length() const { return L; }
  bool IsEmpty() const { return L == 0; }

  // The capacity that a request of n bytes (terminator included) gets.
  static int CapacityFor(int n);

  void Assign(const char* s);
  void Add(const char* s);
  void Add(const DString& s) { Add(s.cpchar()); }
  void Add(char c);
  DString& operator+=(const char* s) {
    Add(s);
    return *this;
  }
  void Clear();
  // Formatted append; one call writes at most 4,095 characters.
  void print(const char* format, ...) __attribute__((format(printf, 2, 3)));
  // Replaces every `from` by `to`, left to right, going on after each
  // inserted text so a replacement is never searched again.
  void Replace(const char* from, const char* to);
  // The whole file as text; a missing file gives the empty string and false.
  bool ReadFromFile(const char* path);
  bool WriteToFile(const char* path) const;

  bool operator==(const char* s) const;
  bool operator==(const DString& s) const { return *this == s.cpchar(); }

 private:
  void Ensure(int bytes);
};
