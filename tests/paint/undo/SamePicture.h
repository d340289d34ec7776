// A gtest check of two state pictures that names the first differing byte
// instead of printing both.
#pragma once
#include <gtest/gtest.h>

#include <string>

// Whether two pictures agree; the message names the first differing byte.
inline ::testing::AssertionResult SamePicture(const std::string& a, const std::string& b) {
  if (a == b) return ::testing::AssertionSuccess();
  size_t i = 0;
  while (i < a.size() && i < b.size() && a[i] == b[i]) ++i;
  return ::testing::AssertionFailure() << "pictures differ at byte " << i << " of " << a.size() << " / " << b.size()
                                       << (a.find("|layer") <= i ? " (in the layer stack: " + a.substr(a.find("|layer"), 300) + " vs " + b.substr(b.find("|layer"), 300) + ")" : "");
}
