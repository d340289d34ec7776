#include "ClassEngine/UserPaths.h"

#include <utility>

namespace {
UserPathResolver& Resolver() {
  static UserPathResolver resolver;
  return resolver;
}
}  // namespace

void SetUserPathResolver(UserPathResolver resolver) { Resolver() = std::move(resolver); }

std::string UserFilePath(const std::string& relative) {
  if (Resolver()) return Resolver()(relative);
  return relative;
}
