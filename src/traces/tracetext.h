// Traces as files for other programs: text of numbers in columns, or the raw binary of ZZTrace::exportbin.
// The settings are one object, kept in the section "Export" of the profile and shared with the import.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <span>
#include <string>

#include "base/outcome.h"
#include "traces/trace.h"

namespace tarnvisor {

struct CTextSettings {
  static constexpr int32_t kMostDigits = 30;

  static constexpr const char* kSection = "Export";

  // What is stored out of range is put right: any other delimiter is none, another style is "g", precision is
  // clipped to 0..30.
  void read(const std::string& section = kSection);
  void store(const std::string& section = kSection) const;

  // Of a chooser; the kind that is set comes first.
  const char* fileFilter() const {
    return binary ? "Binary Files (*.bin)|*.bin|Text Files (*.txt)|*.txt|All Files (*.*)|*.*||"
                  : "Text Files (*.txt)|*.txt|Binary Files (*.bin)|*.bin|All Files (*.*)|*.*||";
  }
  std::string fileExtension() const { return binary ? ".bin" : ".txt"; }
  std::string columnDelimiter() const;
  std::string rowDelimiter() const;
  std::string numberFormat() const;                          // "%.3f"
  void appendNumber(std::string& text, double value) const;  // what printf makes of it with that format

  int32_t yscaled = 1;   // values through ygain and yoffset
  int32_t xscaled = 1;   // first column: 0 none, 1 scaled time, 2 sample index
  int32_t zscaled = 1;   // the same as yscaled, of two-dimensional traces
  uint8_t binary = 0;    // instead of text
  uint8_t headers = 1;   // a line of names, or the binary header
  int32_t coldelim = 0;  // 0 tab, 1 comma, 2 semicolon, 3 space, 4 none
  int32_t rowdelim = 0;  // 0 CR LF, 1 CR, 2 LF, 3 the column delimiter, 4 none
  int32_t format = 2;    // 0 "E", 1 "f", 2 "g" (with one digit more)
  int32_t precision = 6;
  int32_t swapbytes = 0;      // of each item in binary
  bool unitsInHeads = false;  // heads as "CBV (mm/s)", in quotes where they need them; never stored

  // For a .csv file: commas, lines that end in LF, shown values by time, and heads with units.
  CTextSettings asCsv() const;
};

// The samples whose time lies in [from, to), seconds, or the whole.
struct ExportRange {
  bool whole = true;
  double from = 0;
  double to = 0;
  double secondsPerColumn = 0;  // of the view; text of a part tells a sample for each column
};

// Text: a line for each sample of the trace with the shortest period, from the earliest start to the latest
// end or within the range, where the view's columns are wider of as many as they are. The other traces tell
// what they have at its time, so that traces of different periods stand side by side; outside its samples,
// and where nothing was measured, the cell is empty; among blanks, and where a line would hold nothing else,
// it is "nan". Times have as many digits more as it takes to tell them apart. Binary: each trace's samples of
// that time after another; NaN in floats where nothing was measured. A delimiter or line end within a name
// becomes "_". Hidden traces are left out, unless it is the only one. A failure when there is nothing to
// write or too much; what the stream could not take it tells itself.
Outcome exportTraces(std::ostream& file, std::span<const ZZTrace* const> traces,
                     const CTextSettings& settings, const ExportRange& range);
// Replaces the file in one step; on failure the old one stays.
Outcome exportTraces(const std::string& path, std::span<const ZZTrace* const> traces,
                     const CTextSettings& settings, const ExportRange& range);

// How many rows such an export writes, and how many that is of; of binary samples.
struct ExportedRows {
  int64_t written = 0;
  int64_t all = 0;
};
ExportedRows exportedRows(std::span<const ZZTrace* const> traces, const CTextSettings& settings,
                          const ExportRange& range);

// The index of a trace's sample at a time, round the ring's end; false outside its samples.
bool sampleAt(const ZZTrace& trace, double seconds, uint32_t& index);

}  // namespace tarnvisor
