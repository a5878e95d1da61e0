#include "batch/studyplan.h"

#include <algorithm>
#include <charconv>
#include <filesystem>

#include "base/clock.h"
#include "base/commit.h"
#include "base/text.h"
#include "base/version.h"
#include "batch/studymanifest.h"

namespace tarnvisor {

namespace fs = std::filesystem;

namespace {

constexpr const char* kForm = "1";
constexpr const char* kPlanFile = "plan.csv";
constexpr const char* kStepsFile = "steps.txt";
constexpr const char* kSumsFile = "chunks/sums.txt";
constexpr uint64_t kLongestSteps = 16u << 20;

std::string today() {
  const LocalTime now = localTime(currentTime());
  return format("%04i-%02i-%02i", now.year, now.month + 1, now.day);
}

std::string chunkFile(const std::string& folder, int32_t chunk) {
  return folder + "chunks/" + chunkName(chunk) + ".csv";
}

std::vector<std::string> chunkHeading(const std::vector<std::string>& columns) {
  std::vector<std::string> heading{"exam"};
  heading.insert(heading.end(), columns.begin(), columns.end());
  return heading;
}

int64_t numberIn(const std::string& text) {
  int64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size() ? number : -1;
}

// From the study's folder: whoever moves study and pictures together finds them again.
std::string listFolderOf(const PlanWish& wish) {
  const fs::path folder = realPath(folderOf(wish.manifest));
  return withSeparator(folder.lexically_relative(realPath(wish.folder)).string());
}

class Planner {
 public:
  explicit Planner(const PlanWish& what) : wish(what) {}
  Outcome run() {
    if (Outcome read = manifest.read(wish.manifest); !read) return read;
    auto text = readWholeText(wish.steps, kLongestSteps);
    if (!text) return Outcome::failure(wish.steps + " can't be read");
    text = withoutMark(recoded(*text).value_or(*text));
    if (Outcome read = steps.read(*text, wish.steps, manifest.columns()); !read) return read;
    if (Outcome checked = checkSteps(); !checked) return checked;
    std::error_code error;
    if (fs::exists(wish.folder, error) && !(folderExists(wish.folder) && fs::is_empty(wish.folder, error)))
      return Outcome::failure(wish.folder + " is there already: a plan gets a folder of its own");
    if (error) return Outcome::failure(wish.folder + ": " + error.message());
    const std::string whole = withoutSeparator(wish.folder);
    if (const std::string above = folderOf(whole); !above.empty() && !makeFolderPath(above))
      return Outcome::failure(above + " can't be made");
    const std::string part = newFolder(whole + ".");
    if (part.empty()) return Outcome::failure(wish.folder + " can't be made");
    Outcome written = write(part, *text);
    if (written) fs::rename(part, whole, error);
    if (written && !error) flushName(whole);
    if (error) written = Outcome::failure(whole + ": " + error.message());
    if (!written) fs::remove_all(part, error);
    return written;
  }

 private:
  static std::string withoutSeparator(std::string path) {
    while (path.size() > 1 && path.back() == kSeparator) path.pop_back();
    return path;
  }
  // A step that an exam's values make wrong is told now, not in a month.
  Outcome checkSteps() const {
    std::vector<Step> made;
    for (size_t i = 0; i < manifest.count(); ++i)
      if (const Outcome fits = steps.stepsFor(manifest.row(i), made); !fits)
        return Outcome::failure(format("%s:%zu: with this exam\n", wish.manifest.c_str(), manifest.line(i)) +
                                fits.why());
    return Outcome::success();
  }
  Outcome write(const std::string& part, const std::string& text) const {
    const FlushLater later;
    for (const char* below : {"chunks/", "done/", "part/"})
      if (!makeFolderPath(part + below)) return Outcome::failure(part + below + " can't be made");
    if (Outcome copied = copyFile(wish.settings, part + "settings.ini"); !copied) return copied;
    if (Outcome copied = copyFile(wish.manifest, part + "exams.csv"); !copied) return copied;
    if (Outcome copied = replaceFile(part + kStepsFile, text); !copied) return copied;
    if (Outcome cut = writeChunks(part); !cut) return cut;
    const Facts facts{{"form", kForm},
                      {"program", versionText()},
                      {"commit", programCommit()},
                      {"exams", format("%zu", manifest.count())},
                      {"chunk size", format("%i", wish.chunkSize)},
                      {"chunks", format("%i", chunkCount())},
                      {"folder of files", listFolderOf(wish)},
                      {"day", wish.day.empty() ? today() : wish.day},
                      {"pictures", wish.pictures ? "1" : "0"},
                      {std::string("sha256 of ") + kSumsFile, sha256OfFile(part + kSumsFile)},
                      {"sha256 of exams.csv", sha256OfFile(part + "exams.csv")},
                      {"sha256 of settings.ini", sha256OfFile(part + "settings.ini")},
                      {"sha256 of steps.txt", sha256OfFile(part + kStepsFile)}};
    Outcome written = writeFacts(part + kPlanFile, facts);
    return written ? flushFolder(part) : written;
  }
  int32_t chunkCount() const {
    return static_cast<int32_t>((manifest.count() + static_cast<size_t>(wish.chunkSize) - 1) /
                                static_cast<size_t>(wish.chunkSize));
  }
  Outcome writeChunks(const std::string& part) const {
    size_t at = 0;
    std::string sums;
    for (int32_t chunk = 1; chunk <= chunkCount(); ++chunk) {
      TableFile table(chunkFile(part, chunk), chunkHeading(manifest.columns()));
      for (int32_t i = 0; i < wish.chunkSize && at < manifest.count(); ++i, ++at) {
        std::vector<std::string> cells = manifest.row(at);
        cells.insert(cells.begin(), format("%zu", at + 1));
        table.add(cells);
      }
      if (Outcome written = table.finish(); !written) return written;
      sums += sha256OfFile(chunkFile(part, chunk)) + "\n";
    }
    return replaceFile(part + kSumsFile, sums);
  }

