#include "batch/studystatus.h"

#include <algorithm>
#include <chrono>
#include <filesystem>

#include "batch/studychunk.h"

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
    if (!part.is_directory() || lastTouched(part.path()) > limit) continue;
    std::error_code kept;
    fs::remove_all(part.path(), kept);
    swept += kept ? 0 : 1;
  }
  return swept;
}

}  // namespace tarnvisor
