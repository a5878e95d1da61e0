#include "batch/runner.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

#include "base/files.h"
#include "base/text.h"
#include "batch/pictures.h"
#include "dynamic/vivocapdoc.h"
#include "exams/subjectselection.h"
#include "imagedoc/processing.h"
#include "imagedoc/zbasicdoc.h"
#include "results/resultdoc.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

std::string absolutePath(const std::string& path) {
  return std::filesystem::absolute(path).lexically_normal().string();
}

std::string printable(const std::string& notes) {
  std::string text;
  for (const char c : notes)
    if (c != '\r') text += c;
  if (!text.empty() && text.back() != '\n') text += '\n';
  return text;
}

const char* kindOf(const CDim& dimension) {
  const std::string name = dimension.classRecord().name;
  if (name == "CDimCircle") return "circle";
  if (name == "CDimPolygon") return "polygon";
  if (name == "CDimRect") return "rect";
  return dimension.points.size() == 1 ? "point" : dimension.points.size() == 2 ? "line" : "polyline";
}

std::string dimensionLines(const ZBasicDoc& document) {
  std::string text = "number,kind,length,area,points\n";
  const Scale s = document.scale();
  const auto& items = document.currentDims().items;
  for (size_t i = 0; i < items.size(); ++i) {
    const CDim& d = *items[i];
    text += format("%zu,%s,%.3f,%.3f,", i + 1, kindOf(d), d.Length(s.x, s.y), d.Area(s.x, s.y));
    for (size_t p = 0; p < d.points.size(); ++p)
      text += format(p ? " %i %i" : "%i %i", d.points[p].x, d.points[p].y);
    text += '\n';
  }
  return text;
}

// The movie kinds that a video is exported as.
bool isVideoName(const std::string& path) {
  const std::string kind = lowerCase(extensionOf(path));
  return kind == "avi" || kind == "mve";
}

}  // namespace

std::string imageStatus(const ZBasicDoc& image) {
  const Rect area = image.roiOrWhole();
  const Scale s = image.scale();
  return format(
      "title %s\nsize %i x %i\nroi %i,%i,%i,%i%s\nlist %i: %zu dimensions\nscale %g x %g %s/pixel\n"
      "changed %s\n",
      image.title().c_str(), image.theImage() ? image.theImage()->width : 0,
      image.theImage() ? image.theImage()->frameHeight() : 0, area.left, area.top, area.right, area.bottom,
      image.hasCircularRoi() ? " circle" : "", image.currentlist, image.currentDims().items.size(), s.x, s.y,
      image.unitName().c_str(), image.isModified() ? "yes" : "no");
}

int ScriptRunner::run(const std::vector<Step>& steps, bool keepGoing) {
  int code = 0;
  for (const Step& step : steps) {
    const StepResult result = runStep(step);
    report(step, result);
    if (script.closeWanted()) return result.ok ? code : 1;
    if (result.ok) continue;
    code = 1;
    if (!keepGoing) break;
  }
  return code;
}

void ScriptRunner::report(const Step& step, const StepResult& result) const {
  if (asJson) {
    std::string line = "{\"step\":" + jsonQuoted(step.line()) + ",\"ok\":" + (result.ok ? "true" : "false");
    if (!result.ok) line += ",\"error\":" + jsonQuoted(result.why);
    for (const auto& [name, value] : result.values) line += "," + jsonQuoted(name) + ":" + jsonQuoted(value);
    if (!result.text.empty()) line += ",\"text\":" + jsonQuoted(result.text);
    std::printf("%s}\n", line.c_str());
  } else if (!result.text.empty()) {
    std::fputs(result.text.c_str(), stdout);
    if (result.text.back() != '\n') std::fputc('\n', stdout);
  }
  std::fflush(stdout);
  if (!result.ok)
    std::fprintf(stderr, "%s: %s: %s\n", step.where().c_str(), step.line().c_str(), result.why.c_str());
}

