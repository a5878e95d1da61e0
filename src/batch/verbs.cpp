#include "batch/verbs.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <thread>

#include "app/processstate.h"
#include "base/clock.h"
#include "base/files.h"
#include "base/numbers.h"
#include "base/text.h"
#include "batch/pictures.h"
#include "exams/dbdocument.h"
#include "exams/examselection.h"
#include "exams/subjectselection.h"
#include "frame/commandids.h"
#include "results/resultdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

bool hasNumbers(const std::string& text, size_t count) {
  std::vector<int32_t> numbers;
  return parseNumbers(text, numbers) && numbers.size() == count;
}

bool isOneOf(const std::string& text, std::initializer_list<const char*> words) {
  return std::any_of(words.begin(), words.end(), [&](const char* word) { return text == word; });
}

using Arguments = const std::vector<std::string>&;

std::string checkRoi(Arguments a) {
  if (isOneOf(a[0], {"none", "circle"}) || hasNumbers(a[0], 4)) return {};
  return "a ROI is left,top,right,bottom or none or circle";
}

std::string checkList(Arguments a) {
  std::vector<int32_t> n;
  return parseNumbers(a[0], n) && n.size() == 1 && n[0] >= 0 && n[0] <= 8 ? ""
                                                                          : "a list is a number from 0 to 8";
}

std::string checkDim(Arguments a) {
  if (!isOneOf(a[0], {"point", "line", "polyline", "freehand", "circle", "polygon", "rect"}))
    return "unknown kind of dimension \"" + a[0] + "\"";
  for (size_t i = 1; i < a.size(); ++i)
    if (!hasNumbers(a[i], 2)) return "\"" + a[i] + "\" is not a point x,y";
  const size_t points = a.size() - 1;
  const bool two = isOneOf(a[0], {"line", "circle", "rect"});
  if (a[0] == "point" && points != 1) return "a point has one point";
  if (two && points != 2) return "a " + a[0] + " has two points";
  if (a[0] != "point" && points < 2) return "a " + a[0] + " has two points or more";
  return {};
}

// "line X,Y X,Y ... [width N]", "dim N"
bool tellsWidth(Arguments a) { return a.size() >= 3 && a[a.size() - 2] == "width"; }
std::string checkScan(Arguments a) {
  if (a[0] == "dim") return a.size() == 2 && hasNumbers(a[1], 1) ? "" : "scan dim N";
  if (a[0] != "line") return "scan line X,Y X,Y width N, or scan dim N";
  if (tellsWidth(a) && !hasNumbers(a.back(), 1)) return "\"" + a.back() + "\" is not a width";
  const std::vector<std::string> points(a.begin() + 1, a.end() - (tellsWidth(a) ? 2 : 0));
  for (const std::string& point : points)
    if (!hasNumbers(point, 2)) return "\"" + point + "\" is not a point x,y";
  return points.size() < 2 ? "a line has two points or more" : "";
}

std::string checkNumber(Arguments a) { return hasNumbers(a[0], 1) ? "" : "\"" + a[0] + "\" is not a number"; }

bool isNumber(const std::string& text) {
  double value = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && stop == text.data() + text.size() && std::isfinite(value);
}

std::string checkSelect(Arguments a) {
  for (const std::string& text : a)
    if (!isNumber(text)) return "\"" + text + "\" is not a number";
  return {};
}

std::string checkPrint(Arguments a) {
  return isOneOf(a[0], {"notes", "result", "dims", "traces", "offsets", "fps", "velocity", "status"})
             ? ""
             : "print what: notes, result, dims, traces, offsets, fps, velocity or status";
}

double numberOf(const std::string& text) { return std::strtod(text.c_str(), nullptr); }

// Asks the view in front, then its document.
template <class Question>
StepResult ask(StepContext& c, const Question& question) {
  CDocument* document = documentInFront(c.app);
  if (!document) return unavailable(c);
  StepResult result =
      document->views().empty() ? StepResult::nothing() : question(*document->views().front());
  if (!result.known) result = question(static_cast<ScriptTarget&>(*document));
  if (!result.known) return unavailable(c);
  // What was told on the way says more.
  if (!result.ok && result.why.empty()) result.why = c.script.shown();
  return result;
}

