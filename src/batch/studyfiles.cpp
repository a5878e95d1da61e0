#include "batch/studyfiles.h"

#include <sys/stat.h>

#include <cstdlib>

#include "base/checksum.h"
#include "base/text.h"

namespace tarnvisor {

namespace {
const std::vector<std::string> kFacts{"fact", "value"};
}

std::string csvLine(const std::vector<std::string>& cells) {
  std::string line;
  for (size_t i = 0; i < cells.size(); ++i) line += (i ? "," : "") + csvCell(cells[i]);
  return line + "\n";
}

Outcome forEachRow(const std::string& path, const std::vector<std::string>& heading,
                   const std::function<void(CsvRow&)>& work) {
  const auto text = readWholeText(path);
  if (!text) return Outcome::failure(path + " can't be read");
  CsvReader reader(*text);
  CsvRow row;
  if ((!reader.next(row) || row.cells != heading) && reader.problem().empty())
    return Outcome::failure(path + " has other columns than " + std::string(trimmed(csvLine(heading))));
  while (reader.next(row)) {
    if (row.cells.size() != heading.size())
      return Outcome::failure(format("%s: line %zu has %zu cells, not %zu", path.c_str(), row.line,
                                     row.cells.size(), heading.size()));
    work(row);
  }
  return reader.problem().empty() ? Outcome::success() : Outcome::failure(path + ": " + reader.problem());
}

Outcome readTable(const std::string& path, const std::vector<std::string>& heading,
                  std::vector<CsvRow>& rows) {
  rows.clear();
  return forEachRow(path, heading, [&](CsvRow& row) { rows.push_back(std::move(row)); });
}

Outcome readFacts(const std::string& path, Facts& facts) {
  std::vector<CsvRow> rows;
  if (Outcome read = readTable(path, kFacts, rows); !read) return read;
  facts.clear();
  for (CsvRow& row : rows) facts[row.cells[0]] = std::move(row.cells[1]);
  return Outcome::success();
}

Outcome writeFacts(const std::string& path, const Facts& facts) {
  TableFile file(path, kFacts);
  for (const auto& [fact, value] : facts) file.add({fact, value});
  return file.finish();
}

std::string sha256OfFile(const std::string& path) {
  Sha256 sum;
  std::FILE* file = fileExists(path) ? std::fopen(path.c_str(), "rbe") : nullptr;
  if (!file) return {};
  std::vector<char> block(size_t{1} << 16);
  for (size_t got = 0; (got = std::fread(block.data(), 1, block.size(), file)) > 0;)
    sum.add({block.data(), got});
  const bool isWhole = !std::ferror(file);
  std::fclose(file);
  return isWhole ? sum.digits() : std::string();
}

std::string newFolder(const std::string& beginning) {
  std::string name = beginning + "XXXXXX";
  if (!::mkdtemp(name.data())) return {};
  // It is nobody's secret: others of a group work on the same study, if the user lets them.
  const mode_t kept = ::umask(0);
  ::umask(kept);
  ::chmod(name.c_str(), 0777 & ~kept);
  return withSeparator(name);
}

}  // namespace tarnvisor
