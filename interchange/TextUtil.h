// Small text helpers shared by the codecs: C-locale number formatting and
// parsing, case-blind comparison and path pieces. Files of every codec speak
// numbers with a point, whatever the user's locale says.
#pragma once
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace comms {

// printf into a string, numbers always in the C locale.
std::string FormatC(const char* format, ...) __attribute__((format(printf, 1, 2)));

// Parses a leading number of `text` (from_chars: locale-free). False when none.
bool ParseDouble(std::string_view text, double& out);
bool ParseFloat(std::string_view text, float& out);
bool ParseInt(std::string_view text, long long& out);

// Splits by blanks and tabs into `tokens` (reused, so no allocation per line).
void SplitTokens(std::string_view line, std::vector<std::string_view>& tokens);

bool IEquals(std::string_view a, std::string_view b);
std::string ToLower(std::string_view s);

// "a/b/c.obj" -> "obj"; "" when the last point comes before the file name.
std::string ExtensionOf(std::string_view path);
// "a/b/c.obj" -> "a/b/" (with the separator); "" when none.
std::string FolderOf(std::string_view path);
// "a/b/c.obj" -> "c.obj"
std::string FileNameOf(std::string_view path);
// "a/b/c.obj" -> "a/b/c"
std::string StripExtension(std::string_view path);

}  // namespace comms
