// A small reader of Windows metafiles: the drawing records of a plain one (.wmf), which begins with a header
// of 18 bytes, or of one that is preceded by the 22 bytes that tell where it is to be placed.
#pragma once

#include <cstdint>
#include <span>

#include "host/canvas.h"

namespace tarnvisor {

// The bytes of the metafile itself: from its header, as many 16-bit words as the header says. Empty when the
// file is no metafile or shorter than that.
std::span<const uint8_t> metafileOf(std::span<const uint8_t> file);

// Draws what the window extent of the drawing covers over the target: lines, rectangles, ellipses, arcs,
// polygons, points and texts in the colours of their pens, hollow and one pixel wide. Until the drawing
// chooses a pen of its own, lines have the given colour. A drawing without an extent covers the target with
// all it holds. Other records are skipped; damaged ones end the drawing. What one drawing may draw is
// bounded.
void playMetafile(std::span<const uint8_t> metafile, Canvas& canvas, const Rect& target, Colour colour);

}  // namespace tarnvisor
