// The text tool's relief: the glyph outlines of a text (FreeType, DejaVu Sans
// by default), their curves flattened, filled with triangles (counters of
// glyphs stay open) and made into a closed slab. Units: the em is 100, the
// base line is y = 0 and the text runs along +x from x = 0.
#pragma once
#include <memory>
#include <string>

#include "MC/objects/ExtrudedFigure.h"

namespace comms {
class cMesh;
}

constexpr float kTextEm = 100;

// The font the text tool uses unless told otherwise.
const char* DefaultTextFont();

// The filled outlines of `text` (UTF-8; a byte that is no UTF-8 is taken as
// Latin-1) laid along the base line by the glyphs' advances and kerning.
// `advance` is where the pen ends. False, with `why`, when the font cannot
// be read.
bool TextFigure(const std::string& text, const std::string& fontPath, FlatFigure& figure, float& advance,
                std::string* why);

// The slab of `text`, `thickness` thick (in units where the em is 100),
// centred on z = 0. Null, with `why`, for an empty text, a text without a
// visible glyph or an unreadable font.
std::unique_ptr<comms::cMesh> TextSlab(const std::string& text, float thickness, std::string* why,
                                       const std::string& fontPath = DefaultTextFont());
