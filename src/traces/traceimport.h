// Files of other programs as traces: text in columns, the binary blocks of ZZTrace::exportbin, and WAV sound.
// Memory stays in proportion to the file. On failure there are no traces, and words that can be shown.
//
// Text: the delimiter is the first of tab, semicolon, comma and blanks that the first line of numbers holds;
// unless a comma parts columns it may be the decimal mark, which is the same in all lines. UTF-8, Latin-1, or
// UTF-16 with its mark. Cells may stand in quotes. A first line that is not all numbers gives the names;
// commas part as many columns as it names, and under a single name they are decimal marks. An empty cell
// within a column, or one of "nan", was not measured and becomes NaN. One trace a column, of doubles.
//   The first of several columns is time if it rises by a constant step (each value within a quarter of it,
// or under the name of a time within its rounding) and either its name says so ("t", "time", "s", "sec",
// "seconds", "ms", "min", "minutes", "h", "hours", "us", also as "time (ms)", "Time_ms" or "t [s]") or it has
// no name and x_scaled is 1. It gives period and start instead of a trace. With x_scaled 2 such a column
// counts samples and is left out. Without time a period is 1 second. Where its times differ from even ones by
// more than a hundredth of a step and than they are rounded, where they don't rise or have gaps, and where
// two whole numbers a line may be one with decimals, that is a question.
//   Text of one row (row delimiter 3, the column delimiter) is one column.
//
// Binary: one block after another, each with its header. The header doesn't tell the kind of items: 1 byte is
// unsigned, 2 bytes signed, 4 bytes floats unless an item would be no ordinary float, 8 bytes doubles. Items
// that stand in rows have the two-dimensional classes, 2 bytes then unsigned and 4 bytes as doubles.
//
// WAV: one trace a channel. 16-bit samples are kept as they are, with a ygain of 1/32768; all others become
// floats of which 1.0 is full scale.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "traces/trace.h"
#include "traces/tracetext.h"

namespace tarnvisor {

// Whether a file's ending is one that is imported; the filter of those for a chooser, without its end.
bool isTraceFile(const std::string& path);
inline constexpr const char* kTraceFilter = "Signals (*.wav;*.txt;*.bin)|*.wav;*.txt;*.bin";

struct Imported {
  std::vector<ZZTrace::Own> traces;
  std::string failure = {};   // empty on success
  std::string question = {};  // to be answered with yes before the traces are taken; empty for none
  std::string shortage = {};  // what the file tells of and lacks, in a sentence; empty where all is there
};

// The kind is told by the file's first bytes and, for binary, by its extension .bin too.
Imported importTraces(const std::string& path, const CTextSettings& settings);

// name: of traces that have none of their own.
Imported importText(std::string_view text, const std::string& name, const CTextSettings& settings);
Imported importBinary(std::span<const uint8_t> bytes, const CTextSettings& settings);
Imported importWav(const std::string& path, const std::string& name);

}  // namespace tarnvisor
