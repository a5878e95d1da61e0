// The message loop: posted commands, timers and the idle pass, all on one thread. A window system drives it
// with turn(); without one, run() does.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>

namespace tarnvisor {

class Timer;

class MessageLoop {
 public:
  // What a posted command is given to, and what runs when the queue is empty: it gets the number of the pass
  // since the last command and returns true to be called again at once.
  std::function<void(int32_t)> onCommand;
  std::function<bool(int32_t)> onIdle;

  // Makes the loop turn soon; calls before that turn come to one. This alone may other threads call, as long
  // as the loop lives.
  void wakeFromAnyThread();
  // Woken since the last turn began.
  bool isWoken() const;
  // How a window system that drives this is told to call turn() soon, on whatever thread the wake comes from:
  // also when something was posted or a timer started. The one before is not called any more afterwards.
  void setWaker(std::function<void()> tellDriver);
  bool isDriven() const { return waker != nullptr; }

  // Handled after the command now running, in the order of posting.
  void post(int32_t command) { enqueue({command, false}); }
  // Ends run() when its turn comes in the queue.
  void postQuit() { enqueue({0, true}); }
  bool hasPosted() const { return !queue.empty(); }

  bool hasTimer(int32_t id) const { return timers.contains(id); }

  // All posted commands, those posted meanwhile included, and due timers; with nothing posted, one idle pass.
  // True when it wants to be called again at once.
  bool turn();
  // Turns until postQuit; sleeps until the next timer or wake while there is nothing to do.
  void run();
  bool hasQuit() const { return quitting; }
  // Milliseconds until the next timer is due, or the given time when none is sooner.
  int32_t untilNextTimerMs(int32_t atMost) const;

 private:
  friend class Timer;
  struct Posted {
    int32_t command;
    bool quit;
  };
  void enqueue(Posted posted) {
    queue.push_back(posted);
    wakeFromAnyThread();
  }
  void takeWake();
  void sleep();
  bool runPosted();
  void runTimers();
  std::deque<Posted> queue;
  std::map<int32_t, Timer*> timers;  // those that run
  int32_t idleCount = 0;
  bool quitting = false;
  mutable std::mutex wakeState;  // guards what follows
  std::condition_variable awake;
  bool woken = false;
  std::function<void()> waker;
};

// A timer of a loop, by an id of its own there: one started under the same id takes its place. It ends with
// this object, which the loop must outlive; the handler may stop, start anew or destroy its timer.
class Timer {
 public:
  Timer(MessageLoop& of, int32_t ownId) : loop(of), id(ownId) {}
  Timer(MessageLoop& of, int32_t ownId, int32_t periodMs, std::function<void()> handler) : Timer(of, ownId) {
    start(periodMs, std::move(handler));
  }
  ~Timer() { stop(); }
  Timer(const Timer&) = delete;
  Timer& operator=(const Timer&) = delete;

  void start(int32_t periodMs, std::function<void()> handler);
  void stop();
  bool isRunning() const;

 private:
  friend class MessageLoop;
  MessageLoop& loop;
  int32_t id;
  double periodSeconds = 0;
  double due = 0;
  std::function<void()> action;
};

}  // namespace tarnvisor
