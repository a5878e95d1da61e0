// The texts of a study: tables of comma-separated rows, read back with every doubt, and facts as rows of a
// name and a value. docs/formats/study.md tells which there are.
#pragma once

#include <cstdio>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/csv.h"
#include "base/files.h"
#include "base/outcome.h"

namespace tarnvisor {

// With a line's end.
std::string csvLine(const std::vector<std::string>& cells);

// Rows below their heading, one after the other. Fails where the heading is another, or a row has another
// number of cells.
[[nodiscard]] Outcome forEachRow(const std::string& path, const std::vector<std::string>& heading,
                                 const std::function<void(CsvRow&)>& work);
[[nodiscard]] Outcome readTable(const std::string& path, const std::vector<std::string>& heading,
                                std::vector<CsvRow>& rows);

// A table that is written row by row and appears when it is whole.
class TableFile {
 public:
  TableFile(const std::string& path, const std::vector<std::string>& heading) : file(path) { add(heading); }
  void add(const std::vector<std::string>& cells) {
    const std::string line = csvLine(cells);
    file.write(line.data(), line.size());
  }
  [[nodiscard]] Outcome finish() { return file.commit(); }

 private:
  AtomicFile file;
};

using Facts = std::map<std::string, std::string>;
[[nodiscard]] Outcome readFacts(const std::string& path, Facts& facts);
[[nodiscard]] Outcome writeFacts(const std::string& path, const Facts& facts);

// Of a file; empty where it can't be read. It is not held in memory.
std::string sha256OfFile(const std::string& path);

// A new folder beside others, which nobody else takes: its name is `beginning` and what is not in use. With a
// separator; empty where none can be made.
std::string newFolder(const std::string& beginning);

}  // namespace tarnvisor
