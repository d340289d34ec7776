// The program's one random generator: a linear congruential generator with
// 15-bit output. Every operation that needs chance seeds its own generator, and
// each thread has its own instance, so strokes and tests repeat exactly.
#pragma once
#include <cstdint>

class Random {
 public:
  static constexpr int kMax = 32767;

  explicit Random(uint32_t seed = 1) : state_(seed) {}
  void Seed(uint32_t seed) { state_ = seed; }
  uint32_t State() const { return state_; }

  // 0 .. 32767.
  int Next() {
    state_ = state_ * 214013u + 2531011u;
    return (int)((state_ >> 16) & 0x7fff);
  }
  // 0 .. 1 inclusive.
  float Unit() { return Next() * (1.0f / kMax); }
  // a .. b inclusive.
  float Range(float a, float b) { return a + (b - a) * Unit(); }
  // -1 .. 1 inclusive.
  float Signed() { return Unit() * 2.0f - 1.0f; }

 private:
  uint32_t state_;
};

// The calling thread's generator.
Random& ThreadRandom();
