// The steps of the script language, and the session in which they run.
#include <algorithm>
#include <cstdlib>

#include "base/files.h"
#include "base/text.h"
#include "batch/demonstration.h"
#include "batch/runner.h"
#include "batch/verbs.h"
#include "program.h"
#include "reading.h"
#include "results/resultdoc.h"

namespace tarnvisor::python {

namespace {

struct StepRun {
  Step step;
  bool ok;
  std::string why;
  std::string json;
  std::vector<std::string> warnings;
};

// Keeps what the batch program would print.
class GatheringRunner final : public ScriptRunner {
 public:
  explicit GatheringRunner(Program& of)
      : ScriptRunner(of.script().app, of.script().host, true), program(of) {}
  std::vector<StepRun> done;

 protected:
  void report(const Step& step, const StepResult& result) override {
    done.push_back({step, result.ok, result.why, jsonOf(step, result), {}});
    program.throwInterruption();
  }
  void warn(const std::string& line) override {
    if (!done.empty()) done.back().warnings.push_back(line);
  }

 private:
  Program& program;
};

py::list resultsOf(const std::vector<StepRun>& done) {
  const py::object parse = py::module_::import("json").attr("loads");
  py::list results;
  for (const StepRun& run : done) {
    py::object result = parse(text(run.json));
    if (!run.warnings.empty()) {
      py::list lines;
      for (const std::string& line : run.warnings) lines.append(text(line));
      result["warnings"] = lines;
    }
    results.append(result);
  }
  return results;
}

// ScriptError, with what a program wants to know of it. step: empty for one that could not be read.
[[noreturn]] void raise(const std::string& words, const std::string& source, int line,
                        const std::string& step, const std::vector<StepRun>& done) {
  const py::object type = py::module_::import("tarnvisor._core").attr("ScriptError");
  py::object error = type(text(words));
  error.attr("results") = resultsOf(done);
  error.attr("source") = text(source);
  error.attr("line") = line;
  error.attr("step") = text(step);
  PyErr_SetObject(type.ptr(), error.ptr());
  throw py::error_already_set();
}

// A text of lines, a sequence of lines, or the path of a script.
std::vector<Step> stepsOf(const py::object& given) {
  std::string source = "steps", script;
  if (py::isinstance<py::str>(given)) {
    script = given.cast<std::string>();
  } else if (py::hasattr(given, "__fspath__")) {
    source = existingFile(given);
    const auto read = readWholeFile(source, uint64_t{64} << 20);
    if (!read) throw Failure(source + " can't be read");
    script.assign(read->begin(), read->end());
  } else {
    for (const py::handle line : given) {
      if (!py::isinstance<py::str>(line)) throw py::type_error("a step is a str");
      script += line.cast<std::string>() + "\n";
    }
  }
  std::vector<Step> steps;
  // Its words begin with source and line.
  if (const std::string wrong = parseScript(script, source, steps); !wrong.empty())
    raise(std::string(trimmed(wrong)), source, std::atoi(wrong.c_str() + source.size() + 1), "", {});
  return steps;
}

bool needsSound(const std::vector<Step>& steps) {
  return std::ranges::find(steps, "doppler", &Step::word) != steps.end();
}

class Session {
 public:
  Session(const py::object& data, const py::object& profile, bool sound) {
    const Program::Options options{data.is_none() ? "" : pathOf(data),
                                   profile.is_none() ? "" : existingFile(profile), sound};
    const Turn turn;
    if (Program::running())
      throw Failure("A session is open in this process already; close it before the next begins.");
    program = std::make_unique<Program>(options);
    last = this;
  }
  ~Session() {
    try {
      close();
    } catch (const Failure&) {
      static_cast<void>(program.release());  // within a handler of signals, which can't wait for the call
    }
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  void close() {
    const Turn turn;
    end();
  }
  static void closeLast() {
    if (last) last->close();
  }
  bool isClosed() const { return !program; }

  py::list run(const std::vector<Step>& steps, bool keepGoing) {
    std::vector<StepRun> done;
    {
      const Turn turn;
      if (needsSound(steps) && !open().script().velocity)
        throw Failure("The step doppler needs a session with sound=True.");
      GatheringRunner runner(open());
      static_cast<void>(runner.run(steps, keepGoing));
      done = std::move(runner.done);
      if (open().script().host.closeWanted()) end();  // a step was the command Exit
    }
    if (!keepGoing && !done.empty() && !done.back().ok) {
      const Step& step = done.back().step;
      raise(step.where() + ": " + step.line() + ": " + done.back().why, step.source, step.lineNumber,
            step.line(), done);
    }
    return resultsOf(done);
  }

  // The document that steps mean; nothing when there is none.
  std::optional<DocumentContents> document() {
    const Turn turn;
    CDocument* front = documentInFront(open().script().app);
    return front ? std::optional(copyOf(*front)) : std::nullopt;
  }

  std::optional<DocumentContents> table(const std::string& title) {
    const Turn turn;
    static_cast<void>(open());
    CResultDoc* found = findResultDocument(title);
    return found ? std::optional(copyOf(*found)) : std::nullopt;
  }

  std::string makeDemonstration() {
    const Turn turn;
    CBasicApp& app = open().script().app;
    if (const std::string problem = tarnvisor::makeDemonstration(app); !problem.empty())
      throw Failure(problem);
    return theExams().folder();
  }

 private:
  Program& open() {
    if (!program) throw Failure("The session is closed.");
    return *program;
  }
  void end() {
    program.reset();
    if (last == this) last = nullptr;
  }
  inline static Session* last = nullptr;  // that is open
  std::unique_ptr<Program> program;
};

}  // namespace

void bindScript(py::module_& module) {
  py::class_<Session, std::shared_ptr<Session>>(
      module, "Session",
      "The running system, for the steps of the script language: documents, subject and exam stay from one run to the "
      "next. There is one at a time in a process. Works on a copy of its settings.")
      .def(
          py::init<const py::object&, const py::object&, bool>(), py::arg("data") = py::none(),
          py::arg("profile") = py::none(), py::arg("sound") = false,
          "data: a data folder with its subjects, made when missing. profile: a file of settings; without one the "
          "factory ones count. It is read and never written. sound: with the velocity input, for the step doppler.")
      .def(
          "run",
          [](Session& s, const py::object& steps, bool keepGoing) {
            return s.run(stepsOf(steps), keepGoing);
          },
          py::arg("steps"), py::arg("keep_going") = false,
          "Runs steps: a text, a sequence of lines, or the path of a script. Returns a dict a step, as tarnvisor-batch "
          "--json prints it, with the lines of standard error as 'warnings'. ScriptError at the first step that fails, "
          "unless keep_going.")
      .def("document", &Session::document,
           "A copy of the document that steps mean, as it stands; None without one.")
      .def(
          "table",
          [](Session& s, const std::string& title) {
            const auto found = s.table(title);
            return found ? found->table : nullptr;
          },
          py::arg("title"), "A copy of the open result Table of that title; None when there is none.")
      .def(
          "make_demonstration", [](Session& s) { return text(s.makeDemonstration()); },
          "Makes the demonstration's subject in the data folder and selects its exam; the folder of that.")
      .def("close", &Session::close,
           "Closes all documents without saving and ends the system. Once is enough.")
      .def_property_readonly("closed", &Session::isClosed)
      .def("__enter__", [](const std::shared_ptr<Session>& s) { return s; })
      .def("__exit__", [](Session& s, const py::args&) { s.close(); });
  module.def(
      "run",
      [](const py::object& given, const py::object& data, const py::object& profile, bool keepGoing) {
        const std::vector<Step> steps = stepsOf(given);
        return Session(data, profile, needsSound(steps)).run(steps, keepGoing);
      },
      py::arg("steps"), py::arg("data") = py::none(), py::arg("profile") = py::none(),
      py::arg("keep_going") = false,
      "Session(data, profile).run(steps, keep_going) in a session of its own.");
  // One that is open when Python ends would leave its folder behind.
  py::module_::import("atexit").attr("register")(py::cpp_function(&Session::closeLast));
}

}  // namespace tarnvisor::python
