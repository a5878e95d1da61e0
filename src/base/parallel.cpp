#include "base/parallel.h"

#include <pthread.h>

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <thread>

namespace tarnvisor {

namespace {

std::atomic<int> wantedThreads{0};
// Whether this thread is within a loop, whose pieces loop by themselves.
thread_local bool looping = false;

// Threads that stay, for one loop at a time. They end with the process, which does not wait for them.
class Pool {
 public:
  // Calls piece(0) to piece(count - 1), some of them here. False, with nothing done, while another thread's
  // loop is at work.
  bool run(int64_t count, const std::function<void(int64_t)>& piece) {
    const std::unique_lock alone(oneLoop, std::try_to_lock);
    if (!alone) return false;
    keepThreads(count - 1);
    std::unique_lock lock(state);
    work = &piece;
    next = 0;
    pieces = unfinished = count;
    wake.notify_all();
    looping = true;
    while (next < pieces) doOne(lock);
    looping = false;
    done.wait(lock, [this] { return unfinished == 0; });
    return true;
  }

 private:
  // A machine without threads to spare does with fewer.
  void keepThreads(int64_t count) {
    try {
      for (; threads < count; ++threads) std::thread([this] { serve(); }).detach();
    } catch (const std::system_error&) {
    }
  }
  [[noreturn]] void serve() {
    looping = true;
    std::unique_lock lock(state);
    for (;;) {
      wake.wait(lock, [this] { return next < pieces; });
      doOne(lock);
    }
  }
  void doOne(std::unique_lock<std::mutex>& lock) noexcept {
    const int64_t mine = next++;
    const auto* doing = work;
    lock.unlock();
    (*doing)(mine);
    lock.lock();
    if (--unfinished == 0) done.notify_all();
  }

  std::mutex oneLoop, state;
  std::condition_variable wake, done;
  const std::function<void(int64_t)>* work = nullptr;
  int64_t next = 0, pieces = 0, unfinished = 0;
  int64_t threads = 0;
};

std::atomic<Pool*> pool{nullptr};

// Of this process: a forked one has none of the threads.
Pool& threadPool() {
  static const int forked = pthread_atfork(nullptr, nullptr, [] { pool = nullptr; });
  (void)forked;
  Pool* present = pool;
  if (!present) {
    auto* made = new Pool;
    if (pool.compare_exchange_strong(present, made))
      present = made;
    else
      delete made;
  }
  return *present;
}

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
  const bool shared = pieces > 1 && !looping &&
                      threadPool().run(pieces, [&](int64_t piece) { work(edge(piece), edge(piece + 1)); });
  if (!shared) work(0, count);
}

}  // namespace tarnvisor
