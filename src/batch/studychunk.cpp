#include "batch/studychunk.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <map>

#include "base/clock.h"
#include "base/commit.h"
#include "base/text.h"
#include "base/version.h"
#include "db/databasewriter.h"
#include "exams/dbdocument.h"

namespace tarnvisor {

namespace fs = std::filesystem;

const std::vector<std::string>& chunkTables() {
  static const std::vector<std::string> names{
      chunkfiles::kExams,    examfiles::kMeasures, examfiles::kResults,     examfiles::kReview,
      chunkfiles::kFailures, examfiles::kInputs,   chunkfiles::kProvenance, chunkfiles::kFiles};
  return names;
}

const std::vector<std::string>& filesHeading() {
  static const std::vector<std::string> names{"file", "bytes"};
  return names;
}

std::vector<std::string> examsHeading(const StudyPlan& plan) {
  std::vector<std::string> heading{"exam", "state", "documents", "quality"};
  heading.insert(heading.end(), plan.columns().begin(), plan.columns().end());
  return heading;
}

namespace {

// The worst word that was said of anything in the exam; empty where nothing judged it.
std::string worstQuality(const std::vector<CsvRow>& measures, const std::vector<CsvRow>& review) {
  const Quality* worst = nullptr;
  const auto take = [&](const std::string& words) {
    const Quality* quality = qualityOf(words);
    if (quality && (!worst || quality < worst)) worst = quality;
  };
  for (const CsvRow& row : measures) take(row.cells[9]);
  for (const CsvRow& row : review) take(row.cells[4]);
  return worst ? worst->word : std::string();
}

class Chunk {
 public:
  Chunk(const StudyPlan& ofStudy, int32_t which, const ExamLimits& given)
      : plan(ofStudy), number(which), limits(given), began(currentTime()) {}
  ~Chunk() {
    std::error_code error;
    if (!part.empty()) fs::remove_all(part, error);
  }
  Chunk(const Chunk&) = delete;
  Chunk& operator=(const Chunk&) = delete;

  Outcome run(int32_t& failures) {
    std::vector<StudyExam> exams;
    if (Outcome read = plan.examsOf(number, exams); !read) return read;
    if (Outcome seen = seesPictures(exams); !seen) return seen;
    part = newFolder(plan.partFolder() + chunkName(number) + "." + currentStationId() + "." +
                     format("%i.", ::getpid()));
    if (part.empty())
      return Outcome::failure(plan.partFolder() + " can't be written: " + std::strerror(errno));
    const FlushLater later;
    Outcome done = takeSettings();
    if (done) done = measure(exams, failures);
    if (done) done = tellProvenance();
    if (done) done = sign();
    if (done) done = flushFolder(part);
    if (done) done = takePlace();
    return done;
  }

 private:
  std::string file(const std::string& name) const { return part + name; }

  // The study's own may change while the chunk runs.
  Outcome takeSettings() const {
    const std::string copy = file(chunkfiles::kSettings);
    if (Outcome copied = copyFile(plan.settingsFile(), copy); !copied) return copied;
    return sha256OfFile(copy) == plan.fact("sha256 of settings.ini")
               ? Outcome::success()
               : Outcome::failure(plan.settingsFile() + " is not the one that was planned");
  }
  // Of a share that isn't there no exam is to blame.
  Outcome seesPictures(const std::vector<StudyExam>& exams) const {
    const auto folder = [&](const StudyExam& exam) { return folderOf(plan.pathOf(plan.cell(exam, "file"))); };
    // Where a disc would be, an empty folder is left.
    const bool seesAny = std::ranges::any_of(exams, [&](const StudyExam& exam) {
      std::error_code error;
      return folderExists(folder(exam)) && !fs::is_empty(folder(exam), error);
    });
    return seesAny ? Outcome::success()
                   : Outcome::failure("no folder of its pictures is there, or they are empty, such as " +
                                      folder(exams.front()) + ": is the disc connected?");
  }

