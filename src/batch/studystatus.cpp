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
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    if (error) break;
    std::error_code gone;
    const fs::file_time_type touched = entry.last_write_time(gone);
    if (!gone) last = std::max(last, touched);
  }
  return last;
}

// A chunk's folder is named by its number, the computer and the process; that one is at work on it.
bool isAtWork(const std::string& name) {
  const std::vector<std::string> parts = split(name, '.');
  if (parts.size() < 4) return false;
  const size_t last = parts.size() - 2;
  std::string computer = parts[1];
  for (size_t i = 2; i < last; ++i) computer += "." + parts[i];
  const pid_t process = std::atoi(parts[last].c_str());
  return computer == currentStationId() && process > 0 && (::kill(process, 0) == 0 || errno == EPERM);
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
  std::error_code error;
  for (const auto& part : fs::directory_iterator(plan.partFolder(), error))
    status.parts += part.is_directory() ? 1 : 0;
  return status;
}

size_t sweepParts(const StudyPlan& plan, double hours) {
  const auto limit =
      fs::file_time_type::clock::now() -
      std::chrono::duration_cast<fs::file_time_type::duration>(std::chrono::duration<double>(hours * 3600));
  size_t swept = 0;
  std::error_code error;
  for (const auto& part : fs::directory_iterator(plan.partFolder(), error)) {
    if (!part.is_directory() || lastTouched(part.path()) > limit || isAtWork(part.path().filename().string()))
      continue;
    std::error_code kept;
    fs::remove_all(part.path(), kept);
    swept += kept ? 0 : 1;
  }
  return swept;
}

}  // namespace tarnvisor