// An answer to what the step asks; a path with a blank that lacks its quotes is none.
std::string checkAnswer(Arguments a, const char* word) {
  const bool fits = a.size() < 2 || equalIgnoringCase(a[1], "yes") || equalIgnoringCase(a[1], "no");
  return fits ? "" : format("\"%s\" has too many arguments", word);
}

constexpr std::string_view kBorn = "born=", kSex = "sex=";

std::string checkSubject(Arguments a) {
  if (trimmed(a[0]).empty()) return "a subject needs an id";
  std::vector<std::string> others{a[0]};
  for (const std::string& argument : std::vector(a.begin() + 1, a.end()))
    if (argument.starts_with(kBorn)) {
      if (!dateOfBirth(argument.substr(kBorn.size())))
        return "\"" + argument + "\" tells no date of birth: write born=1970-02-03";
    } else if (argument.starts_with(kSex)) {
      if (std::ranges::find(sexes(), argument.substr(kSex.size())) == sexes().end())
        return "write sex=f, sex=m or sex=x";
    } else {
      others.push_back(argument);
    }
  return checkAnswer(others, "subject");
}

// Takes what the arguments tell of the person. Who has another date of birth or sex is most likely another
// person: that is replaced only by "yes". Empty, or what is wrong.
std::string tellPerson(SubjectDialog& dialog, Arguments a, bool replaces) {
  std::string wrong;
  const auto take = [&](std::string& known, const std::string& told) {
    if (!known.empty() && known != told && !replaces)
      wrong = format("%s is known as \"%s\", not \"%s\"; yes replaces it", dialog.id.c_str(), known.c_str(),
                     told.c_str());
    known = told;
  };
  const auto before = std::pair(dialog.born, dialog.sex);
  for (const std::string& argument : a) {
    if (argument.starts_with(kBorn)) take(dialog.born, *dateOfBirth(argument.substr(kBorn.size())));
    if (argument.starts_with(kSex)) take(dialog.sex, argument.substr(kSex.size()));
  }
  if (!wrong.empty() || before == std::pair(dialog.born, dialog.sex) || dialog.saveDetails()) return wrong;
  return "what was told of the subject can't be written";
}

StepResult selectSubject(StepContext& c) {
  if (!c.app.db) return StepResult::failure("there is no subject database; name a data folder with --data");
  SubjectDialog dialog;
  dialog.id = replaced(std::string(trimmed(c.step.args[0])), ' ', '_');
  std::vector<std::string> answers{c.step.args.begin() + 1, c.step.args.end()};
  std::erase_if(answers, [](const auto& a) { return a.starts_with(kBorn) || a.starts_with(kSex); });
  c.script.begin(answers);
  const bool isThere = c.app.db->readSubject(dialog.id).has_value();
  if (!isThere && !dialog.addAsNewId()) return StepResult::failure(c.script.shown());
  // One that another spelling led to is the same person only if what is told of it fits.
  const bool isAnswered = !isThere && answers.size() == 1;
  // The next run of a script finds what the first one made, and is asked nothing.
  if (isThere || (!answers.empty() && equalIgnoringCase(answers[0], "no"))) c.script.dropAnswers();
  dialog.chooseId(dialog.id);
  if (theExams().subjectId() != dialog.id)
    return StepResult::failure("the subject can't be written to the database");
  const bool replaces = !isAnswered && !answers.empty() && equalIgnoringCase(answers[0], "yes");
  if (const auto wrong = tellPerson(dialog, {c.step.args.begin() + 1, c.step.args.end()}, replaces);
      !wrong.empty())
    return StepResult::failure(wrong);
  theExams().leaveExam();
  dialog.finish(SubjectDialog::Result::ViewExaminations);
  return {true, {}, {{"subject", theExams().subjectId()}}, {}};
}

constexpr const char* kAgain = "--again";

