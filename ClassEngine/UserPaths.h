// Paths of per-user files (tempfile.temp, Options.xml, UserData/...). The shell
// decides where the user's folder is at start-up and installs the resolver;
// until then, and in tests that install none, names stay relative to the
// working folder.
#pragma once
#include <functional>
#include <string>

using UserPathResolver = std::function<std::string(const std::string& relative)>;

void SetUserPathResolver(UserPathResolver resolver);
// The full path of a per-user file; the folders on the way exist afterwards.
std::string UserFilePath(const std::string& relative);
