#include "ClassEngine/Random.h"

Random& ThreadRandom() {
  thread_local Random generator;
  return generator;
}