// The last exam of the subject at a site, however its letters are written; nothing when it has none.
std::optional<ExamRow> lastExamAt(const CBasicApp& app, const std::string& site) {
  std::optional<ExamRow> last;
  for (ExamRow& exam : app.db->examsOf(theExams().subjectId()))
    if (exam.site == site || (isSameName(exam.site, site) && (!last || last->site != site)))
      last = std::move(exam);
  return last;
}

std::string checkExam(Arguments a) {
  return a.size() < 3 || a[2] == kAgain ? "" : "\"exam\" has too many arguments";
}

StepResult startExam(StepContext& c) {
  if (!c.app.db) return StepResult::failure("there is no subject database; name a data folder with --data");
  if (theExams().subjectId().empty()) return StepResult::failure("no subject is selected");
  // The result tables go on collecting over the exams of a study; everything else closes.
  const std::vector<CDocument*> open = c.app.documents.documents();
  for (const CDocument* document : open)
    if (document->isModified() && !document->collectsOverExams())
      return StepResult::failure(document->title() + " has changes; save or close it first");
  for (CDocument* document : open)
    if (!document->collectsOverExams()) document->type()->discard(*document);
  const auto& args = c.step.args;
  const bool again = args.size() > 1 && args.back() == kAgain;
  const std::string comment = args.size() > (again ? 2U : 1U) ? args[1] : "";
  const auto present = again ? lastExamAt(c.app, args[0]) : std::nullopt;
  if (present)
    theExams().selectExam(present->id, present->folder);
  else if (!makeExamination(args[0], comment))
    return StepResult::failure(c.script.shown().empty() ? "the examination can't be started"
                                                        : c.script.shown());
  return {
      true,
      {},
      {{"exam", format("%i", theExams().examId())}, {"folder", c.app.dataFolder + theExams().examFolder()}},
      again && !present
          ? theExams().subjectId() + " has no exam at \"" + args[0] + "\" yet: this is its first"
          : ""};
}

std::string checkOpen(Arguments a) { return checkAnswer(a, "open"); }
std::string checkImport(Arguments a) { return checkAnswer(a, "import"); }

StepResult openFile(StepContext& c) {
  const std::string& path = c.step.args[0];
  if (!fileExists(path)) return StepResult::failure(path + " does not exist");
  c.script.begin({c.step.args.begin() + 1, c.step.args.end()});
  CDocument* document = c.app.openDocumentFile(path);
  if (!document)
    return StepResult::failure(c.script.shown().empty() ? path + " can't be opened" : c.script.shown());
  // What the opening had to say, of a movie that lies elsewhere.
  StepResult result{true, {}, {{"title", document->title()}}, c.script.shown()};
  for (auto& fact : document->facts()) result.values.push_back(std::move(fact));
  return result;
}

StepResult setValue(StepContext& c) {
  settings.setString(c.step.args[0], c.step.args[1], c.step.args[2]);
  if (settings.getString(c.step.args[0], c.step.args[1], "") !=
      c.step.args[2].substr(0, CSettingsFile::kLongestValue))
    return StepResult::failure("the profile can't be written: " + settings.path());
  c.app.rereadSettings();
  return {};
}

// In words where its row has some.
std::string whyDisabled(const std::vector<CommandTarget*>& chain, const std::string& text, bool byId) {
  for (const CommandTarget* target : chain) {
    const CommandTableBase* table = target ? target->commands() : nullptr;
    if (!table) continue;
    const CommandRow* row =
        byId ? table->find(static_cast<int32_t>(std::strtol(text.c_str(), nullptr, 10))) : table->find(text);
    if (!row) continue;
    const std::string why = target->whyOff(row->id, row->words.whyOff);
    return "the command is not enabled now" + (why.empty() ? why : ". " + why);
  }
  return "the command is not enabled now";
}

