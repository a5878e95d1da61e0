#include "batch/studymerge.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <map>
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
constexpr const char* kBefore = ".before-";
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
  // What it was made of, against what was planned.
  Outcome checkProvenance() const {
    Facts facts;
    if (Outcome read = readFacts(path(chunkfiles::kProvenance), facts); !read) return read;
    for (const auto& [fact, value] : facts)
      if (plan.fact(fact) != value)
        return wrong(format("it was made with %s %s, and the study was planned with %s", fact.c_str(),
                            value.c_str(), plan.fact(fact).c_str()));
    return Outcome::success();
  }
  // That it holds the planned exams, each once.
  Outcome checkKeys(const std::vector<CsvRow>& listed, size_t keyColumn) const {
    std::vector<StudyExam> exams;
    if (Outcome read = plan.examsOf(chunk, exams); !read) return read;
    std::multiset<std::string> missing;
    std::vector<std::string> odd, changed;
    std::map<std::string, const StudyExam*> planned;
    for (const StudyExam& exam : exams) {
      missing.insert(plan.key(exam));
      planned[plan.key(exam)] = &exam;
    }
    for (const CsvRow& row : listed) {
      const std::string& key = row.cells[keyColumn];
      if (const auto known = missing.find(key); known != missing.end())
        missing.erase(known);
      else
        odd.push_back(key);
      // The list's columns are the last.
      if (const auto exam = planned.find(key);
          exam != planned.end() &&
          !std::equal(exam->second->cells.rbegin(), exam->second->cells.rend(), row.cells.rbegin()))
        changed.push_back(key);
    }
    if (!missing.empty()) return wrong("it lacks " + named({missing.begin(), missing.end()}));
    if (!odd.empty()) return wrong("it has twice, or has though it is not of it, " + named(odd));
    if (!changed.empty())
      return wrong("it was made of another list, which tells otherwise of " + named(changed));
    return Outcome::success();
  }
  Outcome checkFiles() const {
    std::vector<CsvRow> files;
    if (Outcome read = rows(chunkfiles::kFiles, filesHeading(), files); !read) return read;
    for (const CsvRow& row : files) {
      std::error_code error;
      const uintmax_t bytes = fs::file_size(path(row.cells[0]), error);
      if (error) return wrong("its file " + row.cells[0] + " is gone");
      if (std::to_string(bytes) != row.cells[1])
        return wrong(format("its file %s has %s bytes, and had %s", row.cells[0].c_str(),
                            std::to_string(bytes).c_str(), row.cells[1].c_str()));
    }
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

// Of two merges at once the second waits: it may be a better one. Where the file system has no locks, it is
// the one that takes its place last.
class MergeTurn {
 public:
  explicit MergeTurn(const StudyPlan& plan)
      : file(::open((plan.partFolder() + "merge.lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666)) {
    while (file >= 0 && ::flock(file, LOCK_EX) != 0 && errno == EINTR) continue;
  }
  ~MergeTurn() {
    if (file >= 0) ::close(file);
  }
  MergeTurn(const MergeTurn&) = delete;
  MergeTurn& operator=(const MergeTurn&) = delete;

 private:
  const int file;
};

class Merger {
 public:
  Merger(const StudyPlan& ofStudy, const MergeWish& what)
      : plan(ofStudy), wish(what), target(realPath(what.folder)) {}
  ~Merger() {
    std::error_code error;
    if (!part.empty()) fs::remove_all(part, error);
  }
  Merger(const Merger&) = delete;
  Merger& operator=(const Merger&) = delete;

  Outcome run(MergedStudy& merged) {
    const MergeTurn turn(plan);
    if (Outcome free = checkPlace(); !free) return free;
    if (Outcome same = plan.checkCopy("exams.csv"); !same) return same;
    if (Outcome checked = checkChunks(); !checked) return checked;
    if (const std::string above = folderOf(target); !above.empty() && !makeFolderPath(above))
      return Outcome::failure(above + " can't be made");
    // Where leftovers are swept, if that is on the same disc.
    part = newFolder(folderOf(target) == plan.folder() ? plan.partFolder() + "merged." : target + ".");
    if (part.empty()) return Outcome::failure(target + " can't be made");
    const FlushLater later;
    Outcome done = write(merged.failures);
    if (done) done = flushGreatFolder(part);
    return done ? takePlace(merged.before) : done;
  }

 private:
  // Engines take kRuns away, by which they know it, before they merge anew.
  bool isMerged() const {
    return fileExists(target + "/" + chunkfiles::kProvenance) && fileExists(target + "/tarn.db");
  }
  Outcome checkPlace() const {
    for (const char* own : {"part", "done", "chunks"})
      if (withSeparator(target).starts_with(plan.folder() + own + "/"))
        return Outcome::failure(target + " is the study's own: choose another folder");
    std::error_code error;
    const bool isFree = !fs::exists(target, error) || (folderExists(target) && fs::is_empty(target, error));
    return isFree || isMerged() ? Outcome::success()
                                : Outcome::failure(target + " is there already and is no merged study");
  }

  Outcome checkChunks() {
    std::vector<std::string> left;
    for (int32_t chunk = 1; chunk <= plan.chunks(); ++chunk)
      if (!plan.isDone(chunk)) left.push_back(chunkName(chunk));
    if (!left.empty())
      return Outcome::failure(format("%zu of %i chunks are not done: ", left.size(), plan.chunks()) +
                              named(left));
    const std::vector<std::string> heading = examsHeading(plan);
    keyColumn = static_cast<size_t>(std::ranges::find(heading, "key") - heading.begin());
    std::string problems;
    size_t wrong = 0;
    for (int32_t chunk = 1; chunk <= plan.chunks(); ++chunk)
      if (const Outcome checked = check(DoneChunk(plan, chunk)); !checked && ++wrong <= kMostNamed)
        problems += checked.why() + "\n";
    if (const Outcome same = checkInputs(); !same && ++wrong <= kMostNamed) problems += same.why() + "\n";
    if (wrong > kMostNamed) problems += format("and %zu more\n", wrong - kMostNamed);
    if (wrong == 0 && static_cast<int64_t>(held) != plan.exams())
      return Outcome::failure(format("the chunks have %zu exams, and %lli were planned: plan anew", held,
                                     static_cast<long long>(plan.exams())));
    return wrong == 0 ? Outcome::success() : Outcome::failure(problems);
  }
  Outcome check(const DoneChunk& chunk) {
    std::vector<CsvRow> rows;
    Outcome fine = chunk.checkProvenance();
    if (fine) fine = chunk.rows(chunkfiles::kExams, examsHeading(plan), rows);
    if (fine) fine = chunk.checkKeys(rows, keyColumn);
    held += rows.size();
    if (fine)
      fine = forEachRow(chunk.path(examfiles::kMeasures), measuresHeading(), [&](const CsvRow& row) {
        if (meanValue(row)) columnOf(row);
      });
    if (fine)
      fine = forEachRow(chunk.path(examfiles::kInputs), inputsHeading(), [&](const CsvRow& row) {
        const std::hash<std::string> hash;
        if (!row.cells[1].starts_with(kElsewhere))
          inputs.emplace_back(hash(row.cells[1]), hash(row.cells[2]));
      });
    if (fine) fine = chunk.checkSums();
    if (fine && wish.withDocuments) fine = chunk.checkFiles();
    return fine;
  }

  // A picture that several exams name, such as a flat field, was the same for all of them.
  Outcome checkInputs() {
    std::ranges::sort(inputs);
    const auto other = std::ranges::adjacent_find(
        inputs, [](const auto& a, const auto& b) { return a.first == b.first && a.second != b.second; });
    if (other == inputs.end()) return Outcome::success();
    std::map<std::string, std::string> keys;  // by the sum
    std::string name;
    for (int32_t chunk = 1; chunk <= plan.chunks(); ++chunk)
      if (Outcome read = forEachRow(DoneChunk(plan, chunk).path(examfiles::kInputs), inputsHeading(),
                                    [&](const CsvRow& row) {
                                      if (std::hash<std::string>{}(row.cells[1]) != other->first) return;
                                      name = row.cells[1];
                                      keys.try_emplace(row.cells[2], row.cells[0]);
                                    });
          !read)
        return read;
    std::vector<std::string> first;
    first.reserve(keys.size());
    for (const auto& [sum, key] : keys) first.push_back(key);
    return Outcome::failure(
        name + " was another file for each of " + named(first) +
        ": remove the folders in done/ of those that had the wrong one, and run them again");
  }

  static std::optional<double> meanValue(const CsvRow& measure) {
    return hasMean(measure.cells[6]) ? numberOf(measure.cells[7]) : std::nullopt;
  }
  size_t columnOf(const CsvRow& measure) {
    return columns.place(withUnit(measure.cells[6], measure.cells[8]),
                         columnKind(measure.cells[10], measure.cells[5]));
  }

  Outcome write(int64_t& failures) {
    std::vector<std::string> wideHeading = examsHeading(plan);
    std::ranges::move(columns.names(wideHeading), std::back_inserter(wideHeading));
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
    TableFile documents(part + kMergedFile, mergedHeading());
    DatabaseWriter database(part + "tarn.db", plan.fact("day") + " 12:00:00", kVersion);
    failures = 0;
    for (int32_t number = 1; number <= plan.chunks(); ++number) {
      const DoneChunk chunk(plan, number);
      std::vector<CsvRow> listed, results;
      std::map<std::string, MeasureMeans> means;  // by key
      for (Joined& each : joined) {
        const bool isReview = each.name == std::string(examfiles::kReview),
                   areMeasures = each.name == std::string(examfiles::kMeasures);
        Outcome read = forEachRow(chunk.path(each.name), each.heading, [&](CsvRow& row) {
          if (isReview) row.cells[5] = linkFromHere(row.cells[5], chunk);
          if (const auto value = areMeasures ? meanValue(row) : std::nullopt)
            means[row.cells[0]].add(columnOf(row), *value);
          each.table.add(row.cells);
        });
        if (!read) return read;
      }
      if (Outcome read = chunk.rows(chunkfiles::kExams, examsHeading(plan), listed); !read) return read;
      if (Outcome read = chunk.rows(examfiles::kResults, resultsHeading(), results); !read) return read;
      for (CsvRow& row : listed) {
        const std::string key = row.cells[keyColumn];
        const bool isDone = row.cells[1] == "done";
        const MeasureMeans& exam = means[key];
        for (size_t place = 0; place < columns.count(); ++place) row.cells.push_back(exam.cell(place));
        exams.add(row.cells);
        failures += isDone ? 0 : 1;
        if (Outcome taken = isDone && wish.withDocuments ? takeDocuments(chunk, key) : Outcome::success();
            !taken)
          return taken;
      }
      if (Outcome added = addToDatabase(database, number, listed, results); !added) return added;
      for (const CsvRow& row : results) {
        const std::string name = row.cells[0] + kSeparator + row.cells[2];
        if (wish.withDocuments)
          documents.add({row.cells[0], row.cells[2], sha256OfFile(chunk.path(examfiles::kData + name))});
      }
      if (Outcome taken = plan.wantsPictures() ? takePictures(chunk) : Outcome::success(); !taken)
        return taken;
      Facts facts;
      if (readFacts(chunk.path(chunkfiles::kRun), facts))
        for (const auto& [fact, value] : facts) runs.add({chunkName(number), fact, value});
    }
    for (Joined& each : joined)
      if (Outcome written = each.table.finish(); !written) return written;
    for (TableFile* table : {&exams, &runs, &documents})
      if (Outcome written = table->finish(); !written) return written;
    Facts facts;
    for (const char* fact : {"program", "commit", "exams", "day", "sha256 of exams.csv",
                             "sha256 of settings.ini", "sha256 of steps.txt"})
      facts[fact] = plan.fact(fact);
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
    return result == results.size() ? Outcome::success()
                                    : DoneChunk(plan, chunk).wrong("it has results of no exam of its list");
  }
  // As the list of exams links from the folder that is merged usually, and documents from their own.
  std::string linkFromHere(const std::string& link, const DoneChunk& chunk) const {
    const std::string usual = plan.folder() + "merged";
    if (link.empty() || isAbsolutePath(link)) return link;
    const bool isInput = link.starts_with("..");
    if (isInput ? target == usual : wish.withDocuments) return link;
    const fs::path there = isInput ? fs::path(usual) / link : fs::path(chunk.path(examfiles::kData + link));
    return there.lexically_normal().lexically_relative(target).string();
  }
  // Pixels are linked, or copied where the file system has no links. What is small, and movies, may be
  // written over in its place: it is copied, and the chunk's own stays as it is.
  static void place(const fs::path& from, const fs::path& to, std::error_code& error) {
    constexpr uintmax_t kSmall = 64u << 10;
    const bool isLinked =
        fs::file_size(from, error) >= kSmall && !equalIgnoringCase(extensionOf(from.string()), "mve");
    if (isLinked) fs::create_hard_link(from, to, error);
    if (isLinked && !error) return;
    fs::copy_file(from, to, error);
    if (!error) fs::last_write_time(to, fs::last_write_time(from, error), error);
  }
  Outcome cantCopy(const std::string& what, const std::error_code& error) const {
    return Outcome::failure(
        format("%s can't be copied to %s: %s", what.c_str(), target.c_str(), error.message().c_str()));
  }
  Outcome takeDocuments(const DoneChunk& chunk, const std::string& key) const {
    const fs::path from = chunk.path(examfiles::kData + key), to = part + key;
    std::error_code error;
    fs::create_directory(to, error);
    const Outcome walked = walkFolder(from.string(), Depth::All, [&](const fs::directory_entry& entry) {
      const fs::path there = to / entry.path().lexically_relative(from);
      if (entry.is_directory(error))
        fs::create_directory(there, error);
      else if (!error)
        place(entry.path(), there, error);
      return error ? cantCopy(key, error) : Outcome::success();
    });
    return error ? cantCopy(key, error) : walked;
  }
  Outcome takePictures(const DoneChunk& chunk) const {
    std::error_code error;
    const fs::path to = part + examfiles::kPictures;
    fs::create_directory(to, error);
    return walkFolder(chunk.path(examfiles::kPictures), Depth::Own, [&](const fs::directory_entry& entry) {
      place(entry.path(), to / entry.path().filename(), error);
      return error ? cantCopy("pictures", error) : Outcome::success();
    });
  }
  // The one before is exchanged for it, so that one stands at any time, and the other beside it.
  Outcome takePlace(std::string& before) {
    std::error_code error;
    if (!isMerged()) {
      fs::rename(part, target, error);
    } else {
      before = newFolder(target + kBefore);
      fs::rename(part, before, error);
      if (!error) part = before;
      if (!error && ::renameat2(AT_FDCWD, before.c_str(), AT_FDCWD, target.c_str(), RENAME_EXCHANGE) != 0) {
        before = newFolder(target + kBefore);  // the file system can't
        fs::rename(target, before, error);
        if (!error) fs::rename(part, target, error);
        if (std::error_code again; error) fs::rename(before, target, again);
      }
    }
    if (error) return Outcome::failure(target + ": " + error.message());
    part.clear();
    flushName(target);
    for (const std::string& each : thoseBefore())
      if (isSameFolder(each, target)) {
        if (withSeparator(each) == before) before.clear();
        removeSwept(each);
      }
    return Outcome::success();
  }
  // Also of a merge that was killed before it compared it.
  std::vector<std::string> thoseBefore() const {
    std::vector<std::string> found;
    (void)walkFolder(folderOf(target), Depth::Own, [&](const fs::directory_entry& entry) {
      if (entry.path().string().starts_with(target + kBefore)) found.push_back(entry.path().string());
      return Outcome::success();
    });
    return found;
  }
  // One that is half removed is a leftover like any other.
  void removeSwept(const std::string& folder) const {
    const std::string left = newFolder(plan.partFolder() + "merged.");
    std::error_code error;
    fs::rename(folder, left, error);
    fs::remove_all(error ? folder : left, error);
    fs::remove_all(left, error);
  }
  static bool isSameFile(const fs::path& a, const fs::path& b) {
    std::error_code error;
    if (fs::equivalent(a, b, error)) return true;
    if (fs::file_size(a, error) != fs::file_size(b, error) || error) return false;
    if (fs::last_write_time(a, error) == fs::last_write_time(b, error)) return true;
    const std::string sum = sha256OfFile(a.string());
    return !sum.empty() && sum == sha256OfFile(b.string());
  }
  // Nothing in it but who ran the chunks would be lost with the one before.
  static bool isSameFolder(const fs::path& before, const fs::path& now) {
    return static_cast<bool>(walkFolder(before.string(), Depth::All, [&](const fs::directory_entry& entry) {
      std::error_code error;
      const bool isFine = entry.is_directory(error) || entry.path() == before / kRuns ||
                          isSameFile(entry.path(), now / entry.path().lexically_relative(before));
      return isFine ? Outcome::success() : Outcome::failure(entry.path().string());
    }));
  }

  const StudyPlan& plan;
  const MergeWish& wish;
  const std::string target;  // without a separator
  std::string part;
  MeasureColumns columns;
  size_t keyColumn = 0;
  size_t held = 0;                                // exams that the chunks hold
  std::vector<std::pair<size_t, size_t>> inputs;  // hashes of name and sum; there may be millions
};

}  // namespace

Outcome mergeStudy(const StudyPlan& plan, const MergeWish& wish, MergedStudy& merged) {
  return Merger(plan, wish).run(merged);
}

}  // namespace tarnvisor
