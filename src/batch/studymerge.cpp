#include "batch/studymerge.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <set>

#include "base/text.h"
#include "base/version.h"
#include "batch/studychunk.h"
#include "db/databasewriter.h"
#include "results/measures.h"

namespace tarnvisor {

namespace fs = std::filesystem;

namespace {

constexpr const char* kRuns = "runs.csv";
constexpr size_t kMostNamed = 10;

std::string named(const std::vector<std::string>& names) {
  std::string words;
  for (size_t i = 0; i < std::min(names.size(), kMostNamed); ++i) words += (i ? ", " : "") + names[i];
  return words + (names.size() > kMostNamed ? format(" and %zu more", names.size() - kMostNamed) : "");
}

// A chunk that is done, with every doubt about it.
class DoneChunk {
 public:
  DoneChunk(const StudyPlan& ofStudy, int32_t number)
      : plan(ofStudy), chunk(number), folder(ofStudy.doneFolder(number)) {}
  std::string path(const std::string& name) const { return folder + name; }
  Outcome rows(const std::string& name, const std::vector<std::string>& heading,
               std::vector<CsvRow>& into) const {
    return readTable(path(name), heading, into);
  }
  // That its tables are those that it was done with.
  Outcome checkSums() const {
    const auto sums = readWholeText(path(chunkfiles::kDone));
    std::string present;
    for (const std::string& name : chunkTables()) present += sha256OfFile(path(name)) + "  " + name + "\n";
    return sums == present ? Outcome::success()
                           : wrong("its tables were changed since it was done, or are damaged");
  }
  // What it was made of, against that of the first.
  Outcome checkProvenance(const Facts& first) const {
    Facts facts;
    if (Outcome read = readFacts(path(chunkfiles::kProvenance), facts); !read) return read;
    for (const auto& [fact, value] : first)
      if (facts[fact] != value)
        return wrong(format("it was made with %s %s, the first chunk with %s", fact.c_str(),
                            facts[fact].c_str(), value.c_str()));
    return Outcome::success();
  }
  // That it holds the planned exams, each once.
  Outcome checkKeys(const std::vector<CsvRow>& listed, size_t keyColumn) const {
    std::vector<StudyExam> exams;
    if (Outcome read = plan.examsOf(chunk, exams); !read) return read;
    std::multiset<std::string> missing;
    std::vector<std::string> odd;
    for (const StudyExam& exam : exams) missing.insert(plan.key(exam));
    for (const CsvRow& row : listed)
      if (const auto known = missing.find(row.cells[keyColumn]); known != missing.end())
        missing.erase(known);
      else
        odd.push_back(row.cells[keyColumn]);
    if (!missing.empty()) return wrong("it lacks " + named({missing.begin(), missing.end()}));
    if (!odd.empty()) return wrong("it has twice, or has though it is not of it, " + named(odd));
    return Outcome::success();
  }
  Outcome checkDocuments(const std::vector<CsvRow>& results) const {
    for (const CsvRow& row : results)
      if (const std::string document = format("%s/%s", row.cells[0].c_str(), row.cells[2].c_str());
          !fileExists(path(examfiles::kData + document)))
        return wrong("its document " + document + " is gone");
    return Outcome::success();
  }
  Outcome wrong(const std::string& what) const {
    return Outcome::failure(format("chunk %s: %s; remove %s and run it again", chunkName(chunk).c_str(),
                                   what.c_str(), folder.c_str()));
  }

 private:
  const StudyPlan& plan;
  int32_t chunk;
  std::string folder;
};

// The mean of each quantity of an exam, a column each in the order in which they first come.
class WideTable {
 public:
  using Means = std::map<std::string, std::pair<double, int>>;
  static std::string quantityOf(const CsvRow& row) { return withUnit(row.cells[6], row.cells[8]); }
  static std::optional<double> valueOf(const CsvRow& row) {
    char* end = nullptr;
    const double value = std::strtod(row.cells[7].c_str(), &end);
    return row.cells[7].empty() || *end != '\0' ? std::nullopt : std::optional(value);
  }
  void know(const std::vector<CsvRow>& measures) {
    for (const CsvRow& row : measures)
      if (std::string quantity = quantityOf(row); valueOf(row) && known.insert(quantity).second)
        quantities.push_back(std::move(quantity));
  }
  static std::map<std::string, Means> meansOf(const std::vector<CsvRow>& measures) {
    std::map<std::string, Means> exams;  // by key
    for (const CsvRow& row : measures)
      if (const auto value = valueOf(row)) {
        auto& [sum, count] = exams[row.cells[0]][quantityOf(row)];
        sum += *value;
        ++count;
      }
    return exams;
  }
  void addCells(const Means& means, std::vector<std::string>& cells) const {
    for (const std::string& quantity : quantities) {
      const auto mean = means.find(quantity);
      cells.push_back(mean == means.end() ? "" : format("%.6g", mean->second.first / mean->second.second));
    }
  }
  std::vector<std::string> quantities;

