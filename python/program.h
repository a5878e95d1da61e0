// The system itself within the Python process. It is one: its settings, its documents and its host exist
// once, so calls take turns, whatever thread they come from.
#pragma once

#include <locale.h>

#include <exception>
#include <functional>
#include <memory>
#include <string>

#include "base/files.h"
#include "batch/scriptprogram.h"
#include "bindings.h"

namespace tarnvisor::python {

// A call's turn: for as long as it lives other calls wait, and Python's other threads go on. A handler of
// signals that calls from within a call is refused by a Failure.
class Turn {
 public:
  Turn();
  ~Turn();
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

 private:
  py::gil_scoped_release released;
  locale_t own = nullptr, before = nullptr;
};

// The running system. Its settings are a copy in a folder of its own, which goes with it, and so does its
// log: nothing is left of it but the files that were asked for.
class Program {
 public:
  struct Options {
    std::string dataFolder;  // empty for none
    std::string profile;     // a file of settings to copy; empty for the factory ones
    bool sound = false;      // with the velocity input
  };
  explicit Program(const Options& options);  // throws Failure
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  // The one that runs; null for none.
  static Program* running();
  // Within a turn: the one that runs, or one that runs for this work alone.
  static void with(const std::function<void(ScriptProgram&)>& work);

  ScriptProgram& script() { return *system; }
  // What a handler of signals raised while work went on, to be thrown to Python once that is through. The
  // work stops as by Cancel.
  void throwInterruption();

 private:
  bool mayGoOn();
  TemporaryFolder folder{"python"};
  std::unique_ptr<ScriptProgram> system;
  std::exception_ptr interruption;
  double asked = 0;  // when signals were looked for last
};

}  // namespace tarnvisor::python
