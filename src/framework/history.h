// The changes of a document that can be taken back, and made again after that. A change is the document's
// own: what turns it hands back the change that turns it round.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <utility>
#include <vector>

namespace tarnvisor {

template <class Entry>
class History {
 public:
  bool canUndo() const { return !done.empty(); }
  bool canRedo() const { return !undone.empty(); }
  size_t size() const { return done.size() + undone.size(); }
  // What was taken back before can't be made again. Of the others the newest stay that have room, one at
  // least.
  void add(Entry made, const std::function<uint64_t(const Entry&)>& bytesOf) {
    undone.clear();
    done.push_back(std::move(made));
    uint64_t bytes = 0;
    size_t fitting = 0;
    while (fitting < done.size()) {
      bytes += bytesOf(done[done.size() - 1 - fitting]);
      if (fitting > 0 && (bytes > kBytes || fitting == kEntries)) break;
      ++fitting;
    }
    done.erase(done.begin(), done.end() - static_cast<ptrdiff_t>(fitting));
  }
  // With something to take back, or to make again.
  void undo(const std::function<Entry(Entry)>& turn) { turnLast(done, undone, turn); }
  void redo(const std::function<Entry(Entry)>& turn) { turnLast(undone, done, turn); }
  void clear() {
    done.clear();
    undone.clear();
  }
  // Each with the one to turn next at its end.
  std::vector<Entry>& toUndo() { return done; }
  const std::vector<Entry>& toUndo() const { return done; }
  std::vector<Entry>& toRedo() { return undone; }

 private:
  static constexpr uint64_t kBytes = 256ULL << 20;
  static constexpr size_t kEntries = 1000;
  using Entries = std::vector<Entry>;
  static void turnLast(Entries& from, Entries& to, const std::function<Entry(Entry)>& turn) {
    Entry last = std::move(from.back());
    from.pop_back();
    to.push_back(turn(std::move(last)));
  }
  Entries done, undone;
};

}  // namespace tarnvisor
