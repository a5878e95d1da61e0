#include "program.h"

#include <dlfcn.h>

#include <atomic>
#include <mutex>
#include <thread>

#include "base/clock.h"
#include "image/palette.h"
#include "settings/log.h"
#include "settings/settings.h"

namespace tarnvisor::python {

namespace {

std::mutex turns;
std::atomic<std::thread::id> whoseTurn;
Program* theRunning = nullptr;

// Where the module was installed with what the system reads of its installation.
std::string moduleFolder() {
  Dl_info found = {};
  return ::dladdr(reinterpret_cast<void*>(&moduleFolder), &found) ? folderOf(absolutePath(found.dli_fname))
                                                                  : "";
}

void forgetSettings() {
  settings.setPath({});
  hwSettings.setPath({});
  setLogging(false);
  resetPaletteSettings();
}

}  // namespace

Turn::Turn() {
  if (whoseTurn == std::this_thread::get_id())
    throw Failure("A handler of signals can't call the system that it interrupts.");
  turns.lock();
  whoseTurn = std::this_thread::get_id();
  own = ::newlocale(LC_NUMERIC_MASK, "C", ::duplocale(LC_GLOBAL_LOCALE));
  before = ::uselocale(own);
}

Turn::~Turn() {
  ::uselocale(before);
  if (own) ::freelocale(own);
  whoseTurn = std::thread::id();
  turns.unlock();
}

Program* Program::running() { return theRunning; }

Program::Program(const Options& options) {
  const std::string own = folder.file("settings.ini");
  if (own.empty()) throw Failure("There is no place for temporary files.");
  if (!options.profile.empty())
    if (const Outcome copied = copyFile(options.profile, own); !copied) throw Failure(copied.why());
  if (const std::string hardware = withoutExtension(options.profile) + ".HW";
      !options.profile.empty() && fileExists(hardware))
    if (const Outcome copied = copyFile(hardware, folder.file("settings.HW")); !copied)
      throw Failure(copied.why());
  system = std::make_unique<ScriptProgram>();
  if (options.sound) system->useVelocityInput();
  StartOptions start;
  start.programPath = moduleFolder() + "tarnvisor";
  start.profilePath = own;
  start.dataFolder = options.dataFolder.empty() ? "" : absolutePath(options.dataFolder);
  start.logLine = "python";
  if (!system->start(start) || system->host.hadError()) {
    const std::string why = system->host.shown();
    system.reset();
    forgetSettings();
    throw Failure(why.empty() ? "The system can't start." : why);
  }
  system->host.mayGoOn = [this] { return mayGoOn(); };
  theRunning = this;
}

Program::~Program() {
  theRunning = nullptr;
  if (system) system->app.exitInstance();
  system.reset();
  forgetSettings();
}

void Program::with(const std::function<void(ScriptProgram&)>& work) {
  std::unique_ptr<Program> own;
  if (!theRunning) own = std::make_unique<Program>(Options());
  Program& program = *theRunning;
  try {
    work(program.script());
  } catch (const Failure&) {
    program.throwInterruption();  // why it failed
    throw;
  }
  program.throwInterruption();
}

bool Program::mayGoOn() {
  constexpr double kBetweenSeconds = 0.05;  // taking Python's lock costs more than a small step
  if (interruption) return false;
  if (steadySeconds() - asked < kBetweenSeconds) return true;
  asked = steadySeconds();
  const py::gil_scoped_acquire python;
  if (PyErr_CheckSignals() != 0) interruption = std::make_exception_ptr(py::error_already_set());
  return !interruption;
}

void Program::throwInterruption() {
  asked = 0;
  (void)mayGoOn();
  if (interruption) std::rethrow_exception(std::exchange(interruption, nullptr));
}

}  // namespace tarnvisor::python
