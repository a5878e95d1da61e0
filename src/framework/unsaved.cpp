#include "framework/unsaved.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <span>
#include <utility>

#include "base/files.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

namespace fs = std::filesystem;

constexpr const char* kLockName = "lock";
constexpr const char* kFactsEnding = ".txt";
constexpr uint64_t kLongestFacts = 1 << 20;

// A line a fact: line ends within one are written as two characters.
std::string textOf(const std::map<std::string, std::string>& facts) {
  std::string text;
  for (const auto& [name, value] : facts) {
    text += name + "=";
    for (const char c : value) text += c == '\\' ? "\\\\" : c == '\n' ? "\\n" : std::string(1, c);
    text += "\n";
  }
  return text;
}

std::map<std::string, std::string> factsIn(const std::string& text) {
  std::map<std::string, std::string> facts;
  for (const std::string& line : split(text, '\n')) {
    const size_t end = line.find('=');
    if (end == std::string::npos) continue;
    std::string& value = facts[line.substr(0, end)];
    for (size_t i = end + 1; i < line.size(); ++i) {
      const bool isEscaped = line[i] == '\\' && i + 1 < line.size();
      value += !isEscaped ? line[i] : line[++i] == 'n' ? '\n' : line[i];
    }
  }
  return facts;
}

std::vector<std::string> foldersIn(const std::string& folder) {
  std::vector<std::string> all;
  std::error_code error;
  for (fs::directory_iterator at(folder, error), last; !error && at != last; at.increment(error))
    if (std::error_code none; at->is_directory(none)) all.push_back(withSeparator(at->path().string()));
  std::ranges::sort(all);
  return all;
}

std::vector<std::string> factsFilesIn(const std::string& folder) {
  std::vector<std::string> all;
  std::error_code error;
  for (fs::directory_iterator at(folder, error), last; !error && at != last; at.increment(error))
    if (at->path().extension() == kFactsEnding) all.push_back(at->path().string());
  std::ranges::sort(all);
  return all;
}

// Nobody makes a folder while another looks for those that nobody locks.
std::optional<FileLock> lockShared(const std::string& shared) {
  FileLock lock(shared + kLockName, FileLock::Wait::Yes);
  return lock.holds() ? std::optional(std::move(lock)) : std::nullopt;
}

}  // namespace

std::string LeftCopy::fact(const std::string& name) const {
  const auto found = facts.find(name);
  return found == facts.end() ? std::string() : found->second;
}

// --- locks

FileLock::FileLock(const std::string& path, Wait wait)
    : handle(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
  const int how = LOCK_EX | (wait == Wait::No ? LOCK_NB : 0);
  if (handle < 0 || ::flock(handle, how) == 0) return;
  ::close(std::exchange(handle, -1));
}

FileLock::FileLock(FileLock&& other) noexcept : handle(std::exchange(other.handle, -1)) {}

FileLock::~FileLock() {
  if (handle >= 0) ::close(handle);
}

// --- the copies of this run

UnsavedCopies::UnsavedCopies(std::string sharedFolder) : shared(withSeparator(std::move(sharedFolder))) {}

UnsavedCopies::~UnsavedCopies() {
  {
    const std::lock_guard hold(guard);
    ending = true;
    changed.notify_all();
  }
  if (worker.joinable()) worker.join();
  std::error_code error;
  if (!folder.empty()) fs::remove_all(folder, error);
}

void UnsavedCopies::add(Task task) {
  const std::lock_guard hold(guard);
  if (!worker.joinable()) worker = std::thread([this] { work(); });
  tasks.push_back(std::move(task));
  changed.notify_all();
}

void UnsavedCopies::keep(int32_t id, UnsavedCopy copy) { add({id, std::move(copy)}); }
void UnsavedCopies::remove(int32_t id) { add({id, std::nullopt}); }

bool UnsavedCopies::isWriting(int32_t id) const {
  const std::lock_guard hold(guard);
  return std::ranges::find(tasks, id, &Task::id) != tasks.end();
}

uint64_t UnsavedCopies::written(int32_t id) const {
  const std::lock_guard hold(guard);
  const auto found = counts.find(id);
  return found == counts.end() ? 0 : found->second;
}

void UnsavedCopies::waitUntilWritten() const {
  std::unique_lock hold(guard);
  changed.wait(hold, [this] { return tasks.empty(); });
}

std::string UnsavedCopies::takeProblem() {
  const std::lock_guard hold(guard);
  return std::exchange(problem, {});
}

