#include "batch/studyexam.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <map>
#include <regex>
#include <set>

#include "app/unseen.h"
#include "base/confine.h"
#include "base/parallel.h"
#include "base/text.h"
#include "base/version.h"
#include "batch/examrunner.h"
#include "batch/pictures.h"
#include "batch/scriptprogram.h"
#include "db/databasewriter.h"
#include "exams/dbdocument.h"
#include "exams/examselection.h"
#include "results/measures.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace fs = std::filesystem;

const std::vector<std::string>& resultsHeading() {
  static const std::vector<std::string> names{"key", "exam", "document", "result"};
  return names;
}
const std::vector<std::string>& reviewHeading() {
  static const std::vector<std::string> names{"key", "subject", "exam", "document", "why", "link"};
  return names;
}
const std::vector<std::string>& inputsHeading() {
  static const std::vector<std::string> names{"key", "file", "sha256"};
  return names;
}
const std::vector<std::string>& failuresHeading() {
  static const std::vector<std::string> names{"key", "subject", "exam", "file", "step", "why"};
  return names;
}

namespace {

constexpr double kFewGood = 50;  // percent of what was tried
constexpr const char* kTemporary = "temporary/";

void replaceAll(std::string& text, const std::string& what, const std::string& by) {
  for (size_t at = text.find(what); !what.empty() && at != std::string::npos;
       at = text.find(what, at + by.size()))
    text.replace(at, what.size(), by);
}

// In words that are the same wherever the study is run: one line, and files as the list names them.
std::string withoutPlaces(std::string why, const StudyPlan& plan, const StudyExam& exam,
                          const std::string& work) {
  for (size_t i = 0; i < plan.columns().size(); ++i)
    if (plan.columns()[i].starts_with("file") && !exam.cells[i].empty())
      replaceAll(why, plan.pathOf(exam.cells[i]), exam.cells[i]);
  for (const std::string& place :
       {work, folderOf(work.substr(0, work.size() - 1)), plan.folder(), plan.pathOf("")})
    if (place != "/") replaceAll(why, place, "");
  // Of a file that was being written: it is named by its process.
  why = std::regex_replace(why, std::regex("~new[0-9]+-[0-9]+"), "");
  why = trimmed(why);
  replaceAll(why, "\r", "");
  replaceAll(why, ".\n", ". ");
  replaceAll(why, "\n", ": ");
  return why;
}

// What the process of an exam does.
class ExamProcess {
 public:
  ExamProcess(const StudyPlan& ofStudy, const StudyExam& ofList, const std::string& ofChunk,
              const std::string& folder)
      : plan(ofStudy),
        exam(ofList),
        chunkSettings(ofChunk),
        work(folder),
        key(plan.key(exam)),
        subject(plan.cell(exam, "subject")) {}

  Outcome run(int& failedLine) {
    for (const char* below : {examfiles::kData, examfiles::kPictures, kTemporary})
      if (!makeFolderPath(work + below)) return Outcome::failure(work + below + " can't be made");
    std::vector<std::string> values = exam.cells;
    std::vector<Step> steps;
    if (Outcome summed = sumInputs(values); !summed) return summed;
    if (Outcome made = plan.steps().stepsFor(values, steps); !made) return made;
    sumNamedFiles(steps, values);
    if (Outcome told = tellInputs(); !told) return told;
    if (Outcome copied = copyFile(chunkSettings, work + "settings.ini"); !copied) return copied;
    if (Outcome made = makeData(); !made) return made;
    ScriptProgram program;
    if (std::ranges::find(steps, "doppler", &Step::word) != steps.end()) program.useVelocityInput();
    StartOptions start;
    start.programPath = "/proc/self/exe";
    std::error_code error;
    if (const fs::path self = fs::read_symlink(start.programPath, error); !error)
      start.programPath = (self.parent_path() / "tarnvisor").string();
    start.profilePath = work + "settings.ini";
    start.dataFolder = work + examfiles::kData;
    // Where the system can't see to it, steps that write under other names than bare ones do so.
    if (!confineWrites(work)) std::fputs("what the steps write is not confined to the study\n", stderr);
    ::setenv("TMPDIR", (work + kTemporary).c_str(), 1);
    if (!program.start(start) || program.host.hadError()) return Outcome::failure(program.host.shown());
    theExams().selectSubject(subject, "");
    theExams().selectExam(exam.number, key);
    if (::chdir(theExams().folder().c_str()) != 0)
      return Outcome::failure("the exam's folder can't be entered");
    // Movies that passes make of others' lie beside those otherwise.
    settings.setString("directories", "tempdir", theExams().folder());
    ExamRunner runner(program, work);
    const std::set<std::string> before = namesBeside();
    const int code = runner.run(steps, false);
    if (code != 0 || runner.failedLine > 0) {
      failedLine = runner.failedLine;
      return Outcome::failure(runner.why);
    }
    for (const std::string& name : namesBeside())
      if (!before.contains(name))
        return Outcome::failure(name + " was written beside the exam's folder, where nothing is kept");
    sumFurtherInputs(runner.read, values);
    if (Outcome written = tellInputs(); !written) return written;
    Outcome told = tell(runner);
    program.app.exitInstance();
    return told;
  }

