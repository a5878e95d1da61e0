// tarnvisor-batch: the system without windows, driven by a script; and tarnvisor-study, many exams in chunks.

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "base/files.h"
#include "batch/demonstration.h"
#include "batch/runner.h"
#include "batch/script.h"
#include "batch/scriptprogram.h"
#include "batch/study.h"
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
  // The same program by another name, a link to it.
  if (argc > 0 && fileNameOf(argv[0]) == kStudyProgram)
    return runStudy({argv + 1, argv + argc}, workstationPath());
  const BatchOptions options = parseBatchOptions({argv + 1, argv + argc});
  if (!options.message.empty()) std::fputs(options.message.c_str(), options.exitCode == 0 ? stdout : stderr);
  if (options.exitCode >= 0) return options.exitCode;

  std::signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is an error in words
  ScriptProgram program;
  if (std::ranges::find(options.steps, "doppler", &Step::word) != options.steps.end())
    program.useVelocityInput();
  StartOptions start;
  start.programPath = workstationPath();
  start.profilePath = options.profile;
  start.dataFolder = options.dataFolder;
  const bool made = !options.profile.empty() && !fileExists(options.profile);
  const ProfileClaim claim(options.profile);
  std::optional<TemporaryFolder> copy;
  if (options.profile.empty() ? !options.keepSettings : !claim.isOurs())
    start.settingsCopy = copy.emplace("settings").file("settings.ini");
  if (!claim.isOurs())
    std::fprintf(stderr, "%s is in use by another run: this one works on a copy\n", options.profile.c_str());
  for (int i = 0; i < argc; ++i) start.logLine += std::string(i ? " " : "") + argv[i];
  if (!program.start(start)) {
    std::fprintf(stderr, "tarnvisor-batch can't start: %s\n", program.host.shown().c_str());
    return 1;
  }
  if (made)
    std::fprintf(stderr, "%s %s\n", options.profile.c_str(),
                 fileExists(options.profile) ? "is made from the factory settings"
                                             : "can't be made; the settings are not kept");
  int code = 0;
  if (program.host.hadError()) {
    std::fprintf(stderr, "%s\n", program.host.shown().c_str());
    code = 1;
  }
  if (code == 0 && options.demonstration) code = runDemonstration(program.app, program.host);
  if (code == 0 || options.keepGoing)
    code = std::max(
        code, ScriptRunner(program.app, program.host, options.json).run(options.steps, options.keepGoing));
  program.app.exitInstance();
  return code;
}