 private:
  std::set<std::string> known;
};

class Merger {
 public:
  Merger(const StudyPlan& ofStudy, const MergeWish& what) : plan(ofStudy), wish(what) {}
  ~Merger() {
    std::error_code error;
    if (!part.empty()) fs::remove_all(part, error);
  }
  Merger(const Merger&) = delete;
  Merger& operator=(const Merger&) = delete;

  Outcome run(MergedStudy& merged) {
    if (Outcome free = checkPlace(); !free) return free;
    if (Outcome same = plan.checkCopy("exams.csv"); !same) return same;
    if (Outcome checked = checkChunks(); !checked) return checked;
    if (const std::string above = folderOf(target()); !above.empty() && !makeFolderPath(above))
      return Outcome::failure(above + " can't be made");
    // Where leftovers are swept, if that is on the same disc.
    part = newFolder(folderOf(target()) == plan.folder() ? plan.partFolder() + "merged." : target() + ".");
    if (part.empty()) return Outcome::failure(target() + " can't be made");
    const FlushLater later;
    Outcome done = write(merged.failures);
    if (done) done = flushFolder(part);
    return done ? takePlace(merged.before) : done;
  }

 private:
  std::string target() const {
    std::string path = wish.folder;
    while (path.size() > 1 && path.back() == kSeparator) path.pop_back();
    return path;
  }
  bool isMerged() const { return fileExists(target() + "/" + kRuns); }
  Outcome checkPlace() const {
    std::error_code error;
    const bool isFree =
        !fs::exists(target(), error) || (folderExists(target()) && fs::is_empty(target(), error));
    return isFree || isMerged() ? Outcome::success()
                                : Outcome::failure(target() + " is there already and is no merged study");
  }

  Outcome checkChunks() {
    std::vector<std::string> left;
    for (int32_t chunk = 1; chunk <= plan.chunks(); ++chunk)
      if (!plan.isDone(chunk)) left.push_back(chunkName(chunk));
    if (!left.empty())
      return Outcome::failure(format("%zu of %i chunks are not done: ", left.size(), plan.chunks()) +
                              named(left));
    if (Outcome read = readFacts(DoneChunk(plan, 1).path(chunkfiles::kProvenance), provenance); !read)
      return read;
    const std::vector<std::string> heading = examsHeading(plan);
    keyColumn = static_cast<size_t>(std::ranges::find(heading, "key") - heading.begin());
    std::string problems;
    size_t wrong = 0;
    for (int32_t chunk = 1; chunk <= plan.chunks(); ++chunk)
      if (const Outcome checked = check(DoneChunk(plan, chunk)); !checked && ++wrong <= kMostNamed)
        problems += checked.why() + "\n";
    if (wrong > kMostNamed) problems += format("and %zu chunks more\n", wrong - kMostNamed);
    return wrong == 0 ? Outcome::success() : Outcome::failure(problems);
  }
  Outcome check(const DoneChunk& chunk) {
    std::vector<CsvRow> rows;
    Outcome fine = chunk.checkProvenance(provenance);
    if (fine) fine = chunk.rows(chunkfiles::kExams, examsHeading(plan), rows);
    if (fine) fine = chunk.checkKeys(rows, keyColumn);
    if (fine) fine = chunk.rows(examfiles::kMeasures, measuresHeading(), rows);
    if (fine) wide.know(rows);
    if (fine) fine = chunk.checkSums();
    if (fine) fine = chunk.rows(examfiles::kResults, resultsHeading(), rows);
    if (fine && wish.withDocuments) fine = chunk.checkDocuments(rows);
    return fine;
  }