StepResult runCommandText(StepContext& c, const std::string& text, std::vector<std::string> answers) {
  c.script.begin(std::move(answers));
  const std::vector<CommandTarget*> chain = c.app.commandChain(documentInFront(c.app));
  char* end = nullptr;
  const long id = std::strtol(text.c_str(), &end, 10);
  const bool byId = !text.empty() && *end == '\0';
  const CommandResult done =
      byId ? routeCommand(chain, static_cast<int32_t>(id)) : routeCommand(chain, std::string_view(text));
  if (done == CommandResult::Unknown)
    return StepResult::failure(documentInFront(c.app) ? "there is no such command here"
                                                      : "there is no such command; no document is open");
  if (done == CommandResult::Disabled) return StepResult::failure(whyDisabled(chain, text, byId));
  StepResult result;
  if (!c.script.shown().empty()) {
    result.values.emplace_back("message", c.script.shown());
    if (!c.script.hadError()) result.text = c.script.shown();
  }
  return result;
}

StepResult runCommand(StepContext& c) {
  return runCommandText(c, c.step.args[0], {c.step.args.begin() + 1, c.step.args.end()});
}

StepResult importFile(StepContext& c) { return runCommandText(c, "Import", c.step.args); }
StepResult setRegion(StepContext& c) {
  using Region = ScriptTarget::Region;
  const std::string& how = c.step.args[0];
  if (how == "none" || how == "circle")
    return ask(
        c, [&](ScriptTarget& t) { return t.setRegion(how == "none" ? Region::None : Region::Circle, {}); });
  const std::vector<int32_t> n = c.step.numbers(0);
  return ask(c, [&](ScriptTarget& t) { return t.setRegion(Region::Rectangle, {n[0], n[1], n[2], n[3]}); });
}

StepResult chooseList(StepContext& c) {
  return ask(c, [&](ScriptTarget& t) { return t.chooseList(c.step.numbers(0)[0]); });
}

StepResult drawDimension(StepContext& c) {
  std::vector<Point> points;
  for (size_t i = 1; i < c.step.args.size(); ++i) {
    const std::vector<int32_t> n = c.step.numbers(i);
    points.push_back({n[0], n[1]});
  }
  return ask(c, [&](ScriptTarget& t) { return t.drawDimension(c.step.args[0], points); });
}

StepResult scanLine(StepContext& c) {
  const std::vector<std::string>& a = c.step.args;
  if (a[0] == "dim") return ask(c, [&](ScriptTarget& t) { return t.scan(c.step.numbers(1)[0]); });
  std::vector<Point> path;
  for (size_t i = 1; i < a.size() - (tellsWidth(a) ? 2 : 0); ++i) {
    const std::vector<int32_t> n = c.step.numbers(i);
    path.push_back({n[0], n[1]});
  }
  const int32_t width = tellsWidth(a) ? c.step.numbers(a.size() - 1)[0] : 1;
  return ask(c, [&](ScriptTarget& t) { return t.scan(path, width); });
}

StepResult selectRange(StepContext& c) {
  return ask(
      c, [&](ScriptTarget& t) { return t.selectRange(numberOf(c.step.args[0]), numberOf(c.step.args[1])); });
}

StepResult showImage(StepContext& c) {
  return ask(c, [&](ScriptTarget& t) { return t.show(c.step.numbers(0)[0]); });
}

StepResult chooseTrace(StepContext& c) {
  return ask(c, [&](ScriptTarget& t) { return t.chooseTrace(c.step.args[0]); });
}

StepResult noDocument() { return StepResult::failure("no document is open"); }

