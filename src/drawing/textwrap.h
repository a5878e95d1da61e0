// Text in lines that fit a width.
#pragma once

#include <string>
#include <vector>

#include "host/canvas.h"

namespace tarnvisor {

// The line in the canvas's present font, broken at blanks where it is wider, and within a word where that is;
// characters of several bytes stay whole. At least one piece; one of a single character may be wider.
std::vector<std::string> wrapped(const Canvas& canvas, const std::string& line, int32_t width);
// The lines of a text with any kind of line end, without empty ones at its end.
std::vector<std::string> linesOf(const std::string& text);

}  // namespace tarnvisor