StepResult ScriptRunner::runStep(const Step& step) {
  struct Row {
    const char* word;
    StepResult (ScriptRunner::*does)(const Step&);
  };
  using R = ScriptRunner;
  static constexpr Row rows[] = {
      {"subject", &R::subject}, {"exam", &R::exam},         {"open", &R::open},
      {"set", &R::set},         {"roi", &R::roi},           {"list", &R::list},
      {"dim", &R::dim},         {"command", &R::command},   {"import", &R::import},
      {"save", &R::save},       {"export", &R::exportStep}, {"results", &R::results},
      {"print", &R::print},     {"snapshot", &R::snapshot}, {"close", &R::close},
      {"select", &R::select},   {"frame", &R::frame},       {"trace", &R::trace}};
  script.begin({});
  const auto row =
      std::find_if(std::begin(rows), std::end(rows), [&](const Row& r) { return step.word == r.word; });
  StepResult result = row == std::end(rows) ? unavailable(step) : (this->*row->does)(step);
  // Commands that a command posted belong to its step.
  while (app.loop.hasPosted() && !app.loop.hasQuit()) (void)app.loop.turn();
  if (result.ok && !script.problem().empty()) result = StepResult::failure(script.problem());
  if (result.ok && script.hadError()) result = StepResult::failure(script.shown());
  if (const auto unused = script.unused(); result.ok && !unused.empty())
    result = StepResult::failure("nothing asked for the answer \"" + unused.front() + "\"");
  return result;
}

ZBasicDoc* ScriptRunner::frontImage() const { return dynamic_cast<ZBasicDoc*>(app.documents.active()); }

StepResult ScriptRunner::unavailable(const Step& step) {
  return StepResult::failure(app.documents.active()
                                 ? "the document in front has nothing for \"" + step.word + "\""
                                 : "no document is open");
}

StepResult ScriptRunner::subject(const Step& step) {
  if (!app.db) return StepResult::failure("there is no subject database; name a data folder with --data");
  SubjectDialog dialog;
  dialog.id = replaced(step.args[0], ' ', '_');
  if (!app.db->readSubject(dialog.id)) dialog.addAsNewId();
  dialog.chooseId(dialog.id);
  if (app.subjectId != dialog.id) return StepResult::failure("the subject can't be written to the database");
  app.examId = -1;
  app.examFolder.clear();
  if (app.onSelectionChanged) app.onSelectionChanged();
  dialog.finish(SubjectDialog::Result::ViewExaminations);
  return {true, {}, {{"subject", app.subjectId}}, {}};
}

StepResult ScriptRunner::exam(const Step& step) {
  if (!app.db) return StepResult::failure("there is no subject database; name a data folder with --data");
  if (app.subjectId.empty()) return StepResult::failure("no subject is selected");
  // The result tables go on collecting over the exams of a study; everything else closes.
  const std::vector<CDocument*> open = app.documents.documents();
  for (const CDocument* document : open)
    if (document->isModified() && !dynamic_cast<const CResultDoc*>(document))
      return StepResult::failure(document->title() + " has changes; save or close it first");
  for (CDocument* document : open)
    if (!dynamic_cast<CResultDoc*>(document)) document->type()->discard(*document);
  if (!makeExamination(step.args[0], step.args.size() > 1 ? step.args[1] : ""))
    return StepResult::failure(script.shown().empty() ? "the examination can't be started" : script.shown());
  return {true, {}, {{"exam", format("%i", app.examId)}, {"folder", app.dataFolder + app.examFolder}}, {}};
}

StepResult ScriptRunner::open(const Step& step) {
  const std::string& path = step.args[0];
  if (!fileExists(path)) return StepResult::failure(path + " does not exist");
  CDocument* document = app.openDocumentFile(path);
  if (!document)
    return StepResult::failure(script.shown().empty() ? path + " can't be opened" : script.shown());
  StepResult result{true, {}, {{"title", document->title()}}, {}};
  if (const ZBasicDoc* image = dynamic_cast<ZBasicDoc*>(document); image && image->hasImage()) {
    result.values.emplace_back("width", format("%i", image->theImage()->width));
    result.values.emplace_back("height", format("%i", image->theImage()->height));
  }
  return result;
}