 private:
  // Gives {file...} the places of the files.
  Outcome sumInputs(std::vector<std::string>& values) {
    for (size_t i = 0; i < plan.columns().size(); ++i) {
      if (!plan.columns()[i].starts_with("file") || values[i].empty()) continue;
      const std::string path = plan.pathOf(values[i]);
      const std::string sum = sha256OfFile(path);
      if (sum.empty()) return Outcome::failure(values[i] + " can't be read");
      if (std::ranges::find(inputs, values[i], &Input::first) == inputs.end())
        inputs.emplace_back(values[i], sum);
      values[i] = path;
    }
    return Outcome::success();
  }
  // A flat field, a mask: what the steps themselves name, in an answer too ("File=/share/flat.bmp").
  void sumNamedFiles(const std::vector<Step>& steps, const std::vector<std::string>& listed) {
    for (const Step& step : steps)
      for (const std::string& word : step.args)
        for (const std::string& path : {word, word.substr(word.find('=') + 1)})
          if (isAbsolutePath(path) && std::ranges::find(listed, path) == listed.end() &&
              std::ranges::find(inputs, path, &Input::first) == inputs.end())
            if (const std::string sum = sha256OfFile(path); !sum.empty()) inputs.emplace_back(path, sum);
  }
  // Pixels and movies of listed documents, named as those are.
  void sumFurtherInputs(const std::set<std::string>& read, const std::vector<std::string>& listed) {
    for (const std::string& path : read)
      if (std::ranges::find(listed, path) == listed.end() &&
          std::ranges::find(inputs, path, &Input::first) == inputs.end())
        if (const std::string sum = sha256OfFile(path); !sum.empty())
          inputs.emplace_back(besideListed(path, listed), sum);
  }
  std::string besideListed(const std::string& path, const std::vector<std::string>& listed) const {
    for (size_t i = 0; i < plan.columns().size(); ++i)
      if (plan.columns()[i].starts_with("file") && folderOf(listed[i]) == folderOf(path))
        return folderOf(exam.cells[i]) + fileNameOf(path);
    return kElsewhere + fileNameOf(path);
  }
  // What lies in the work folder and beside the exam's own.
  std::set<std::string> namesBeside() const {
    std::set<std::string> names;
    for (const std::string& folder : {std::string(), std::string(examfiles::kData)})
      (void)walkFolder(work + folder, Depth::Own, [&](const fs::directory_entry& entry) {
        const std::string name = entry.path().filename().string();
        if (!name.starts_with("tarn.db")) names.insert(folder + name);  // and its journal
        return Outcome::success();
      });
    return names;
  }
  Outcome tellInputs() const {
    TableFile table(work + examfiles::kInputs, inputsHeading());
    for (const auto& [file, sum] : inputs) table.add({key, file, sum});
    return table.finish();
  }
  Outcome makeData() const {
    if (!makeFolderPath(work + examfiles::kData + key))
      return Outcome::failure("the exam's folder can't be made");
    const ExamRow row = plan.rowOf(exam);
    DatabaseWriter database(work + examfiles::kData + "tarn.db", row.created, kVersion);
    database.addSubject(row.patient, row.created);
    database.addExam(row);
    return database.finish();
  }