// What waits at the end is not written any more: the folder goes.
void UnsavedCopies::work() {
  std::unique_lock hold(guard);
  for (;;) {
    changed.wait(hold, [this] { return ending || !tasks.empty(); });
    if (ending) return;
    const Task& task = tasks.front();  // stays where it is while others are added
    hold.unlock();
    perform(task);
    hold.lock();
    tasks.pop_front();
    changed.notify_all();
  }
}

void UnsavedCopies::perform(const Task& task) {
  Outcome done = Outcome::success();
  try {
    if (task.copy)
      done = write(task.id, *task.copy);
    else if (const auto gone = present.extract(task.id); !gone.empty()) {
      ::unlink(factsFile(task.id).c_str());
      removeFiles(gone.mapped(), {});
    }
  } catch (const std::exception& trouble) {
    done = Outcome::failure(trouble.what());
  }
  const std::lock_guard hold(guard);
  if (!done) problem = done.why();
  if (!task.copy)
    counts.erase(task.id);
  else if (done)
    counts[task.id] = task.copy->count;
}

Outcome UnsavedCopies::openFolder() {
  if (!folder.empty()) return Outcome::success();
  const auto failed = [this] { return Outcome::failure(shared + ": " + std::strerror(errno)); };
  if (::mkdir(shared.c_str(), 0700) != 0 && errno != EEXIST) return failed();
  const auto sharedLock = lockShared(shared);
  if (!sharedLock) return failed();
  for (int32_t number = 0;; ++number) {
    const std::string name = format("%s%i-%i/", shared.c_str(), static_cast<int>(::getpid()), number);
    if (::mkdir(name.c_str(), 0700) != 0) {
      if (errno == EEXIST) continue;
      return failed();
    }
    folder = name;
    lock.emplace(folder + kLockName, FileLock::Wait::No);
    return lock->holds() ? Outcome::success() : failed();
  }
}

Outcome UnsavedCopies::write(int32_t id, const UnsavedCopy& copy) {
  if (Outcome open = openFolder(); !open) return open;
  Files& before = present[id];
  Files now;
  Outcome done = writeFiles(id, copy, before, now);
  removeFiles(done ? before : now, done ? now : before);
  if (done) before = std::move(now);
  return done;
}

Outcome UnsavedCopies::writeFiles(int32_t id, const UnsavedCopy& copy, const Files& before, Files& now) {
  const std::string stem = format("%i-%i", id, ++generation);
  now.archive = stem + copy.ending;
  Outcome done = replaceFile(folder + now.archive, std::span<const uint8_t>(copy.archive));
  if (done && copy.second) {
    now.checksum = copy.second->checksum();
    const bool isSame = now.checksum == before.checksum;
    now.second = isSame ? before.second : stem + copy.second->ending;
    if (!isSame) done = copy.second->write(folder + now.second);
  }
  if (!done) return done;
  auto facts = copy.facts;
  facts["file"] = now.archive;
  facts["second"] = now.second;
  return replaceFile(factsFile(id), std::string_view(textOf(facts)));
}

std::string UnsavedCopies::factsFile(int32_t id) const {
  return format("%s%i%s", folder.c_str(), id, kFactsEnding);
}

void UnsavedCopies::removeFiles(const Files& files, const Files& kept) const {
  if (!files.archive.empty()) ::unlink((folder + files.archive).c_str());
  if (!files.second.empty() && files.second != kept.second) ::unlink((folder + files.second).c_str());
}

// --- what was left

LeftCopies::LeftCopies(const std::string& sharedFolder) {
  const std::string shared = withSeparator(sharedFolder);
  if (!folderExists(shared)) return;
  const auto sharedLock = lockShared(shared);
  if (!sharedLock) return;
  for (const std::string& path : foldersIn(shared)) {
    FileLock lock(path + kLockName, FileLock::Wait::No);
    if (!lock.holds()) continue;
    readFolder(path);
    folders.push_back({path, std::move(lock)});
  }
}

void LeftCopies::readFolder(const std::string& path) {
  for (const std::string& name : factsFilesIn(path)) {
    const auto text = readWholeText(name, kLongestFacts);
    LeftCopy left{text ? factsIn(*text) : std::map<std::string, std::string>(), {}, {}, name};
    const std::string second = fileNameOf(left.fact("second"));
    left.file = path + fileNameOf(left.fact("file"));
    if (!second.empty()) left.second = path + second;
    if (fileExists(left.file)) copies.push_back(std::move(left));
  }
}

LeftCopies::~LeftCopies() {
  for (const Folder& left : folders)
    if (std::error_code error; factsFilesIn(left.path).empty()) fs::remove_all(left.path, error);
}

void LeftCopies::remove(const LeftCopy& copy) {
  for (const std::string& file : {copy.factsFile, copy.file, copy.second})
    if (!file.empty()) ::unlink(file.c_str());
}

}  // namespace tarnvisor
