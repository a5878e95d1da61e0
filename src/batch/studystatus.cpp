#include "batch/studystatus.h"

#include <sys/types.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>

#include "base/text.h"
#include "batch/studychunk.h"
#include "exams/dbdocument.h"

namespace tarnvisor {

namespace fs = std::filesystem;

namespace {

// Of a worker that lives something changes with each exam.
fs::file_time_type lastTouched(const fs::path& folder) {
  std::error_code error;
  fs::file_time_type last = fs::last_write_time(folder, error);
  (void)walkFolder(folder.string(), Depth::Own, [&](const fs::directory_entry& entry) {
    std::error_code gone;
    const fs::file_time_type touched = entry.last_write_time(gone);
    if (!gone) last = std::max(last, touched);
    return Outcome::success();
  });
  return last;
}

using Hours = std::chrono::duration<double, std::ratio<3600>>;
constexpr Hours kLongestExam{1};

// A chunk's folder is named by its number, the computer and the process. Here that one is at work on it; of
// another computer nobody can say, but that an exam is done within the hour.
bool isAtWork(const std::string& name, Hours age) {
  const std::vector<std::string> parts = split(name, '.');
  if (parts.size() < 4) return false;
  const size_t last = parts.size() - 2;
  std::string computer = parts[1];
  for (size_t i = 2; i < last; ++i) computer += "." + parts[i];
  const pid_t process = std::atoi(parts[last].c_str());
  if (computer != currentStationId()) return age < kLongestExam;
  return process > 0 && (::kill(process, 0) == 0 || errno == EPERM);
}

}  // namespace

StudyStatus statusOf(const StudyPlan& plan) {
  StudyStatus status;
  for (int32_t chunk = 1; chunk <= plan.chunks(); ++chunk) {
    std::vector<CsvRow> failed;
    if (!plan.isDone(chunk))
      status.left.push_back(chunk);
    else if (readTable(plan.doneFolder(chunk) + chunkfiles::kFailures, failuresHeading(), failed))
      status.failures += static_cast<int64_t>(failed.size());
  }
  (void)walkFolder(plan.partFolder(), Depth::Own, [&](const fs::directory_entry& part) {
    std::error_code error;
    status.parts += part.is_directory(error) ? 1 : 0;
    return Outcome::success();
  });
  return status;
}

size_t sweepParts(const StudyPlan& plan, double hours) {
  size_t swept = 0;
  (void)walkFolder(plan.partFolder(), Depth::Own, [&](const fs::directory_entry& part) {
    std::error_code error;
    const Hours age = fs::file_time_type::clock::now() - lastTouched(part.path());
    if (!part.is_directory(error) || age.count() < hours || isAtWork(part.path().filename().string(), age))
      return Outcome::success();
    fs::remove_all(part.path(), error);
    swept += error ? 0 : 1;
    return Outcome::success();
  });
  return swept;
}

}  // namespace tarnvisor