StepResult ScriptRunner::set(const Step& step) {
  settings.setString(step.args[0], step.args[1], step.args[2]);
  if (settings.getString(step.args[0], step.args[1], "") !=
      step.args[2].substr(0, CSettingsFile::kLongestValue))
    return StepResult::failure("the profile can't be written: " + settings.path());
  readProcessingSettings();
  app.rereadSettings();
  return {};
}

StepResult ScriptRunner::roi(const Step& step) {
  ZBasicDoc* document = frontImage();
  if (!document) return unavailable(step);
  if (step.args[0] == "none") {
    document->roi = document->roicircle = {};
  } else if (step.args[0] == "circle") {
    if (document->roi.isEmpty()) return StepResult::failure("there is no ROI to make circular");
    if (!document->hasCircularRoi()) document->makeRoiCircular();
  } else {
    const std::vector<int32_t> n = step.numbers(0);
    Rect wanted = Rect{n[0], n[1], n[2], n[3]}.normalised();
    if (const CZZimage* image = document->theImage())
      wanted = wanted.intersected({image->xOrigin, image->yOrigin * (image->isField() ? 2 : 1),
                                   image->xOrigin + image->width,
                                   image->yOrigin * (image->isField() ? 2 : 1) + image->frameHeight()});
    if (wanted.isEmpty()) return StepResult::failure("the ROI is empty or lies outside the image");
    document->roi = wanted;
    document->roicircle = {};
  }
  document->setModified();
  document->updateAllViews();
  return {};
}

StepResult ScriptRunner::list(const Step& step) {
  ZBasicDoc* document = frontImage();
  if (!document) return unavailable(step);
  document->setCurrentList(step.numbers(0)[0]);
  return {};
}

StepResult ScriptRunner::dim(const Step& step) {
  ZBasicDoc* document = frontImage();
  if (!document) return unavailable(step);
  static constexpr std::pair<const char*, int32_t> kTypes[] = {
      {"point", 0},  {"line", 1},    {"polyline", 2}, {"freehand", 3},
      {"circle", 4}, {"polygon", 5}, {"rect", 6}};
  const auto* type = std::find_if(std::begin(kTypes), std::end(kTypes),
                                  [&](const auto& t) { return step.args[0] == t.first; });
  int32_t index = -1;
  for (size_t i = 1; i < step.args.size(); ++i) {
    const std::vector<int32_t> n = step.numbers(i);
    const Point point{n[0], n[1]};
    if (index < 0) {
      index = document->addDimension(point, type->second);
    } else if (document->addPointToDimension(index, point) < 0) {
      document->deleteDimension(index);
      return StepResult::failure("the point can't be added");
    }
  }
  if (type->second == 5) document->currentDims().items[static_cast<size_t>(index)]->Close();
  document->updateAllViews();
  return {true, {}, {{"dimension", format("%i", index + 1)}}, {}};
}

StepResult ScriptRunner::runCommandText(const std::string& text, std::vector<std::string> answers) {
  script.begin(std::move(answers));
  const std::vector<CommandTarget*> chain = app.commandChain();
  char* end = nullptr;
  const long id = std::strtol(text.c_str(), &end, 10);
  const bool byId = !text.empty() && *end == '\0';
  const CommandResult done =
      byId ? routeCommand(chain, static_cast<int32_t>(id)) : routeCommand(chain, std::string_view(text));
  if (done == CommandResult::Unknown)
    return StepResult::failure(app.documents.active() ? "there is no such command here"
                                                      : "there is no such command; no document is open");
  if (done == CommandResult::Disabled) return StepResult::failure("the command is not enabled now");
  StepResult result;
  if (!script.shown().empty()) {
    result.values.emplace_back("message", script.shown());
    if (!script.hadError()) result.text = script.shown();
  }
  return result;
}

StepResult ScriptRunner::select(const Step& step) {
  if (CVivoCapDoc* video = frontVideo()) return selectImages(*video, step);
  if (ZchartView* chart = frontChart()) return selectInChart(*chart, step);
  return unavailable(step);
}

StepResult ScriptRunner::command(const Step& step) {
  return runCommandText(step.args[0], {step.args.begin() + 1, step.args.end()});
}

