// The measure tool's figure: the distance between two picked points along the
// chosen alignment (MEASURE_ALIGN), in the units of METRICS, and the
// seven-stroke lettering that writes it over the view.
#pragma once
#include <string>

namespace comms {
class cRender;
}

enum MeasureAlign { MeasNoAlign = 0, MeasAlongX, MeasAlongY, MeasAlongZ, MeasInXY, MeasInYZ, MeasInZX };

// Distance between a and b (voxels) counting only the axes of `align`.
float MeasureDistance(const float a[3], const float b[3], int align);
// The figure as shown: voxels / voxelsPerUnit with two decimals and the unit's
// short name ("m", "mm", "cm", "km", "ft", "in", "yd", "mi"), C locale.
std::string MeasureText(float voxels, int units, float voxelsPerUnit);
// Writes `text` (digits, '.', '-', ' ' and the letters of the unit names)
// with its top-left corner at (x, y), `height` pixels tall; returns its width.
float DrawStrokeText(comms::cRender& render, const std::string& text, float x, float y, float height,
                     uint32_t colour);
