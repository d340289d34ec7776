// Str_for_hash and Hash<Key, NBuckets, InitialEntries>: the string-keyed table
// of the class registry and the name tables. Entries live in one array that
// grows by half when full; callers address entries by index, which stays
// valid for the table's life. The bucket of a string is the sum of its
// characters taken as signed bytes, modulo NBuckets.
#pragma once
#include <cstring>
#include <new>

#include "ClassEngine/Assert.h"
#include "ClassEngine/ExMalloc.h"

// A key: a borrowed text for lookups (owned 0), a copy the table owns once
// added (owned 1).
struct Str_for_hash {
  int owned = 0;
  char* str = nullptr;

  Str_for_hash() = default;
  explicit Str_for_hash(const char* s) : owned(0), str(const_cast<char*>(s)) {}

  unsigned hash() const {
    int sum = 0;
    for (const char* p = str ? str : ""; *p; p++) sum += (signed char)*p;
    return (unsigned)sum;
  }
  bool equal(const Str_for_hash& k) const {
    return strcmp(str ? str : "", k.str ? k.str : "") == 0;
  }
  // Frees a copy the table owned.
  void release() {
    if (owned) cExFree(str);
    owned = 0;
    str = nullptr;
  }
  // Takes an owned copy of k's text.
  void copy(const Str_for_hash& k) {
    release();
    const char* s = k.str ? k.str : "";
    size_t n = strlen(s) + 1;
    str = (char*)cExMalloc((int)n);
    if (str) memcpy(str, s, n);
    owned = 1;
  }
};

template <class Key, int NBuckets, int InitialEntries>
class Hash {
 public:
  Hash() = default;
  Hash(const Hash&) = delete;
  Hash& operator=(const Hash&) = delete;
  ~Hash() {
    for (int i = 0; i < m_Capacity; i++) m_Entries[i].key.release();
    cExFree(m_Entries);
  }

  // Index of the key, added if absent.
  int add(const Key& key) {
    int b = Bucket(key);
    if (m_Heads[b] == 0) {
      int e = NewEntry(key, 0);
      m_Heads[b] = e + 1;
      return e;
    }
    int head = m_Heads[b] - 1;
    if (m_Entries[head].next == kCleared) {  // left by a clear: reuse it
      m_Entries[head].key.copy(key);
      m_Entries[head].next = 0;
      return head;
    }
    int f = find(key);
    if (f >= 0) return f;
    int e = NewEntry(key, m_Heads[b]);
    m_Heads[b] = e + 1;
    return e;
  }
  // Index of the key, or -1.
  int find(const Key& key) const {
    for (int link = m_Heads[Bucket(key)]; link > 0;) {
      const Entry& e = m_Entries[link - 1];
      if (e.next == kCleared) break;
      if (e.key.equal(key)) return link - 1;
      link = e.next;
    }
    return -1;
  }
  Key& get(int idx) {
    MV_ASSERT(idx >= 0 && idx < m_NEntries);
    return m_Entries[Clamp(idx)].key;
  }
  const Key& get(int idx) const {
    MV_ASSERT(idx >= 0 && idx < m_NEntries);
    return m_Entries[Clamp(idx)].key;
  }
  // Forgets every key and keeps the entries for reuse.
  void clear() {
    m_NEntries = 0;
    memset(m_Heads, 0, sizeof(m_Heads));
    for (int i = 0; i < m_Capacity; i++) m_Entries[i].next = kCleared;
  }
  int size() const { return m_NEntries; }
  int capacity() const { return m_Capacity; }

 private:
  static constexpr int kCleared = -1;
  // next: 1 + index of the next entry of the chain, 0 at the end, -1 when
  // the entry was left by a clear. Heads hold 1 + index, 0 for empty.
  struct Entry {
    Key key;
    int next;
  };

  static int Bucket(const Key& key) { return (int)(key.hash() % (unsigned)NBuckets); }
  int Clamp(int idx) const { return idx < 0 ? 0 : (idx >= m_Capacity ? m_Capacity - 1 : idx); }
  int NewEntry(const Key& key, int next) {
    if (m_NEntries >= m_Capacity) Grow();
    Entry& e = m_Entries[m_NEntries];
    e.key.copy(key);
    e.next = next;
    return m_NEntries++;
  }
  void Grow() {
    int capacity = m_Capacity ? m_Capacity + m_Capacity / 2 : InitialEntries;
    Entry* grown = (Entry*)cExMalloc((int)sizeof(Entry) * capacity);
    if (m_Capacity) memcpy((void*)grown, m_Entries, sizeof(Entry) * m_Capacity);
    for (int i = m_Capacity; i < capacity; i++) {
      new (&grown[i].key) Key();
      grown[i].next = kCleared;
    }
    cExFree(m_Entries);
    m_Entries = grown;
    m_Capacity = capacity;
  }

  Entry* m_Entries = nullptr;
  int m_Capacity = 0;
  int m_NEntries = 0;
  int m_Heads[NBuckets] = {};
};
