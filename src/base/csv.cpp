#include "base/csv.h"

#include <algorithm>

#include "base/text.h"

namespace tarnvisor {

namespace {
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
}

CsvReader::CsvReader(std::string_view all, size_t firstLine) : text(all), line(firstLine) {
  if (text.starts_with(kByteOrderMark)) at = kByteOrderMark.size();
}

bool CsvReader::next(CsvRow& row) {
  while (takeLineEnd()) continue;
  if (at >= text.size() || !wrongWords.empty()) return false;
  begun = at;
  row.line = line;
  row.cells.clear();
  do {
    row.cells.emplace_back();
    if (!takeCell(row.cells.back())) return false;
  } while (take(","));
  return at >= text.size() || takeLineEnd() || wrong("text behind a closing quote");
}

bool CsvReader::takeCell(std::string& cell) {
  if (take("\"")) return takeQuoted(cell);
  // A CR belongs to the cell unless a LF follows.
  size_t end = std::min(text.find_first_of(",\"\n", at), text.size());
  if (end < text.size() && text[end] == '"')
    return wrong("a quote within a cell that does not begin with one");
  if (end < text.size() && text[end] == '\n' && end > at && text[end - 1] == '\r') --end;
  cell = text.substr(at, end - at);
  at = end;
  return true;
}

bool CsvReader::takeQuoted(std::string& cell) {
  const size_t opened = line;
  for (; at < text.size(); ++at) {
    if (text[at] == '"' && !text.substr(at).starts_with("\"\"")) {
      ++at;
      return true;
    }
    if (text[at] == '"') ++at;
    if (text[at] == '\n') ++line;
    cell += text[at];
  }
  line = opened;
  return wrong("a quote that is not closed");
}

bool CsvReader::take(std::string_view word) {
  if (!text.substr(at).starts_with(word)) return false;
  at += word.size();
  return true;
}

bool CsvReader::takeLineEnd() {
  if (!take("\r\n") && !take("\n")) return false;
  ++line;
  return true;
}

bool CsvReader::wrong(const char* what) {
  wrongWords = format("line %zu: %s", line, what);
  return false;
}

Outcome readCsv(std::string_view text, std::vector<CsvRow>& rows) {
  rows.clear();
  CsvReader reader(text);
  for (CsvRow row; reader.next(row);) rows.push_back(std::move(row));
  return reader.problem().empty() ? Outcome::success() : Outcome::failure(reader.problem());
}

}  // namespace tarnvisor
