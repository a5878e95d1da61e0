#include "base/csv.h"

#include <algorithm>

#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

class CsvReader {
 public:
  explicit CsvReader(std::string_view all) : text(all) {
    if (text.starts_with(kByteOrderMark)) at = kByteOrderMark.size();
  }

  Outcome read(std::vector<CsvRow>& rows) {
    while (at < text.size()) {
      if (takeLineEnd()) continue;
      CsvRow row{.line = line, .cells = {}};
      do {
        row.cells.emplace_back();
        if (Outcome cell = takeCell(row.cells.back()); !cell) return cell;
      } while (take(","));
      if (at < text.size() && !takeLineEnd()) return wrong("text behind a closing quote");
      rows.push_back(std::move(row));
    }
    return Outcome::success();
  }

 private:
  Outcome takeCell(std::string& cell) {
    if (take("\"")) return takeQuoted(cell);
    // A CR belongs to the cell unless a LF follows.
    size_t end = std::min(text.find_first_of(",\"\n", at), text.size());
    if (end < text.size() && text[end] == '"')
      return wrong("a quote within a cell that does not begin with one");
    if (end < text.size() && text[end] == '\n' && end > at && text[end - 1] == '\r') --end;
    cell = text.substr(at, end - at);
    at = end;
    return Outcome::success();
  }
  Outcome takeQuoted(std::string& cell) {
    const size_t begun = line;
    for (; at < text.size(); ++at) {
      if (text[at] == '"' && !text.substr(at).starts_with("\"\"")) {
        ++at;
        return Outcome::success();
      }
      if (text[at] == '"') ++at;
      if (text[at] == '\n') ++line;
      cell += text[at];
    }
    line = begun;
    return wrong("a quote that is not closed");
  }
  bool take(std::string_view word) {
    if (!text.substr(at).starts_with(word)) return false;
    at += word.size();
    return true;
  }
  bool takeLineEnd() {
    if (!take("\r\n") && !take("\n")) return false;
    ++line;
    return true;
  }
  Outcome wrong(const char* what) const { return Outcome::failure(format("line %zu: %s", line, what)); }

  std::string_view text;
  size_t at = 0, line = 1;
};

}  // namespace

Outcome readCsv(std::string_view text, std::vector<CsvRow>& rows) {
  rows.clear();
  return CsvReader(text).read(rows);
}

}  // namespace tarnvisor