// A bare name goes to the folder of the document's exam, where the database looks for it; a path is a path.
StepResult saveDocument(StepContext& c) {
  CDocument* document = documentInFront(c.app);
  if (!document) return noDocument();
  std::string path = c.step.args.empty() ? document->pathName() : c.step.args[0];
  // A name that nobody gave is not another document's: cameras begin their numbers anew.
  TakenName taken;
  if (path.empty()) {
    const std::string offered = document->defaultPathName();
    taken = TakenName(withoutExtension(offered), "." + extensionOf(offered));
    path = taken.path();
  }
  // Other systems part folders by it, and documents are known by what stands behind.
  if (!c.step.args.empty() && path.find('\\', path.rfind('/') + 1) != std::string::npos)
    return StepResult::failure(path + ": a document's name has no \"\\\"");
  const bool bare = !c.step.args.empty() && folderOf(path).empty();
  if (bare) path = folderOf(document->defaultPathName()) + path;
  path = absolutePath(document->withOwnEnding(path));
  const auto* filed = dynamic_cast<const CdbDocument*>(document);
  if (const int32_t other = bare && filed ? filed->otherExamWith(path) : -1; other >= 0)
    return StepResult::failure(format("%s is a document of exam %i", path.c_str(), other));
  const bool same = path == document->pathName();
  if (!(same ? document->save() : document->onSaveDocument(path)))
    return StepResult::failure(c.script.shown().empty() ? path + " was not saved" : c.script.shown());
  if (!same) document->setPathName(path);
  const bool replaced = !same && taken.path().empty() && document->hasReplacedFile();
  // What the save had to say, of a movie that stays elsewhere.
  const std::string told = c.script.shown();
  const bool homeless = bare && filed && c.app.db && filed->owner().exam < 0;
  return {true,
          {},
          {{"path", path}},
          "saved " + path + (replaced ? ", in place of the file that was there" : "") +
              (homeless ? ", in no exam's folder: no exam is selected" : "") +
              (told.empty() ? "" : "\n" + told)};
}

// An image's tables are documents of their own; the one that was added to last is meant.
StepResult exportDocument(StepContext& c) {
  const std::string path = absolutePath(c.step.args[0]);
  if (const Outcome may = c.app.documents.mayOutputTo(path); !may) return StepResult::failure(may.why());
  if (c.step.args.size() > 1) {  // a table by its title, whatever is in front
    CResultDoc* named = findResultDocument(c.step.args[1]);
    return named ? named->exportTo(path)
                 : StepResult::failure("there is no result table \"" + c.step.args[1] + "\"");
  }
  StepResult result = ask(c, [&](ScriptTarget& t) { return t.exportTo(path); });
  if (result.known || c.app.documents.documents().empty() || !equalIgnoringCase(extensionOf(path), "csv"))
    return result;
  CResultDoc* rows = lastResultDocument();
  return rows ? rows->exportTo(path) : StepResult::failure("there is no table to export");
}

StepResult printTable(StepContext& c) {
  const CResultDoc* rows = findResultDocument(c.step.args[0]);
  if (!rows) return StepResult::failure("there is no result table \"" + c.step.args[0] + "\"");
  return {true, {}, {}, rows->asText()};
}

StepResult print(StepContext& c) {
  const std::string& what = c.step.args[0];
  StepResult result = ask(c, [&](ScriptTarget& t) { return t.tell(what); });
  const CDocument* document = documentInFront(c.app);
  if (result.known || !document || !document->type()) return result;
  const std::string kind = lowerCase(document->type()->documentName());
  const bool vowel = std::string_view("aeio").find(kind[0]) != std::string_view::npos;
  return StepResult::failure((vowel ? "an " : "a ") + kind + " has no " + what);
}

StepResult takeSnapshot(StepContext& c) {
  CDocument* document = documentInFront(c.app);
  if (!document || document->views().empty()) return unavailable(c);
  const std::string path = absolutePath(c.step.args[0]);
  Outcome done = c.app.documents.mayOutputTo(path);
  if (done) done = saveSnapshot(*document->views().front(), path);
  return done ? StepResult{true, {}, {{"path", path}}, "wrote " + path} : StepResult::failure(done.why());
}

// A script that closes without saving means it.
StepResult closeDocument(StepContext& c) {
  CDocument* document = documentInFront(c.app);
  if (!document) return noDocument();
  document->type()->discard(*document);
  return {};
}

// --- the camera

constexpr const char* kNoLive = "the live picture is not open";