  Outcome tell(const ExamRunner& runner) const {
    const NotedDocuments& noted = runner.noted;
    const std::vector<ResultRow> results = theApp().db->resultsOf(exam.number);
    std::vector<StudyMeasure> measures;
    std::string missing;
    Outcome gathered = gatherStudy({.scope = StudyScope::AllSubjects}, measures, missing);
    if (!missing.empty()) return Outcome::failure(missing);
    if (!gathered && !measures.empty()) return gathered;
    for (StudyMeasure& measure : measures) measure.document = noted.nameOf(measure.document);
    if (Outcome written = tellMeasures(measures, noted); !written) return written;
    if (Outcome written = tellResults(results); !written) return written;
    if (Outcome written = tellReview(results, measures, runner); !written) return written;
    return plan.wantsPictures() ? takePictures(results) : Outcome::success();
  }
  Outcome tellMeasures(const std::vector<StudyMeasure>& measures, const NotedDocuments& noted) const {
    TableFile table(work + examfiles::kMeasures, measuresHeading());
    for (const StudyMeasure& m : measures)
      table.add({key, subject, format("%i", exam.number), m.document, m.list, m.mark, m.quantity, m.value,
                 m.unit, qualityWord(noted.judgementOf(m.document)), m.kind});
    return table.finish();
  }
  Outcome tellResults(const std::vector<ResultRow>& results) const {
    TableFile table(work + examfiles::kResults, resultsHeading());
    for (const ResultRow& row : results)
      table.add({key, format("%i", exam.number), row.filename, row.result});
    return table.finish();
  }
  Outcome tellReview(const std::vector<ResultRow>& results, const std::vector<StudyMeasure>& measures,
                     const ExamRunner& runner) const {
    const NotedDocuments& noted = runner.noted;
    TableFile table(work + examfiles::kReview, reviewHeading());
    bool isFine = true;
    const auto add = [&](const std::string& document, const std::string& why) {
      isFine = false;
      const bool isStored = std::ranges::find(results, document, &ResultRow::filename) != results.end();
      table.add({key, subject, format("%i", exam.number), document, why,
                 isStored ? key + "/" + document : linkTo(document, runner)});
    };
    // Also of a video that was measured and not saved.
    for (const auto& [document, words] : noted.judgements())
      if (const Quality* quality = qualityOf(words); quality && quality->isWorthALook) add(document, words);
    for (const StudyMeasure& m : measures)
      if ((m.quantity == "%good" || m.quantity == "% used") &&
          numberOf(m.value).value_or(kFewGood) < kFewGood)
        add(m.document,
            m.table + ": " + m.quantity + " " + m.value + (m.mark.empty() ? "" : " of mark " + m.mark));
    if (measures.empty() && isFine)
      add("", results.empty() ? "the steps measured nothing and saved no document"
                              : "the steps measured nothing");
    std::map<std::string, std::set<std::string>> remarks;  // by one name, though it was saved between
    for (const auto& [title, words] : runner.remarks)
      remarks[noted.nameOf(title)].insert(words.begin(), words.end());
    for (const auto& [document, words] : remarks)
      for (const std::string& each : words) add(document, withoutPlaces(each, plan, exam, work));
    for (const ExamRunner::Listed& each : runner.listed) {
      const std::string name = noted.nameOf(each.title);
      if (each.isUntouched && std::ranges::find(results, name, &ResultRow::filename) != results.end())
        add(name, "its result is the one that it was listed with: no step measured it anew");
    }
    return table.finish();
  }
  // The listed file that it was made of, if one, else the exam's first.
  std::string linkTo(const std::string& title, const ExamRunner& runner) const {
    const auto made = runner.madeOf.find(title);
    for (size_t i = 0; i < plan.columns().size() && made != runner.madeOf.end(); ++i)
      if (plan.columns()[i].starts_with("file") && plan.pathOf(exam.cells[i]) == made->second)
        return plan.linkOf(exam.cells[i]);
    return plan.linkOf(plan.cell(exam, "file"));
  }
  // As their windows show them, with what was drawn in.
  Outcome takePictures(const std::vector<ResultRow>& results) const {
    for (const ResultRow& row : results) {
      std::string whynot;
      const auto document = openUnseen(theExams().folder() + row.filename, whynot);
      if (!document) return Outcome::failure(row.filename + ": " + whynot);
      // No key has a "+", so no other exam's document is named so.
      const std::string name = format("%s+%s.png", key.c_str(), row.filename.c_str());
      if (document->views().empty()) continue;
      if (Outcome saved = saveSnapshot(*document->views().front(), work + examfiles::kPictures + name);
          !saved)
        return saved;
    }
    return Outcome::success();
  }