StepResult ScriptRunner::import(const Step& step) { return runCommandText("Import", {step.args[0]}); }

// A bare name goes to the folder of the selected exam, where the database looks for it; a path is a path.
StepResult ScriptRunner::save(const Step& step) {
  CDocument* document = app.documents.active();
  if (!document) return unavailable(step);
  std::string path = step.args.empty() ? document->pathName() : step.args[0];
  if (path.empty()) path = document->defaultPathName();
  if (!step.args.empty() && folderOf(path).empty() && app.examId >= 0)
    path = app.dataFolder + app.examFolder + kSeparator + path;
  path = absolutePath(document->withOwnEnding(path));
  const bool same = path == document->pathName();
  if (!(same ? document->save() : document->onSaveDocument(path)))
    return StepResult::failure(script.shown().empty() ? path + " was not saved" : script.shown());
  if (!same) document->setPathName(path);
  return {true, {}, {{"path", path}}, "saved " + path};
}

StepResult ScriptRunner::exportStep(const Step& step) {
  CDocument* document = app.documents.active();
  if (!document) return unavailable(step);
  const std::string path = absolutePath(step.args[0]);
  const bool table = equalIgnoringCase(extensionOf(path), "csv");
  // An image's tables are documents of their own; the one that was added to last is meant.
  CResultDoc* rows = dynamic_cast<CResultDoc*>(document);
  if (table && !rows) rows = lastResultDocument();
  if (table && !rows) return StepResult::failure("there is no table to export");
  if (rows) {
    if (!table) return StepResult::failure("a table is exported as .csv");
    const Outcome done = rows->exportCsv(path);
    return done ? StepResult{true, {}, {{"path", path}}, "exported " + path}
                : StepResult::failure(done.why());
  }
  if (ZchartView* chart = frontChart()) return exportChart(*chart, path);
  if (CVivoCapDoc* video = frontVideo(); video && isVideoName(path)) return exportVideo(*video, path);
  ZBasicDoc* image = frontImage();
  if (!image || !image->hasImage()) return unavailable(step);
  if (!image->saveImage(path)) return StepResult::failure(script.shown());
  return {true, {}, {{"path", path}}, "exported " + path};
}

StepResult ScriptRunner::results(const Step& step) {
  const CResultDoc* rows = findResultDocument(step.args[0]);
  if (!rows) return StepResult::failure("there is no result table \"" + step.args[0] + "\"");
  return {true, {}, {}, rows->asText()};
}

StepResult ScriptRunner::print(const Step& step) {
  CDocument* document = app.documents.active();
  if (!document) return unavailable(step);
  const std::string& what = step.args[0];
  if (const auto* bound = dynamic_cast<CdbDocument*>(document); bound && what == "result")
    return {
        true, {}, {{"result", bound->resultText}}, bound->resultText.empty() ? "" : bound->resultText + "\n"};
  if (ZchartView* chart = frontChart()) return printChart(*chart, what);
  ZBasicDoc* image = frontImage();
  if (!image) return unavailable(step);
  if (what == "notes") return {true, {}, {}, printable(image->notes)};
  if (what == "dims") return {true, {}, {}, dimensionLines(*image)};
  if (CVivoCapDoc* video = frontVideo(); video && (what == "offsets" || what == "fps" || what == "status"))
    return printVideo(*video, what);
  if (what != "status") return StepResult::failure("an image has no " + what);
  return {true, {}, {}, imageStatus(*image)};
}
StepResult ScriptRunner::snapshot(const Step& step) {
  CDocument* document = app.documents.active();
  if (!document || document->views().empty()) return unavailable(step);
  const std::string path = absolutePath(step.args[0]);
  const Outcome done = saveSnapshot(*document->views().front(), path);
  return done ? StepResult{true, {}, {{"path", path}}, "wrote " + path} : StepResult::failure(done.why());
}

// A script that closes without saving means it.
StepResult ScriptRunner::close(const Step& step) {
  CDocument* document = app.documents.active();
  if (!document) return unavailable(step);
  document->type()->discard(*document);
  return {};
}

}  // namespace tarnvisor
