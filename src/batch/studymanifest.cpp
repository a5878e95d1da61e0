#include "batch/studymanifest.h"

#include <algorithm>
#include <cctype>
#include <functional>
#include <tuple>
#include <unordered_map>

#include "base/files.h"
#include "base/text.h"
#include "exams/subjectdirectory.h"

namespace tarnvisor {

namespace {

constexpr size_t kLongestKey = 100;  // a folder's name
constexpr size_t kBlock = 1 << 22;   // bytes of the list that are looked at together
constexpr size_t kMostProblems = 20;

// A folder is named so, on any file system.
bool isKey(const std::string& text) {
  const auto mayStand = [](unsigned char c) {
    return (c < 0x80 && std::isalnum(c)) || c == '-' || c == '_' || c == '.';
  };
  return !text.empty() && text.size() <= kLongestKey && text[0] != '.' && std::ranges::all_of(text, mayStand);
}

// What lies beside the exams' folders.
bool isTaken(const std::string& key) {
  return lowerCase(key).starts_with("tarn.db") || equalIgnoringCase(key, "pictures") ||
         endsWithIgnoringCase(key, ".csv");
}

// As the database has it.
std::string idOf(const std::string& subject) { return replaced(std::string(trimmed(subject)), ' ', '_'); }

class Problems {
 public:
  void add(size_t line, const std::string& what) {
    if (++count <= kMostProblems) lines += format("line %zu: %s\n", line, what.c_str());
  }
  std::string words() const {
    return count <= kMostProblems ? lines : lines + format("and %zu more\n", count - kMostProblems);
  }
  bool isEmpty() const { return count == 0; }

 private:
  std::string lines;
  size_t count = 0;
};

// Ids of subjects that differ by their capitals, by blanks for "_", or by how an accent is written, are most
// likely one person's.
class SpelltSubjects {
 public:
  // The line of the other one; 0 for none.
  size_t otherSpelling(const std::string& subject, size_t line) {
    const std::hash<std::string> hash;
    const auto [known, isNew] = firsts.try_emplace(hash(foldedName(idOf(subject))), hash(subject), line);
    return isNew || known->second.first == hash(subject) ? 0 : known->second.second;
  }

