// The message loop: posted commands, timers and the idle pass, all on one thread. A window system drives it
// with turn(); without one, run() does.
#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <map>

namespace tarnvisor {

class MessageLoop {
 public:
  // What a posted command is given to, and what runs when the queue is empty: it gets the number of the pass
  // since the last command and returns true to be called again at once.
  std::function<void(int32_t)> onCommand;
  std::function<bool(int32_t)> onIdle;
  // Told when something was posted or a timer set: a window system that waits must call turn() soon.
  std::function<void()> onWake;

  // Handled after the command now running, in the order of posting.
  void post(int32_t command) { enqueue({command, false}); }
  // Ends run() when its turn comes in the queue.
  void postQuit() { enqueue({0, true}); }
  bool hasPosted() const { return !queue.empty(); }

  // A timer with a known id is replaced. The handler may kill its own timer.
  void setTimer(int32_t id, int32_t periodMs, std::function<void()> handler);
  void killTimer(int32_t id) { timers.erase(id); }
  bool hasTimer(int32_t id) const { return timers.contains(id); }

  // All posted commands, those posted meanwhile included, and due timers; with nothing posted, one idle pass.
  // True when it wants to be called again at once.
  bool turn();
  // Turns until postQuit; sleeps while there is nothing to do, a few milliseconds at a time.
  void run();
  bool hasQuit() const { return quitting; }
  // Milliseconds until the next timer is due, or the given time when none is sooner.
  int32_t untilNextTimerMs(int32_t atMost) const;

 private:
  struct Posted {
    int32_t command;
    bool quit;
  };
  struct Timer {
    double periodSeconds;
    double due;
    std::function<void()> handler;
  };
  void enqueue(Posted posted) {
    queue.push_back(posted);
    wake();
  }
  void wake() const {
    if (onWake) onWake();
  }
  bool runPosted();
  void runTimers();
  std::deque<Posted> queue;
  std::map<int32_t, Timer> timers;
  int32_t idleCount = 0;
  bool quitting = false;
};

}  // namespace tarnvisor
