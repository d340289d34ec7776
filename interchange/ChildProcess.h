// Runs a piece of work on untrusted input in a child process and brings its
// bytes back through a pipe, so that a library that corrupts memory on a
// damaged file (Assimp's FBX reader does, on some bit flips) takes down only
// the child. The parent gets the bytes only when the child ended normally.
#pragma once
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace comms {

// Runs `work` in a forked child; what it returns is the result. True with
// `result` filled when the child exited with status 0; otherwise false and
// `why` says how it ended ("killed by signal 11", "exit status 3", or why
// it couldn't start).
bool RunInChild(const std::function<std::vector<uint8_t>()>& work, std::vector<uint8_t>& result,
                std::string& why);

}  // namespace comms