  const PlanWish& wish;
  StudyManifest manifest;
  StudySteps steps;
};

}  // namespace

std::string chunkName(int32_t chunk) { return format("%06i", chunk); }

Outcome makePlan(const PlanWish& wish) { return Planner(wish).run(); }

const std::string& StudyPlan::fact(const std::string& name) const {
  static const std::string none;
  const auto found = facts.find(name);
  return found == facts.end() ? none : found->second;
}

Outcome StudyPlan::open(const std::string& studyFolder) {
  place = withSeparator(realPath(studyFolder));  // exams are run in folders of their own
  if (Outcome read = readFacts(place + kPlanFile, facts); !read)
    return Outcome::failure(place + " is no study: " + read.why());
  if (fact("form") != kForm) return Outcome::failure(place + " is of another form of study: " + fact("form"));
  examCount = numberIn(fact("exams"));
  chunkCount = static_cast<int32_t>(numberIn(fact("chunks")));
  pictures = fact("pictures") == "1";
  if (examCount < 1 || chunkCount < 1 || chunkCount > examCount)
    return Outcome::failure(place + kPlanFile + " tells no number of exams and chunks");
  for (const char* name : {"settings.ini", kStepsFile, kSumsFile})
    if (Outcome same = checkCopy(name); !same) return same;
  sums = split(readWholeText(place + kSumsFile).value_or(""), '\n');
  while (!sums.empty() && sums.back().empty()) sums.pop_back();
  if (sums.size() != static_cast<size_t>(chunkCount))
    return Outcome::failure(format("%s tells of %i chunks, and %zu were planned", (place + kPlanFile).c_str(),
                                   chunkCount, sums.size()));
  const auto text = readWholeText(place + kStepsFile, kLongestSteps);
  std::vector<CsvRow> first;
  const auto list = readWholeText(chunkFile(place, 1));
  if (!text || !list || !readCsv(*list, first) || first.empty() || first[0].cells.size() < 2)
    return Outcome::failure(chunkFile(place, 1) + " can't be read");
  heading.assign(first[0].cells.begin() + 1, first[0].cells.end());
  return script.read(*text, kStepsFile, heading);
}

Outcome StudyPlan::checkCopy(const std::string& name) const {
  return sha256OfFile(place + name) == fact("sha256 of " + name)
             ? Outcome::success()
             : Outcome::failure(place + name +
                                " is not the one that was planned: plan anew, or bring it back");
}

Outcome StudyPlan::examsOf(int32_t chunk, std::vector<StudyExam>& exams) const {
  if (chunk < 1 || chunk > chunkCount)
    return Outcome::failure(format("there is no chunk %i: the study has 1 to %i", chunk, chunkCount));
  std::vector<CsvRow> rows;
  const auto number = static_cast<size_t>(chunk);
  if (number > sums.size() || sha256OfFile(chunkFile(place, chunk)) != sums[number - 1])
    return Outcome::failure(chunkFile(place, chunk) +
                            " is not the one that was planned: plan anew, or bring it back");
  if (Outcome read = readTable(chunkFile(place, chunk), chunkHeading(heading), rows); !read) return read;
  exams.clear();
  for (CsvRow& row : rows) {
    const int64_t exam = numberIn(row.cells[0]);
    if (exam < 1 || exam > examCount)
      return Outcome::failure(
          format("%s: line %zu has no exam's number", chunkFile(place, chunk).c_str(), row.line));
    row.cells.erase(row.cells.begin());
    exams.push_back({static_cast<int32_t>(exam), std::move(row.cells)});
  }
  return Outcome::success();
}

std::string StudyPlan::cell(const StudyExam& exam, const std::string& column) const {
  const auto found = std::ranges::find(heading, column);
  return found == heading.end() ? std::string() : exam.cells[static_cast<size_t>(found - heading.begin())];
}

ExamRow StudyPlan::rowOf(const StudyExam& exam) const {
  const std::string date = cell(exam, "date");
  // At noon, so that the day is the same in most of the world.
  return {exam.number,        cell(exam, "subject"), (date.empty() ? fact("day") : date) + " 12:00:00",
          cell(exam, "site"), cell(exam, "comment"), key(exam)};
}

std::string StudyPlan::pathOf(const std::string& file) const {
  return isAbsolutePath(file) ? file : absolutePath(place + fact("folder of files") + file);
}

std::string StudyPlan::linkOf(const std::string& file) const {
  if (file.empty() || isAbsolutePath(file)) return file;
  const fs::path told = fs::path("..") / fact("folder of files") / file;
  const bool leadsUp = ("/" + file + "/").find("/../") != std::string::npos;
  return leadsUp ? fs::path(pathOf(file)).lexically_relative(place + "merged").string()
                 : told.lexically_normal().string();
}

std::string StudyPlan::doneFolder(int32_t chunk) const { return place + "done/" + chunkName(chunk) + "/"; }
bool StudyPlan::isDone(int32_t chunk) const { return fileExists(doneFolder(chunk) + "done"); }

}  // namespace tarnvisor
