#include "framework/messageloop.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <thread>
#include <vector>

#include "base/clock.h"

namespace tarnvisor {

void MessageLoop::setTimer(int32_t id, int32_t periodMs, std::function<void()> handler) {
  const double period = std::max(periodMs, 1) / 1000.0;
  timers[id] = {period, steadySeconds() + period, std::move(handler)};
  wake();
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
    if (timer.due <= now) due.push_back(id);
  for (const int32_t id : due) {
    const auto at = timers.find(id);
    if (at == timers.end()) continue;
    // A late timer is not made up for: its next time counts from now.
    at->second.due = now + at->second.periodSeconds;
    const auto handler = at->second.handler;
    handler();
  }
}

bool MessageLoop::turn() {
  if (runPosted()) idleCount = 0;
  if (quitting) return false;
  runTimers();
  if (!queue.empty()) return true;
  return onIdle && onIdle(idleCount++);
}

int32_t MessageLoop::untilNextTimerMs(int32_t atMost) const {
  double wait = atMost / 1000.0;
  for (const auto& [id, timer] : timers) wait = std::min(wait, timer.due - steadySeconds());
  return static_cast<int32_t>(std::ceil(std::max(wait, 0.0) * 1000));
}

void MessageLoop::run() {
  quitting = false;
  while (!quitting)
    if (!turn() && !quitting) std::this_thread::sleep_for(std::chrono::milliseconds(untilNextTimerMs(5)));
}

}  // namespace tarnvisor
