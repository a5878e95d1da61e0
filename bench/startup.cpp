// The start of the program as a user meets it: a process of its own, until its window is shown and has
// nothing left to do. The log tells of the shown window; what is drawn after that counts too.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "base/clock.h"
#include "base/files.h"
#include "benchimage.h"

extern char** environ;

namespace tarnvisor {
namespace {

constexpr double kPatienceSeconds = 20;
constexpr useconds_t kLookMicroseconds = 500;
constexpr double kQuietSeconds = 0.02;  // without work: the window is up

// Nanoseconds of work so far; 0 when the process has gone.
uint64_t workOf(pid_t process) {
  uint64_t worked = 0;
  std::ifstream("/proc/" + std::to_string(process) + "/schedstat") >> worked;
  return worked;
}

double peakMegabytesOf(pid_t process) {
  std::ifstream status("/proc/" + std::to_string(process) + "/status");
  std::string word;
  while (status >> word)
    if (word == "VmHWM:") {
      double kilobytes = 0;
      status >> kilobytes;
      return kilobytes / 1024;
    }
  return 0;
}

struct Started {
  double seconds = 0;  // until the last work
  double peakMegabytes = 0;
};

Started startOnce(const std::string& folder, const std::string& file) {
  const std::string profile = folder + "/bench.ini", log = folder + "/bench.log";
  // A killed program would offer what it had not saved at the next start.
  (void)replaceFile(profile, std::string_view("[Settings]\nshowdb=0\nautosave=0\n"));
  std::filesystem::remove(log);
  std::vector<std::string> words{PROGRAM, "--profile", profile, "--data", folder + "/data"};
  if (!file.empty()) words.push_back(file);
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t quiet;
  posix_spawn_file_actions_init(&quiet);
  posix_spawn_file_actions_addopen(&quiet, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  const double begin = steadySeconds();
  pid_t process = -1;
  const bool runs = posix_spawn(&process, PROGRAM, &quiet, nullptr, arguments.data(), environ) == 0;
  posix_spawn_file_actions_destroy(&quiet);
  if (!runs) return {};
  Started started;
  uint64_t work = 0;
  bool shown = false;
  for (double now = begin; now - begin < kPatienceSeconds; now = steadySeconds()) {
    shown = shown || readWholeText(log).value_or("").find("initinst ok") != std::string::npos;
    const uint64_t worked = workOf(process);
    if (worked != work) started.seconds = now - begin;
    work = worked;
    if (shown && now - begin - started.seconds > kQuietSeconds) break;
    ::usleep(kLookMicroseconds);
  }
  started.peakMegabytes = peakMegabytesOf(process);
  ::kill(process, SIGKILL);
  ::waitpid(process, nullptr, 0);
  return shown ? started : Started{};
}

// Argument: whether a 2048 x 1536 still is opened by the command line.
void startTheProgram(benchmark::State& state) {
  const std::string folder = std::filesystem::temp_directory_path() / ("bench" + std::to_string(::getpid()));
  std::filesystem::create_directories(folder);
  const std::string still = folder + "/still.bmp";
  if (!bench::nailfold()->save(still)) return state.SkipWithError("no room for the still");
  double peak = 0;
  for (auto _ : state) {
    const Started started = startOnce(folder, state.range(0) ? still : std::string());
    if (started.seconds == 0) state.SkipWithError("the program did not start");
    state.SetIterationTime(started.seconds);
    peak = std::max(peak, started.peakMegabytes);
  }
  state.counters["peak_MB"] = peak;
  std::filesystem::remove_all(folder);
}
BENCHMARK(startTheProgram)
    ->ArgName("still")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(10)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace tarnvisor