  Outcome measure(const std::vector<StudyExam>& exams, int32_t& failures) {
    for (const char* below : {examfiles::kData, examfiles::kPictures, "exam/", "logs/"})
      if (!makeFolderPath(part + below)) return Outcome::failure(part + below + " can't be made");
    TableFile list(file(chunkfiles::kExams), examsHeading(plan));
    TableFile measures(file(examfiles::kMeasures), measuresHeading());
    TableFile results(file(examfiles::kResults), resultsHeading());
    TableFile review(file(examfiles::kReview), reviewHeading());
    TableFile inputs(file(examfiles::kInputs), inputsHeading());
    TableFile failed(file(chunkfiles::kFailures), failuresHeading());
    DatabaseWriter database(file(std::string(examfiles::kData) + "tarn.db"), plan.fact("day") + " 12:00:00",
                            kVersion);
    for (const StudyExam& exam : exams) {
      const std::string work = part + "exam/";
      const bool went =
          makeFolderPath(work) && runExam(plan, exam, file(chunkfiles::kSettings), work, limits);
      std::vector<CsvRow> rows, told, looked, stored;
      if (went) {
        // A folder that is short of space may have lost a table.
        Outcome read = append(work + examfiles::kInputs, inputsHeading(), inputs, rows);
        if (read) read = append(work + examfiles::kMeasures, measuresHeading(), measures, told);
        if (read) read = append(work + examfiles::kReview, reviewHeading(), review, looked);
        if (read) read = append(work + examfiles::kResults, resultsHeading(), results, stored);
        if (read) read = keep(exam, work);
        if (!read) return read;
        addToDatabase(database, exam, stored);
      } else {
        ++failures;
        Outcome read = append(work + examfiles::kFailure, failuresHeading(), failed, rows);
        std::vector<CsvRow> summed;
        if (read && fileExists(work + examfiles::kInputs))
          read = append(work + examfiles::kInputs, inputsHeading(), inputs, summed);
        if (lacksRoom(rows)) return Outcome::failure("there is no room left on the disc of " + plan.folder());
        if (!read) return read;
        for (const CsvRow& row : rows)
          review.add({row.cells[0], row.cells[1], row.cells[2], "",
                      "failed: " + row.cells[5] + (row.cells[4].empty() ? "" : " (" + row.cells[4] + ")"),
                      plan.linkOf(row.cells[3])});
      }
      std::vector<std::string> cells{format("%i", exam.number), went ? "done" : "failed",
                                     format("%zu", stored.size()), worstQuality(told, looked)};
      cells.insert(cells.end(), exam.cells.begin(), exam.cells.end());
      list.add(cells);
      std::error_code error;
      fs::rename(work + examfiles::kLog, file("logs/" + plan.key(exam) + ".txt"), error);
      fs::remove_all(work, error);
    }
    for (TableFile* table : {&list, &measures, &results, &review, &inputs, &failed})
      if (Outcome written = table->finish(); !written) return written;
    return database.finish();
  }
  // Then an exam fails that would go well elsewhere, or later.
  bool lacksRoom(const std::vector<CsvRow>& failed) const {
    constexpr uint64_t kLeastBytes = 16u << 20;
    const uint64_t room = freeDiscBytes(part);  // 0 where nobody knows
    if (room > 0 && room < kLeastBytes) return true;
    return std::ranges::any_of(failed, [](const CsvRow& row) {
      return row.cells[5].find(std::strerror(ENOSPC)) != std::string::npos ||
             row.cells[5].find(std::strerror(EDQUOT)) != std::string::npos;
    });
  }
  static Outcome append(const std::string& path, const std::vector<std::string>& heading, TableFile& table,
                        std::vector<CsvRow>& rows) {
    Outcome read = readTable(path, heading, rows);
    if (read)
      for (const CsvRow& row : rows) table.add(row.cells);
    return read;
  }
  // Documents and pictures of an exam that went well.
  Outcome keep(const StudyExam& exam, const std::string& work) const {
    std::error_code error;
    fs::rename(work + examfiles::kData + plan.key(exam), file(examfiles::kData + plan.key(exam)), error);
    if (error) return Outcome::failure(plan.key(exam) + ": " + error.message());
    return walkFolder(work + examfiles::kPictures, Depth::Own, [&](const fs::directory_entry& picture) {
      fs::rename(picture.path(), file(examfiles::kPictures + picture.path().filename().string()), error);
      return error ? Outcome::failure(plan.key(exam) + ": " + error.message()) : Outcome::success();
    });
  }
  void addToDatabase(DatabaseWriter& database, const StudyExam& exam,
                     const std::vector<CsvRow>& stored) const {
    const ExamRow row = plan.rowOf(exam);
    database.addSubject(row.patient, row.created);
    database.addExam(row);
    for (const CsvRow& each : stored) database.addResult(row.id, row.created, each.cells[2], each.cells[3]);
  }