 private:
  std::unordered_map<size_t, std::pair<size_t, size_t>> firsts;
};

}  // namespace

size_t StudyManifest::placeOf(const std::string& column) const {
  return static_cast<size_t>(std::ranges::find(heading, column) - heading.begin());
}

std::vector<size_t> StudyManifest::fileColumns() const {
  std::vector<size_t> places;
  for (size_t i = 0; i < heading.size(); ++i)
    if (heading[i].starts_with("file")) places.push_back(i);
  return places;
}

std::string StudyManifest::checkHeading() const {
  for (const char* needed : {"key", "subject", "file"})
    if (placeOf(needed) == heading.size())
      return format("there is no column \"%s\"", needed) +
             (heading.size() == 1 && heading[0].find_first_of(";\t") != std::string::npos
                  ? ": cells must be parted by commas"
                  : "");
  for (size_t i = 0; i < heading.size(); ++i) {
    if (heading[i].empty() || heading[i].find_first_of("{}") != std::string::npos)
      return format("the name of column %zu is empty or has braces", i + 1);
    if (placeOf(heading[i]) != i) return "there are two columns \"" + heading[i] + "\"";
    if (heading[i] == "exam" || heading[i] == "state" || heading[i] == "documents" || heading[i] == "quality")
      return "a column \"" + heading[i] + "\" is made by the study itself: name it otherwise";
  }
  return {};
}

std::string StudyManifest::check(const std::vector<std::string>& cells) const {
  if (cells.size() != heading.size())
    return format("%zu cells, where the first line has %zu", cells.size(), heading.size());
  if (std::ranges::any_of(cells, [](const std::string& cell) { return cell.find('\0') != cell.npos; }))
    return "a cell holds a character of no text (NUL)";
  if (!isKey(cells[placeOf("key")]))
    return "the key \"" + cells[placeOf("key")] +
           format(
               "\" names a folder: at most %zu letters from a to z, digits, \"-\", \"_\" and \".\", which is "
               "not the first",
               kLongestKey);
  if (isTaken(cells[placeOf("key")]))
    return "the key \"" + cells[placeOf("key")] + "\" is the name of a file or folder of every study";
  if (trimmed(cells[placeOf("subject")]).empty()) return "there is no subject";
  if (const size_t date = placeOf("date"); date < cells.size() && !cells[date].empty())
    if (dateOfBirth(cells[date]) != cells[date])
      return "\"" + cells[date] + "\" is no date of the form 2025-03-14, or lies in the future";
  for (const size_t place : fileColumns()) {
    const bool isNeeded = heading[place] == "file";
    if (cells[place].empty()
            ? isNeeded
            : !fileExists(isAbsolutePath(cells[place]) ? cells[place] : folder + cells[place]))
      return cells[place].empty() ? "there is no file" : cells[place] + " is not there";
  }
  return {};
}

// Keys name folders, also on a share that knows no capitals.
std::vector<std::pair<uint32_t, uint32_t>> StudyManifest::doubles() const {
  const std::hash<std::string> hash;
  std::vector<std::pair<size_t, uint32_t>> order(rows.size());  // small, as there may be millions
  for (size_t i = 0; i < rows.size(); ++i)
    order[i] = {hash(lowerCase(rows[i].key)), static_cast<uint32_t>(i)};
  std::ranges::sort(order);
  std::vector<std::pair<uint32_t, uint32_t>> found;
  for (size_t i = 1; i < order.size(); ++i)
    if (order[i].first == order[i - 1].first) found.emplace_back(order[i].second, order[i - 1].second);
  std::ranges::sort(found);
  return found;
}

std::string StudyManifest::piece(uint64_t from, size_t bytes) const {
  if (!file) return from < own.size() ? own.substr(from, bytes) : std::string();
  std::string text(bytes, '\0');
  if (::fseeko(file.get(), static_cast<off_t>(from), SEEK_SET) != 0) return {};
  text.resize(std::fread(text.data(), 1, bytes, file.get()));
  return text;
}

// Lines are looked at whole, so that no character is cut.
bool StudyManifest::isUtf8() const {
  for (uint64_t from = 0;;) {
    std::string text = piece(from, kBlock);
    const bool isLast = text.size() < kBlock;
    if (!isLast) text.resize(text.rfind('\n') + 1);
    if ((!isLast && text.empty()) || recoded(text)) return false;
    if (isLast) return true;
    from += text.size();
  }
}

// A block of text after the other: a row that one cuts off begins the next.
Outcome StudyManifest::eachRow(const std::function<void(const CsvRow&, uint64_t)>& work) const {
  uint64_t from = 0;
  size_t line = 1;
  for (size_t bytes = kBlock;;) {
    const std::string text = piece(from, bytes);
    const bool isLast = text.size() < bytes;
    CsvReader reader(text, line);
    CsvRow row;
    size_t done = 0;
    while (reader.next(row) && (isLast || reader.position() < text.size())) {
      work(row, from + reader.rowBegin());
      done = reader.position();
      line = reader.lineThere();
    }
    if (isLast && file && std::ferror(file.get())) return Outcome::failure("it can't be read to its end");
    if (isLast) return reader.problem().empty() ? Outcome::success() : Outcome::failure(reader.problem());
    if (done == 0) bytes *= 2;
    from += done;
  }
}

Outcome StudyManifest::open(const std::string& path) {
  file.reset(fileExists(path) ? std::fopen(path.c_str(), "rbe") : nullptr);
  if (file && isUtf8()) return Outcome::success();
  const auto whole = file ? readWholeText(path) : std::nullopt;
  if (!whole) return Outcome::failure(path + " can't be read");
  own = recoded(*whole).value_or(*whole);
  file.reset();
  return Outcome::success();
}

Outcome StudyManifest::read(const std::string& path) {
  folder = folderOf(path);
  if (Outcome opened = open(path); !opened) return opened;
  Problems problems;
  SpelltSubjects subjects;
  std::string wrongHeading;
  const Outcome all = eachRow([&](const CsvRow& row, uint64_t begin) {
    if (heading.empty()) {
      heading = row.cells;
      wrongHeading = checkHeading();
    } else if (wrongHeading.empty()) {
      if (const auto wrong = check(row.cells); !wrong.empty()) return problems.add(row.line, wrong);
      rows.push_back({row.cells[placeOf("key")], begin, static_cast<uint32_t>(row.line)});
      const std::string& subject = row.cells[placeOf("subject")];
      if (const size_t other = subjects.otherSpelling(subject, row.line))
        problems.add(row.line,
                     "the subject \"" + subject + format("\" is spelled otherwise in line %zu", other));
    }
  });
  if (heading.empty()) wrongHeading = checkHeading();
  if (!wrongHeading.empty()) return Outcome::failure(path + ": " + wrongHeading);
  if (!all) return Outcome::failure(path + ": " + all.why());
  std::ranges::sort(
      rows, [](const Row& a, const Row& b) { return std::tie(a.key, a.line) < std::tie(b.key, b.line); });
  for (const auto& [second, first] : doubles())
    problems.add(rows[second].line, "the key \"" + rows[second].key +
                                        format("\" stands in line %u, too", rows[first].line) +
                                        (rows[second].key == rows[first].key ? "" : ", with other capitals"));
  if (!problems.isEmpty()) return Outcome::failure(path + ":\n" + problems.words());
  return rows.empty() ? Outcome::failure(path + " lists no exam") : Outcome::success();
}

std::vector<std::string> StudyManifest::row(size_t place) const {
  CsvRow row;
  for (size_t bytes = 1u << 12;; bytes *= 2) {
    const std::string text = piece(rows[place].begin, bytes);
    CsvReader reader(text);
    const bool isWhole = reader.next(row) && reader.position() < text.size();
    if (isWhole || text.size() < bytes) break;
  }
  row.cells.resize(heading.size());  // it was read before
  std::string& subject = row.cells[placeOf("subject")];
  subject = idOf(subject);
  return std::move(row.cells);
}

}  // namespace tarnvisor
