// The changes of a document that can be taken back, and made again after that. A change is the document's
// own: what turns it hands back the change that turns it round.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "framework/command.h"
#include "host/host.h"

namespace tarnvisor {

template <class Entry>
class History {
 public:
  struct Kept {
    Entry entry;
    std::string what;  // the command that made the change; empty for one by mouse, or of a job
  };
  bool canUndo() const { return !done.empty(); }
  bool canRedo() const { return !undone.empty(); }
  size_t size() const { return done.size() + undone.size(); }
  // What was taken back before can't be made again. Of the others the newest stay that have room, one at
  // least.
  // what: of a change that no command made that is still at work.
  void add(Entry made, const std::function<uint64_t(const Entry&)>& bytesOf, const std::string& what = {}) {
    undone.clear();
    done.push_back({std::move(made), commandAtWork().empty() ? what : commandAtWork()});
    uint64_t bytes = 0;
    size_t fitting = 0;
    while (fitting < done.size()) {
      bytes += bytesOf(done[done.size() - 1 - fitting].entry);
      if (fitting > 0 && (bytes > kBytes || fitting == kEntries)) break;
      ++fitting;
    }
    done.erase(done.begin(), done.end() - static_cast<ptrdiff_t>(fitting));
  }
  // With something to take back, or to make again. The user is told what it was.
  void undo(const std::function<Entry(Entry)>& turn) { turnLast(done, undone, turn, "Undone: "); }
  void redo(const std::function<Entry(Entry)>& turn) { turnLast(undone, done, turn, "Done again: "); }
  void clear() {
    done.clear();
    undone.clear();
  }
  // Each with the one to turn next at its end.
  std::vector<Kept>& toUndo() { return done; }
  const std::vector<Kept>& toUndo() const { return done; }
  std::vector<Kept>& toRedo() { return undone; }

 private:
  static constexpr uint64_t kBytes = 256ULL << 20;
  static constexpr size_t kEntries = 1000;
  using Entries = std::vector<Kept>;
  static void turnLast(Entries& from, Entries& to, const std::function<Entry(Entry)>& turn,
                       const char* undoneOrDone) {
    Kept last = std::move(from.back());
    from.pop_back();
    last.entry = turn(std::move(last.entry));
    host().messages.notice({undoneOrDone + (last.what.empty() ? "the last change" : last.what)});
    to.push_back(std::move(last));
  }
  Entries done, undone;
};

}  // namespace tarnvisor