  Outcome write(int64_t& failures) {
    std::vector<std::string> wideHeading = examsHeading(plan);
    wideHeading.insert(wideHeading.end(), wide.quantities.begin(), wide.quantities.end());
    TableFile exams(part + chunkfiles::kExams, wideHeading), runs(part + kRuns, {"chunk", "fact", "value"});
    struct Joined {
      const char* name;
      const std::vector<std::string>& heading;
      TableFile table;
    };
    Joined joined[] = {
        {examfiles::kMeasures, measuresHeading(), {part + examfiles::kMeasures, measuresHeading()}},
        {examfiles::kReview, reviewHeading(), {part + examfiles::kReview, reviewHeading()}},
        {chunkfiles::kFailures, failuresHeading(), {part + chunkfiles::kFailures, failuresHeading()}},
        {examfiles::kInputs, inputsHeading(), {part + examfiles::kInputs, inputsHeading()}}};
    DatabaseWriter database(part + "tarn.db", plan.fact("day") + " 12:00:00", kVersion);
    failures = 0;
    for (int32_t number = 1; number <= plan.chunks(); ++number) {
      const DoneChunk chunk(plan, number);
      std::vector<CsvRow> rows, measures, listed, results;
      for (Joined& each : joined) {
        if (Outcome read = chunk.rows(each.name, each.heading, rows); !read) return read;
        for (const CsvRow& row : rows) each.table.add(row.cells);
        if (each.name == std::string(examfiles::kMeasures)) measures = std::move(rows);
      }
      if (Outcome read = chunk.rows(chunkfiles::kExams, examsHeading(plan), listed); !read) return read;
      if (Outcome read = chunk.rows(examfiles::kResults, resultsHeading(), results); !read) return read;
      const auto means = WideTable::meansOf(measures);
      for (CsvRow& row : listed) {
        const std::string key = row.cells[keyColumn];
        const bool isDone = row.cells[1] == "done";
        const auto known = means.find(key);
        wide.addCells(known == means.end() ? WideTable::Means() : known->second, row.cells);
        exams.add(row.cells);
        failures += isDone ? 0 : 1;
        if (Outcome taken = isDone && wish.withDocuments ? takeDocuments(chunk, key) : Outcome::success();
            !taken)
          return taken;
      }
      if (Outcome added = addToDatabase(database, number, listed, results); !added) return added;
      if (Outcome taken = plan.wantsPictures() ? takePictures(chunk) : Outcome::success(); !taken)
        return taken;
      Facts facts;
      if (readFacts(chunk.path(chunkfiles::kRun), facts))
        for (const auto& [fact, value] : facts) runs.add({chunkName(number), fact, value});
    }
    for (Joined& each : joined)
      if (Outcome written = each.table.finish(); !written) return written;
    for (TableFile* table : {&exams, &runs})
      if (Outcome written = table->finish(); !written) return written;
    Facts facts = provenance;
    for (const char* fact : {"exams", "day", "sha256 of exams.csv"}) facts[fact] = plan.fact(fact);
    if (Outcome written = writeFacts(part + chunkfiles::kProvenance, facts); !written) return written;
    return database.finish();
  }
  Outcome addToDatabase(DatabaseWriter& database, int32_t chunk, const std::vector<CsvRow>& listed,
                        const std::vector<CsvRow>& results) const {
    std::vector<StudyExam> planned;
    if (Outcome read = plan.examsOf(chunk, planned); !read) return read;
    std::set<std::string> failed;
    for (const CsvRow& row : listed)
      if (row.cells[1] != "done") failed.insert(row.cells[keyColumn]);
    size_t result = 0;
    for (const StudyExam& exam : planned) {
      const ExamRow row = plan.rowOf(exam);
      if (failed.contains(row.folder)) continue;
      database.addSubject(row.patient, row.created);
      database.addExam(row);
      for (; result < results.size() && results[result].cells[0] == row.folder; ++result)
        database.addResult(row.id, row.created, results[result].cells[2], results[result].cells[3]);
    }
    return Outcome::success();
  }
  // A link, or a copy where the file system has none. Saved anew, a document parts from the chunk's; a movie
  // may be worked on in its place, and is copied.
  static void place(const fs::path& from, const fs::path& to, std::error_code& error) {
    const bool isMovie = equalIgnoringCase(extensionOf(from.string()), "mve");
    if (!isMovie) fs::create_hard_link(from, to, error);
    if (isMovie || error) fs::copy_file(from, to, error);
  }
  Outcome takeDocuments(const DoneChunk& chunk, const std::string& key) const {
    const fs::path from = chunk.path(examfiles::kData + key), to = part + key;
    std::error_code error;
    fs::create_directory(to, error);
    for (const auto& entry : fs::recursive_directory_iterator(from, error)) {
      if (error) break;
      const fs::path there = to / entry.path().lexically_relative(from);
      entry.is_directory() ? void(fs::create_directory(there, error)) : place(entry.path(), there, error);
    }
    return error ? chunk.wrong(key + ": " + error.message()) : Outcome::success();
  }
  Outcome takePictures(const DoneChunk& chunk) const {
    std::error_code error;
    const fs::path to = part + examfiles::kPictures;
    fs::create_directory(to, error);
    for (const auto& entry : fs::directory_iterator(chunk.path(examfiles::kPictures), error)) {
      if (error) break;
      place(entry.path(), to / entry.path().filename(), error);
    }
    return error ? chunk.wrong("pictures: " + error.message()) : Outcome::success();
  }
  Outcome takePlace(std::string& before) {
    std::error_code error;
    if (isMerged()) {
      before = newFolder(target() + ".before-");
      fs::rename(target(), before, error);
    }
    if (!error) fs::rename(part, target(), error);
    if (error) return Outcome::failure(target() + ": " + error.message());
    part.clear();
    flushName(target());
    return Outcome::success();
  }

  const StudyPlan& plan;
  const MergeWish& wish;
  std::string part;
  Facts provenance;
  WideTable wide;
  size_t keyColumn = 0;
};

}  // namespace

Outcome mergeStudy(const StudyPlan& plan, const MergeWish& wish, MergedStudy& merged) {
  return Merger(plan, wish).run(merged);
}

}  // namespace tarnvisor
