// Two tests of the optics on one image: the fall of brightness towards the corners, and the contrast along a
// ruled target. Each appends a record to a table in the data folder and to the document's notes. A table that
// can't be written is told to the user; the record is then in the notes alone.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace tarnvisor {

class ZBasicDoc;

// Adds the two diagonals to the current list and shows the grey levels along them. False without an image or
// when the table couldn't be written.
bool vignetteTest(ZBasicDoc& document);
// y: the row that is looked at, a frame row of the image itself. Adds the line from the first to the last
// edge and opens the notes. False likewise, or when the row lies outside.
bool autocalTest(ZBasicDoc& document, int32_t y);

// What autocalTest finds in a row of levels. The row is walked in runs above and below its mean; a pixel that
// is just at the mean begins a low run and doesn't continue one.
struct RuledRow {
  double mean = 0;
  int32_t minimum = 0;
  int32_t threshold = 0;           // the mean, cut to a whole number
  std::vector<int32_t> leftEdges;  // where low runs begin, at most 256
  // min * 100 / max of a low run and the high run before it; where there is none, it counts for nothing.
  double smallestRatio = 100.0;
  double largestRatio = 0.0;
};
RuledRow measureRuledRow(std::span<const uint8_t> levels);

// Appends a line to a table, after its head where the file is new. A line that can't be written whole is
// taken back. False, and the user told, on failure.
bool appendRecord(const std::string& path, const std::string& head, const std::string& record);

}  // namespace tarnvisor
