// Copies of what is not saved, for the next run should this one fall over. Each run has a folder of its own
// below one that all share, and keeps it locked as long as it lives: a folder that nobody locks was left
// behind. A document is a copy of its archive, maybe with a second file beside it, and a text file that names
// both and tells the rest: written last, so that it never names what is not whole.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "base/outcome.h"

namespace tarnvisor {

struct UnsavedCopy {
  // Written where its content is another than in the copy before.
  struct SecondFile {
    std::string ending;
    std::function<std::string()> checksum;
    std::function<Outcome(const std::string& path)> write;
  };
  std::vector<uint8_t> archive;
  std::string ending;  // of the document's files, with its dot
  std::map<std::string, std::string> facts;
  std::optional<SecondFile> second;
  uint64_t count = 0;  // CDocument::changeCount() of then
};

// A copy that an earlier run left.
struct LeftCopy {
  std::map<std::string, std::string> facts;
  std::string file, second;  // second: empty for none
  std::string factsFile;
  std::string fact(const std::string& name) const;  // empty for none
};

// A file that is locked by this process as long as the object lives.
class FileLock {
 public:
  enum class Wait { No, Yes };
  FileLock(const std::string& path, Wait wait);
  FileLock(FileLock&& other) noexcept;
  FileLock& operator=(FileLock&&) = delete;
  ~FileLock();
  bool holds() const { return handle >= 0; }

 private:
  int handle = -1;
};

// The copies of this run. All files are written by a thread; the calls return at once.
class UnsavedCopies {
 public:
  // Makes nothing before the first copy.
  explicit UnsavedCopies(std::string sharedFolder);
  // A clean end: no copy is needed any more.
  ~UnsavedCopies();
  UnsavedCopies(const UnsavedCopies&) = delete;
  UnsavedCopies& operator=(const UnsavedCopies&) = delete;

  void keep(int32_t id, UnsavedCopy copy);
  void remove(int32_t id);
  bool isWriting(int32_t id) const;    // one that came before is still on its way
  uint64_t written(int32_t id) const;  // the count of the copy that is safe; 0 for none
  void waitUntilWritten() const;
  std::string takeProblem();  // why the last copy could not be written; empty for none since it was asked

 private:
  struct Task {
    int32_t id = 0;
    std::optional<UnsavedCopy> copy;  // nothing: to be removed
  };
  struct Files {
    std::string archive, second, checksum;
  };
  void add(Task task);
  void work();
  void perform(const Task& task);
  Outcome openFolder();
  Outcome write(int32_t id, const UnsavedCopy& copy);
  Outcome writeFiles(int32_t id, const UnsavedCopy& copy, const Files& before, Files& now);
  std::string factsFile(int32_t id) const;
  void removeFiles(const Files& files, const Files& kept) const;

  // Of the thread alone, while it runs.
  const std::string shared;
  std::string folder;
  std::optional<FileLock> lock;
  std::map<int32_t, Files> present;
  int32_t generation = 0;

  mutable std::mutex guard;  // of what follows
  mutable std::condition_variable changed;
  std::deque<Task> tasks;  // the one at work first
  std::map<int32_t, uint64_t> counts;
  std::string problem;
  bool ending = false;
  std::thread worker;
};

// What runs that are no more have left there; while the object lives, no other run takes it up.
class LeftCopies {
 public:
  explicit LeftCopies(const std::string& sharedFolder);
  ~LeftCopies();  // what was not removed waits for another start
  LeftCopies(const LeftCopies&) = delete;
  LeftCopies& operator=(const LeftCopies&) = delete;

  const std::vector<LeftCopy>& all() const { return copies; }
  static void remove(const LeftCopy& copy);

 private:
  struct Folder {
    std::string path;
    FileLock lock;
  };
  void readFolder(const std::string& path);
  std::vector<Folder> folders;
  std::vector<LeftCopy> copies;
};

}  // namespace tarnvisor
