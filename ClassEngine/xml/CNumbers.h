// Numbers in the text of class files are always written and read in the C
// locale, whatever locale the process runs in: a settings file written under
// a German locale must still say 0.500000, not 0,500000.
#pragma once
#include <cstddef>

// snprintf in the C locale.
int FormatC(char* buffer, size_t size, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
// sscanf in the C locale; the number of fields read, or -1 (EOF).
int ScanC(const char* text, const char* format, ...) __attribute__((format(scanf, 2, 3)));
