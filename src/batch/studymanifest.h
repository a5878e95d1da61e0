// The list of a study's exams: comma-separated text with a row an exam, and at least the columns key, subject
// and file; site, comment and date where they are wanted, and any others.
#pragma once

#include <cstdint>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "base/csv.h"
#include "base/outcome.h"

namespace tarnvisor {

class StudyManifest {
 public:
  // Once. Fails with a line for each row that is wrong, the first twenty of them. Text that is no UTF-8 is
  // taken for Latin-1 or UTF-16. Files are looked for from the list's own folder.
  [[nodiscard]] Outcome read(const std::string& path);
  const std::vector<std::string>& columns() const { return heading; }
  // Place of a column; columns().size() where there is none.
  size_t placeOf(const std::string& column) const;
  // Columns that name files: those that begin with "file".
  std::vector<size_t> fileColumns() const;
  size_t count() const { return rows.size(); }
  // In the order of the keys' bytes, with the subject's blanks as "_".
  std::vector<std::string> row(size_t place) const;
  size_t line(size_t place) const { return rows[place].line; }

 private:
  // Rows stay text until they are wanted: a study may have a million.
  struct Row {
    std::string key;
    uint64_t begin = 0;
    uint32_t line = 0;
  };
  std::string checkHeading() const;
  std::string check(const std::vector<std::string>& cells) const;
  // Places of rows whose keys are the same but for capitals, each with that of another one.
  std::vector<std::pair<uint32_t, uint32_t>> doubles() const;
  Outcome open(const std::string& path);
  bool isUtf8() const;
  // All rows, and where each begins.
  Outcome eachRow(const std::function<void(const CsvRow&, uint64_t)>& work) const;
  // Of the text, which may be longer than memory: less than that at its end.
  std::string piece(uint64_t from, size_t bytes) const;
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::unique_ptr<std::FILE, Close> file;
  std::string own;  // in place of a file that is no UTF-8
  std::string folder;
  std::vector<std::string> heading;
  std::vector<Row> rows;
};

}  // namespace tarnvisor