  Outcome tellProvenance() const {
    if (Outcome written = writeFacts(file(chunkfiles::kProvenance),
                                     {{"program", versionText()},
                                      {"commit", programCommit()},
                                      {"sha256 of settings.ini", plan.fact("sha256 of settings.ini")},
                                      {"sha256 of steps.txt", plan.fact("sha256 of steps.txt")}});
        !written)
      return written;
    return writeFacts(file(chunkfiles::kRun),
                      {{"computer", currentStationId()},
                       {"user", currentUserLabel()},
                       {"process", format("%i", ::getpid())},
                       {"seconds that an exam may take", format("%g", limits.seconds)},
                       {"began", longDateTime(began)},
                       {"seconds", format("%lli", static_cast<long long>(currentTime() - began))}});
  }
  Outcome sign() const {
    std::error_code error;
    fs::remove_all(file("exam"), error);
    fs::remove(file(chunkfiles::kSettings), error);
    if (Outcome listed = listFiles(); !listed) return listed;
    std::string sums;
    for (const std::string& name : chunkTables()) sums += sha256OfFile(file(name)) + "  " + name + "\n";
    return replaceFile(file(chunkfiles::kDone), sums);
  }
  // Of documents and pictures, so that one that is cut off later is known.
  Outcome listFiles() const {
    std::map<std::string, uintmax_t> sizes;
    for (const char* below : {examfiles::kData, examfiles::kPictures})
      if (Outcome told =
              walkFolder(file(below), Depth::All,
                         [&](const fs::directory_entry& entry) {
                           std::error_code error;
                           if (entry.is_regular_file(error) && !error)
                             sizes[entry.path().lexically_relative(part).string()] = entry.file_size(error);
                           return error ? Outcome::failure(entry.path().string() + ": " + error.message())
                                        : Outcome::success();
                         });
          !told)
        return told;
    TableFile files(file(chunkfiles::kFiles), filesHeading());
    for (const auto& [name, bytes] : sizes)
      files.add({name, format("%llu", static_cast<unsigned long long>(bytes))});
    return files.finish();
  }
  // Whole, or not at all: where another worker was first, its chunk stands and is the same.
  Outcome takePlace() {
    const std::string done = plan.folder() + "done/" + chunkName(number);
    if (::rename(part.c_str(), done.c_str()) != 0) {
      const int why = errno;
      if (plan.isDone(number)) return Outcome::success();
      if (why != ENOTEMPTY && why != EEXIST) return Outcome::failure(done + ": " + std::strerror(why));
      // What an engine left of one that it wanted anew is no chunk: it is swept with other leftovers.
      const std::string left = newFolder(plan.partFolder() + chunkName(number) + ".left.");
      std::error_code error;
      fs::rename(done, left, error);
      // Another worker's, which took its place meanwhile.
      if (fileExists(left + chunkfiles::kDone)) return putBack(left, done);
      if (::rename(part.c_str(), done.c_str()) != 0)
        return plan.isDone(number) ? Outcome::success()
                                   : Outcome::failure(done + ": " + std::strerror(errno));
    }
    part.clear();
    flushName(done);
    return Outcome::success();
  }
  static Outcome putBack(const std::string& from, const std::string& to) {
    std::error_code error;
    fs::rename(from, to, error);
    return error ? Outcome::failure(to + ": " + error.message() + "; it is " + from) : Outcome::success();
  }

  const StudyPlan& plan;
  int32_t number;
  ExamLimits limits;
  int64_t began;
  std::string part;  // empty once it has its place
};

}  // namespace

Outcome runChunk(const StudyPlan& plan, int32_t chunk, const ExamLimits& limits, int32_t& failures) {
  failures = 0;
  for (const auto& [fact, present] :
       {std::pair{"program", versionText()}, {"commit", std::string(programCommit())}})
    if (plan.fact(fact) != present)
      return Outcome::failure(
          format("the study was planned by another program (%s %s, this one has %s): plan anew, or "
                 "run that one",
                 fact, plan.fact(fact).c_str(), present.c_str()));
  return plan.isDone(chunk) ? Outcome::success() : Chunk(plan, chunk, limits).run(failures);
}

}  // namespace tarnvisor
