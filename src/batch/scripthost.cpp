#include "batch/scripthost.h"

#include <algorithm>
#include <filesystem>

#include "app/basicapp.h"
#include "base/files.h"
#include "base/text.h"
#include "batch/pictures.h"

namespace tarnvisor {

void ScriptHost::begin(std::vector<std::string> stepAnswers) {
  answers = std::move(stepAnswers);
  messages.clear();
  wrong.clear();
  sawError = false;
}

std::string ScriptHost::shown() const {
  std::string all;
  for (const std::string& message : messages) all += (all.empty() ? "" : "\n") + message;
  return all;
}

// Takes the next answer if it is one of the words.
bool ScriptHost::takeWord(std::initializer_list<const char*> words, std::string& taken) {
  if (answers.empty()) return false;
  for (const char* word : words)
    if (equalIgnoringCase(answers.front(), word)) {
      taken = word;
      answers.erase(answers.begin());
      return true;
    }
  return false;
}

Answer ScriptHost::show(const std::string& text, Buttons buttons, Icon icon) {
  messages.push_back(text);
  sawError = sawError || icon == Icon::Error || icon == Icon::Warning;
  std::string word;
  if (buttons == Buttons::Ok) {
    takeWord({"ok"}, word);
    return Answer::Ok;
  }
  if (takeWord({"yes", "no", "ok", "cancel"}, word) && (word == "yes" || word == "ok"))
    return buttons == Buttons::OkCancel ? Answer::Ok : Answer::Yes;
  if (!word.empty())
    return word == "yes"  ? Answer::Yes
           : word == "no" ? Answer::No
           : word == "ok" ? Answer::Ok
                          : Answer::Cancel;
  // Nobody said yes, so nothing is lost by it; nor is what was asked for done.
  if (wrong.empty()) wrong = "\"" + text + "\" is asked, and the step does not answer";
  return buttons == Buttons::YesNo ? Answer::No : Answer::Cancel;
}

void ScriptHost::needs(const std::string& title, const char* what) {
  if (wrong.empty()) wrong = format("\"%s\" asks for %s, and the step names none", title.c_str(), what);
}

// A path that is answered is meant from where the script runs. Nothing for "cancel".
std::optional<std::string> ScriptHost::takePath() {
  std::string word;
  if (takeWord({"cancel"}, word) || answers.empty()) return std::nullopt;
  std::error_code error;
  const auto path = std::filesystem::absolute(answers.front(), error);
  std::string taken = error || answers.front().empty() ? answers.front() : path.lexically_normal().string();
  answers.erase(answers.begin());
  return taken;
}

std::optional<std::string> ScriptHost::pathFor(const std::string& title, const char* what) {
  if (answers.empty()) needs(title, what);
  return takePath();
}

std::optional<std::string> ScriptHost::openFile(const FileRequest& request) {
  return pathFor(request.title, "a file");
}

std::optional<std::string> ScriptHost::saveFile(const FileRequest& request) {
  const bool namesNone = answers.empty() || equalIgnoringCase(answers.front(), "yes") ||
                         equalIgnoringCase(answers.front(), "no");
  if (namesNone && !request.initialPath.empty()) {
    const std::string words = request.initialPath + " already exists. Replace it?";
    if (fileExists(request.initialPath) && show(words, Buttons::YesNo, Icon::Question) != Answer::Yes)
      return std::nullopt;
    return request.initialPath;
  }
  auto path = pathFor(request.title, "a file");
  if (path && !path->empty() && path->find('.', path->find_last_of('/') + 1) == std::string::npos)
    *path += request.defaultExtension;
  return path;
}

std::vector<std::string> ScriptHost::openFiles(const FileRequest& request) {
  std::vector<std::string> paths;
  if (answers.empty()) needs(request.title, "files");
  while (auto path = takePath()) paths.push_back(*path);
  return paths;
}

std::optional<std::string> ScriptHost::chooseFolder(const std::string& title, const std::string&) {
  return pathFor(title.substr(0, title.find('\n')), "a folder");
}

// Paper is a PDF file that the step names.
bool ScriptHost::print(const std::string& title, const Draw& draw) {
  const auto path = takePath();
  Outcome done =
      path ? theApp().documents.mayOutputTo(*path)
           : Outcome::failure("\"" + title + "\" is printed to a PDF file, and the step names none");
  if (done) done = printToPdf(title, draw, *path);
  if (!done) wrong = done.why();
  return static_cast<bool>(done);
}

namespace {

// The field whose label an answer names.
const FormField* labelled(const Form& form, const std::string& answer) {
  const size_t equals = answer.find('=');
  return equals == std::string::npos ? nullptr : form.find(answer.substr(0, equals));
}

}  // namespace

// Answers of the form label=value whose label the form has.
bool ScriptHost::applyLabelled(const Form& form) {
  for (auto at = answers.begin(); at != answers.end();) {
    const FormField* field = labelled(form, *at);
    if (!field) {
      ++at;
      continue;
    }
    wrong = field->take(at->substr(at->find('=') + 1));
    if (!wrong.empty()) return false;
    at = answers.erase(at);
  }
  return true;
}

bool ScriptHost::run(Form& form) {
  std::string word;
  if (takeWord({"cancel"}, word)) return false;
  std::vector<std::string> before;
  for (const FormField& field : form.fields()) before.push_back(field.value());
  const bool beginsWithLabel = !answers.empty() && labelled(form, answers.front());
  if (!applyLabelled(form) || (!beginsWithLabel && !applyPlain(form))) {
    // A refused form stores nothing.
    for (size_t i = 0; i < before.size(); ++i)
      if (form.fields()[i].kind != FormField::Kind::Note && !form.fields()[i].readOnly)
        form.fields()[i].take(before[i]);
    return false;
  }
  takeWord({"ok", "yes"}, word);
  form.changed();
  return true;
}

// One answer without a label, before those that have one, goes to the first field. What stands behind is for
// later questions.
bool ScriptHost::applyPlain(const Form& form) {
  for (const FormField& field : form.fields()) {
    if (field.kind == FormField::Kind::Note || field.readOnly) continue;
    if (answers.empty() || answers.front().find('=') != std::string::npos) return true;
    const std::string next = answers.front();
    const bool isWord =
        equalIgnoringCase(next, "yes") || equalIgnoringCase(next, "no") || equalIgnoringCase(next, "ok");
    if (isWord && field.kind != FormField::Kind::Check) return true;
    wrong = field.take(next);
    if (!wrong.empty()) return false;
    answers.erase(answers.begin());
    return true;
  }
  return true;
}

}  // namespace tarnvisor
