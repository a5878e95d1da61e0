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

// The rows of the text, which may begin with the mark of UTF-8, end its lines with CR LF or LF, and lack the
// last line end. Lines without anything are no rows. Cells are taken as they stand, blanks included. Fails
// with the line's number where a quote is open, or stands within or behind a cell; rows then holds those
// before it.
[[nodiscard]] Outcome readCsv(std::string_view text, std::vector<CsvRow>& rows);

}  // namespace tarnvisor
