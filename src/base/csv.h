// Comma-separated text (RFC 4180) as rows of cells. csvCell (base/text.h) is the way back.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "base/outcome.h"

namespace tarnvisor {

struct CsvRow {
  size_t line = 0;  // where it begins in the text, from 1: a quoted cell may hold line ends
  std::vector<std::string> cells;
};

// One row after the other of a text that outlives it, which may begin with the mark of UTF-8, end its lines
// with CR LF or LF, and lack the last line end. Lines without anything are no rows. Cells are taken as they
// stand, blanks included.
class CsvReader {
 public:
  // firstLine: that the text begins with, of a longer one.
  explicit CsvReader(std::string_view text, size_t firstLine = 1);
  // False at the end, and where a quote is open, or stands within or behind a cell: problem() then tells the
  // line and what is wrong.
  [[nodiscard]] bool next(CsvRow& row);
  const std::string& problem() const { return wrongWords; }
  size_t rowBegin() const { return begun; }  // where the last row began, in bytes
  size_t position() const { return at; }     // behind it
  size_t lineThere() const { return line; }

 private:
  bool takeCell(std::string& cell);
  bool takeQuoted(std::string& cell);
  bool take(std::string_view word);
  bool takeLineEnd();
  bool wrong(const char* what);
  std::string_view text;
  size_t at = 0, line = 1, begun = 0;
  std::string wrongWords;
};

// All rows; where something is wrong those before it.
[[nodiscard]] Outcome readCsv(std::string_view text, std::vector<CsvRow>& rows);

}  // namespace tarnvisor