  const StudyPlan& plan;
  const StudyExam& exam;
  const std::string& chunkSettings;
  const std::string& work;
  const std::string key, subject;
  using Input = std::pair<std::string, std::string>;  // file and sum
  std::vector<Input> inputs;
};

void writeFailure(const StudyPlan& plan, const StudyExam& exam, const std::string& work,
                  const std::string& step, const std::string& why) {
  TableFile table(work + examfiles::kFailure, failuresHeading());
  table.add({plan.key(exam), plan.cell(exam, "subject"), format("%i", exam.number), plan.cell(exam, "file"),
             step, withoutPlaces(why, plan, exam, work)});
  if (const Outcome written = table.finish(); !written) std::fprintf(stderr, "%s\n", written.why().c_str());
}

[[noreturn]] void beExam(const StudyPlan& plan, const StudyExam& exam, const std::string& chunkSettings,
                         const std::string& work, int threads, pid_t parent) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  if (::getppid() != parent) ::_exit(1);  // it went before it could be told
  std::signal(SIGXFSZ, SIG_IGN);          // a file that may not grow is an error in words
  // What the steps print is of the exam.
  if (const int log =
          ::open((work + examfiles::kLog).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
      log >= 0)
    for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) ::dup2(log, stream);
  setParallelThreads(threads);
  int failedLine = 0;
  const FlushLater later;  // of this process: the chunk's folder is flushed as a whole
  const Outcome done = ExamProcess(plan, exam, chunkSettings, work).run(failedLine);
  if (!done) writeFailure(plan, exam, work, plan.steps().stepAt(failedLine), done.why());
  std::fflush(nullptr);
  ::_exit(done ? 0 : 1);
}

// Whether it ended in time; otherwise it was killed.
bool awaitEnd(pid_t child, int itsPipe, double seconds, int& status) {
  struct pollfd ended {
    .fd = itsPipe, .events = POLLIN
  };
  const double limit = std::min(seconds * 1000, 2e9);
  int got = 0;
  while ((got = ::poll(&ended, 1, static_cast<int>(limit))) < 0 && errno == EINTR) continue;
  if (got == 0) ::kill(child, SIGKILL);
  while (::waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  return got != 0;
}

}  // namespace

bool runExam(const StudyPlan& plan, const StudyExam& exam, const std::string& chunkSettings,
             const std::string& work, const ExamLimits& limits) {
  const auto failed = [&](const std::string& why) {
    writeFailure(plan, exam, work, "", why);
    return false;
  };
  for (bool again = false;; again = true) {
    int ends[2];  // the child's end closes with it
    if (::pipe2(ends, O_CLOEXEC) != 0) return failed(std::strerror(errno));
    std::fflush(nullptr);
    const pid_t self = ::getpid(), child = ::fork();
    if (child == 0) beExam(plan, exam, chunkSettings, work, limits.threads, self);
    const std::string why = child < 0 ? std::strerror(errno) : "";
    ::close(ends[1]);
    int status = 0;
    const bool inTime = child < 0 || awaitEnd(child, ends[0], limits.seconds, status);
    ::close(ends[0]);
    if (child < 0) return failed("no process could be made: " + why);
    if (!inTime) return failed(format("it took longer than %g seconds and was stopped", limits.seconds));
    if (WIFEXITED(status) && WEXITSTATUS(status) == 0) return true;
    if (WIFEXITED(status))
      return fileExists(work + examfiles::kFailure) ? false : failed("its process ended early");
    // Somebody, or want of memory, ended it: that may be no fault of the exam's.
    const int signal = WTERMSIG(status);
    if (again || (signal != SIGKILL && signal != SIGTERM))
      return failed(format("its process ended by signal %i (%s)", signal, ::strsignal(signal)));
    std::error_code error;
    fs::remove_all(work, error);
    if (!makeFolderPath(work)) return failed(work + " can't be made");
  }
}

}  // namespace tarnvisor
