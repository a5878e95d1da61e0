#include "framework/messageloop.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <vector>

#include "base/clock.h"

namespace tarnvisor {

// The lock is held while the driver is told, so that none is told once setWaker took it away.
void MessageLoop::wakeFromAnyThread() {
  const std::lock_guard lock(wakeState);
  if (woken) return;
  woken = true;
  awake.notify_one();
  if (waker) waker();
}

bool MessageLoop::isWoken() const {
  const std::lock_guard lock(wakeState);
  return woken;
}

void MessageLoop::setWaker(std::function<void()> tellDriver) {
  const std::lock_guard lock(wakeState);
  waker = std::move(tellDriver);
}

void MessageLoop::takeWake() {
  const std::lock_guard lock(wakeState);
  woken = false;
}

bool MessageLoop::runPosted() {
  bool any = false;
  while (!queue.empty() && !quitting) {
    const Posted next = queue.front();
    queue.pop_front();
    any = true;
    if (next.quit)
      quitting = true;
    else if (onCommand)
      onCommand(next.command);
  }
  return any;
}

void MessageLoop::runTimers() {
  const double now = steadySeconds();
  std::vector<int32_t> due;
  for (const auto& [id, timer] : timers)
    if (timer->due <= now) due.push_back(id);
  for (const int32_t id : due) {
    const auto at = timers.find(id);
    if (at == timers.end() || at->second->due > now) continue;  // stopped or started anew meanwhile
    // A late timer is not made up for: its next time counts from now.
    at->second->due = now + at->second->periodSeconds;
    const auto handler = at->second->action;  // outlives its timer
    handler();
  }
}

bool MessageLoop::turn() {
  takeWake();
  if (runPosted()) idleCount = 0;
  if (quitting) return false;
  runTimers();
  if (!queue.empty()) return true;
  return onIdle && onIdle(idleCount++);
}

int32_t MessageLoop::untilNextTimerMs(int32_t atMost) const {
  double wait = atMost / 1000.0;
  for (const auto& [id, timer] : timers) wait = std::min(wait, timer->due - steadySeconds());
  return static_cast<int32_t>(std::ceil(std::max(wait, 0.0) * 1000));
}

void MessageLoop::run() {
  quitting = false;
  while (!quitting)
    if (!turn() && !quitting) sleep();
}

void MessageLoop::sleep() {
  constexpr int32_t kLongestMs = 3'600'000;
  const std::chrono::milliseconds longest(untilNextTimerMs(kLongestMs));
  std::unique_lock lock(wakeState);
  awake.wait_for(lock, longest, [this] { return woken; });
}

void Timer::start(int32_t periodMs, std::function<void()> handler) {
  periodSeconds = std::max(periodMs, 1) / 1000.0;
  due = steadySeconds() + periodSeconds;
  action = std::move(handler);
  loop.timers[id] = this;
  loop.wakeFromAnyThread();
}

void Timer::stop() {
  if (isRunning()) loop.timers.erase(id);
}

bool Timer::isRunning() const {
  const auto at = loop.timers.find(id);
  return at != loop.timers.end() && at->second == this;
}

}  // namespace tarnvisor
