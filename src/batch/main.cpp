// tarnvisor-batch: the system without windows, driven by a script.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "assembly/assembly.h"
#include "base/files.h"
#include "batch/demonstration.h"
#include "batch/runner.h"
#include "batch/script.h"
#include "batch/scripthost.h"
#include "doppler/dopplerinput.h"
#include "frame/mainframe.h"
#include "settings/profileuse.h"

namespace {

// The workstation's program file, whose profile a script uses: it stands beside this one.
std::string workstationPath() {
  std::error_code error;
  const auto self = std::filesystem::read_symlink("/proc/self/exe", error);
  return ((error ? std::filesystem::path("./") : self.parent_path()) / "tarnvisor").string();
}

}  // namespace

int main(int argc, char** argv) {
  using namespace tarnvisor;
  const BatchOptions options = parseBatchOptions({argv + 1, argv + argc});
  if (!options.message.empty()) std::fputs(options.message.c_str(), options.exitCode == 0 ? stdout : stderr);
  if (options.exitCode >= 0) return options.exitCode;

  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error in words
  registerStoredClasses();
  ScriptHost script;
  const HostScope scope(script.ports);
  CBasicApp app;
  const ExamSelection exams(app);
  const CBasicMainFrame frame(app);
  // The computer's sound is left alone by runs that don't use it.
  std::optional<DopplerInput> velocity;
  if (std::ranges::find(options.steps, "doppler", &Step::word) != options.steps.end()) velocity.emplace(app);
  StartOptions start;
  start.programPath = workstationPath();
  start.profilePath = options.profile;
  start.documentTable = documentTable();
  start.listenForOthers = false;
  start.askForDataFolder = false;
  start.keepWorkingFolder = true;
  start.remembersFiles = false;
  start.dataFolder = options.dataFolder;
  const bool made = !options.profile.empty() && !fileExists(options.profile);
  const ProfileClaim claim(options.profile);
  std::optional<TemporaryFolder> copy;
  if (options.profile.empty() ? !options.keepSettings : !claim.isOurs())
    start.settingsCopy = copy.emplace("settings").file("settings.ini");
  if (!claim.isOurs())
    std::fprintf(stderr, "%s is in use by another run: this one works on a copy\n", options.profile.c_str());
  for (int i = 0; i < argc; ++i) start.logLine += std::string(i ? " " : "") + argv[i];
  if (!app.initInstance(start)) {
    std::fprintf(stderr, "tarnvisor-batch can't start: %s\n", script.shown().c_str());
    return 1;
  }
  if (made)
    std::fprintf(stderr, "%s %s\n", options.profile.c_str(),
                 fileExists(options.profile) ? "is made from the factory settings"
                                             : "can't be made; the settings are not kept");
  int code = 0;
  if (script.hadError()) {
    std::fprintf(stderr, "%s\n", script.shown().c_str());
    code = 1;
  }
  while (app.loop.hasPosted() && !app.loop.hasQuit()) app.loop.turn();
  if (code == 0 && options.demonstration) code = runDemonstration(app, script);
  if (code == 0 || options.keepGoing)
    code = std::max(code, ScriptRunner(app, script, options.json).run(options.steps, options.keepGoing));
  app.exitInstance();
  return code;
}