// Turns the message loop until a question is answered, or so many seconds have gone.
template <class Question>
bool turnUntil(const CBasicApp& app, double seconds, const Question& isDone) {
  MessageLoop& loop = const_cast<CBasicApp&>(app).loop;
  const double end = steadySeconds() + seconds;
  while (!loop.hasQuit() && !isDone()) {
    if (steadySeconds() > end) return false;
    if (!loop.turn()) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

// "5s", "0.5s" and "300" with the unit that stands behind.
std::string checkLive(Arguments a) {
  return a[0].size() > 1 && a[0].back() == 's' && isNumber(a[0].substr(0, a[0].size() - 1)) &&
                 numberOf(a[0]) > 0
             ? ""
             : "a time is seconds with an s: 5s";
}

bool runsLive(StepContext& c, StepResult& failed) {
  const auto run = [&](int32_t command) { return c.app.runCommand(command) == CommandResult::Done; };
  if (!c.app.liveView && (!run(cmd::LiveVideo) || !c.app.liveView)) {
    failed = StepResult::failure(c.script.shown().empty() ? kNoLive : c.script.shown());
    return false;
  }
  c.app.liveView->startCamera();
  // Its first picture takes a moment to come.
  turnUntil(c.app, 10,
            [&] { return !c.app.camera || !c.app.camera->isRunning() || c.app.camera->frameCounter() > 0; });
  if (c.app.camera && c.app.camera->isRunning()) return true;
  failed = StepResult::failure(c.script.shown().empty() ? kNoLive : c.script.shown());
  return false;
}

StepResult runLive(StepContext& c) {
  StepResult result;
  if (!runsLive(c, result)) return result;
  const int32_t before = c.app.camera->frameCounter();
  turnUntil(c.app, numberOf(c.step.args[0]), [&] { return !c.app.camera || !c.app.camera->isRunning(); });
  if (!c.app.camera || !c.app.camera->isRunning())
    return StepResult::failure(c.script.shown().empty() ? "the camera stopped" : c.script.shown());
  const std::string frames = format("%i", c.app.camera->frameCounter() - before);
  return {true, {}, {{"frames", frames}}, frames + " frames"};
}

StepResult freezeLive(StepContext& c) {
  if (!c.app.liveView) return StepResult::failure(kNoLive);
  c.app.liveView->stopCamera();
  if (auto* view = dynamic_cast<CView*>(c.app.liveView)) c.app.documents.activate(view->document());
  return {};
}

// The window of the velocity input, for so long or until a buffer is full.
StepResult runVelocity(StepContext& c) {
  const auto failed = [&](const char* why) {
    return StepResult::failure(c.script.shown().empty() ? why : c.script.shown());
  };
  if (!process.floEnabled)
    return failed("the velocity input is switched off: key floEN of section Settings in the profile is 0");
  const CommandResult opened = c.app.runCommand(cmd::Flo1Monitor);
  if (opened != CommandResult::Done || !c.app.flo1View) return failed("the velocity input is not available");
  const int64_t before = c.app.samplesRead;
  c.app.flo1View->start();
  if (!c.app.flo1View->isRecording()) return failed("the velocity input did not start");
  turnUntil(c.app, numberOf(c.step.args[0]),
            [&] { return !c.app.flo1View || !c.app.flo1View->isRecording(); });
  if (!c.app.flo1View) return failed("the window of the velocity input was closed");
  c.app.flo1View->stop();
  if (auto* view = dynamic_cast<CView*>(c.app.flo1View)) c.app.documents.activate(view->document());
  const std::string samples = format("%lld", static_cast<long long>(c.app.samplesRead - before));
  const std::string told = c.script.shown().empty() ? "" : "\n" + c.script.shown();
  return {
      true, {}, {{"samples", samples}}, samples + " samples taken for spectra, of those that came" + told};
}

std::string checkRecord(Arguments a) {
  if (a.size() == 1) return checkLive(a);
  return a.size() == 2 && a[1] == "frames" && hasNumbers(a[0], 1) && numberOf(a[0]) >= 1
             ? ""
             : "record what: 300 frames, or 5s";
}

StepResult record(StepContext& c) {
  StepResult result;
  if (!runsLive(c, result)) return result;
  const bool counted = c.step.args.size() > 1;
  const double rate = std::max(1.0, c.app.camera->frameRate());
  const int32_t skip = std::max(0, settings.getInt("Dynamic settings", "skip frames", 0));
  const double seconds = counted ? numberOf(c.step.args[0]) * (skip + 1) / rate : numberOf(c.step.args[0]);
  constexpr const char* kSection = "Dynamic settings";
  const int32_t framesBefore = settings.getInt(kSection, "no of frames", 1800);
  const int32_t loopBefore = settings.getInt(kSection, "loop", 1);
  const double wanted = counted ? numberOf(c.step.args[0]) : std::ceil((seconds + 2) * rate / (skip + 1));
  settings.setInt(kSection, "no of frames", truncated(wanted));
  settings.setInt(kSection, "loop", 0);
  const CommandResult begun = c.app.runCommand(cmd::RecordSequence);
  settings.setInt(kSection, "no of frames", framesBefore);
  settings.setInt(kSection, "loop", loopBefore);
  if (begun != CommandResult::Done || !c.app.recorder || !c.app.recorder->isRecording() ||
      c.script.hadError())
    return StepResult::failure(c.script.shown().empty() ? "the recording did not begin" : c.script.shown());
  const auto ended = [&] { return !c.app.recorder || !c.app.recorder->isRecording(); };
  const bool full = turnUntil(c.app, counted ? seconds * 1.5 + 10 : seconds, ended);
  if (c.app.recorder) c.app.recorder->stopRecording();
  if (c.script.hadError()) return StepResult::failure(c.script.shown());
  auto* made = dynamic_cast<CDocument*>(c.app.recorder);
  if (made) c.app.documents.activate(*made);
  if (counted && !full) return StepResult::failure("the camera gave fewer frames than asked for");
  if (made) result.values = made->facts();
  result.text = c.script.shown().empty() && made ? "recorded " + made->title() : c.script.shown();
  return result;
}

constexpr size_t kAny = 1u << 20;
constexpr Verb kVerbs[] = {{"subject", 1, 4, selectSubject, checkSubject},
                           {"exam", 1, 3, startExam, checkExam},
                           {"open", 1, 2, openFile, checkOpen},
                           {"set", 3, 3, setValue},
                           {"roi", 1, 1, setRegion, checkRoi},
                           {"list", 1, 1, chooseList, checkList},
                           {"dim", 2, kAny, drawDimension, checkDim},
                           {"scan", 2, kAny, scanLine, checkScan},
                           {"command", 1, kAny, runCommand},
                           {"import", 1, 2, importFile, checkImport},
                           {"select", 2, 2, selectRange, checkSelect},
                           {"frame", 1, 1, showImage, checkNumber},
                           {"trace", 1, 1, chooseTrace},
                           {"save", 0, 1, saveDocument},
                           {"export", 1, 2, exportDocument},
                           {"results", 1, 1, printTable},
                           {"print", 1, 1, print, checkPrint},
                           {"snapshot", 1, 1, takeSnapshot},
                           {"live", 1, 1, runLive, checkLive},
                           {"doppler", 1, 1, runVelocity, checkLive},
                           {"freeze", 0, 0, freezeLive},
                           {"record", 1, 2, record, checkRecord},
                           {"close", 0, 0, closeDocument}};

}  // namespace

const Verb* findVerb(std::string_view word) {
  const auto* found = std::ranges::find(kVerbs, word, &Verb::word);
  return found == std::end(kVerbs) ? nullptr : found;
}

CDocument* documentInFront(const CBasicApp& app) {
  const std::vector<CDocument*>& open = app.documents.documents();
  const auto found = std::find_if(open.rbegin(), open.rend(), [](const CDocument* d) {
    return !d->collectsOverExams() || !d->pathName().empty();
  });
  return found == open.rend() ? nullptr : *found;
}

StepResult unavailable(const StepContext& c) {
  StepResult result = StepResult::failure(
      documentInFront(c.app) ? "the document in front has nothing for \"" + c.step.word + "\""
                             : "no document is open");
  result.known = false;
  return result;
}

}  // namespace tarnvisor
