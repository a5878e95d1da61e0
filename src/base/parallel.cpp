#include "base/parallel.h"

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace tarnvisor {

namespace {
std::atomic<int> wantedThreads{0};
}  // namespace

void setParallelThreads(int count) { wantedThreads = std::max(0, count); }

int parallelThreads() {
  if (const int wanted = wantedThreads; wanted > 0) return wanted;
  static const int cores = std::max(1, static_cast<int>(std::thread::hardware_concurrency()));
  return cores;
}

void parallelFor(int64_t count, int64_t grain, const std::function<void(int64_t, int64_t)>& work) {
  if (count <= 0) return;
  const int64_t pieces = std::clamp<int64_t>(count / std::max<int64_t>(grain, 1), 1, parallelThreads());
  const auto edge = [&](int64_t piece) { return count * piece / pieces; };
  std::vector<std::jthread> helpers;
  helpers.reserve(static_cast<size_t>(pieces - 1));
  int64_t started = 1;
  try {
    for (; started < pieces; ++started)
      helpers.emplace_back([&work, from = edge(started), to = edge(started + 1)] { work(from, to); });
  } catch (const std::system_error&) {
    // A machine without threads to spare: what none took is done here.
    work(edge(started), count);
  }
  work(0, edge(1));
}

}  // namespace tarnvisor
