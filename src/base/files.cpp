#include "base/files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>

#include "base/text.h"

namespace tarnvisor {

namespace fs = std::filesystem;

namespace {

size_t afterLastSeparator(std::string_view path) {
  const size_t at = path.find_last_of("/\\");
  return at == std::string_view::npos ? 0 : at + 1;
}

size_t extensionDot(std::string_view path) {
  const size_t dot = path.rfind('.');
  return dot == std::string_view::npos || dot < afterLastSeparator(path) ? std::string_view::npos : dot;
}

template <class Container>
std::optional<Container> readWhole(const std::string& path, uint64_t maxBytes) {
  if (!fileExists(path)) return std::nullopt;
  std::FILE* file = std::fopen(path.c_str(), "rbe");
  if (!file) return std::nullopt;
  std::optional<Container> bytes;
  struct stat facts {};
  if (::fstat(fileno(file), &facts) == 0 && static_cast<uint64_t>(facts.st_size) <= maxBytes) {
    bytes.emplace(static_cast<size_t>(facts.st_size), typename Container::value_type{});
    if (std::fread(bytes->data(), 1, bytes->size(), file) != bytes->size()) bytes.reset();
  }
  std::fclose(file);
  return bytes;
}

}  // namespace

std::string fileNameOf(std::string_view path) { return std::string(path.substr(afterLastSeparator(path))); }
std::string folderOf(std::string_view path) { return std::string(path.substr(0, afterLastSeparator(path))); }

std::string extensionOf(std::string_view path) {
  const size_t dot = extensionDot(path);
  return dot == std::string_view::npos ? std::string() : std::string(path.substr(dot + 1));
}

std::string withoutExtension(std::string_view path) {
  return std::string(path.substr(0, extensionDot(path)));
}

std::string withSeparator(std::string folder) {
  if (!folder.empty() && folder.back() != kSeparator) folder += kSeparator;
  return folder;
}

bool isAbsolutePath(std::string_view path) {
  if (path.empty()) return false;
  return path.front() == '/' || path.front() == '\\' || (path.size() > 1 && path[1] == ':');
}

// What ".." leads to behind a link only the file system knows.
std::string absolutePath(const std::string& path) {
  std::error_code error;
  const fs::path full = fs::absolute(path, error);
  if (error) return path;
  if (std::find(full.begin(), full.end(), "..") == full.end()) return full.lexically_normal().string();
  const fs::path folder = realPath(full.parent_path().string());
  return (folder / full.filename()).lexically_normal().string();
}

std::string fileStamp(const std::string& path) {
  struct stat facts {};
  if (::stat(path.c_str(), &facts) != 0) return {};
  return format("%llu %lld %lld.%09ld", static_cast<unsigned long long>(facts.st_ino),
                static_cast<long long>(facts.st_size), static_cast<long long>(facts.st_mtim.tv_sec),
                facts.st_mtim.tv_nsec);
}

std::string linkTarget(const std::string& path) {
  std::error_code error;
  if (!fs::is_symlink(path, error)) return path;
  const fs::path resolved = fs::weakly_canonical(path, error);
  return error ? path : resolved.string();
}

std::string realPath(std::string_view path) {
  std::error_code error;
  const fs::path given = fs::absolute(path.empty() ? "." : std::string(path), error);
  const fs::path resolved = error ? given : fs::weakly_canonical(given, error);
  std::string real = (error ? given : resolved).string();
  while (real.size() > 1 && real.back() == kSeparator) real.pop_back();
  return real;
}

bool sameFolder(std::string_view a, std::string_view b) { return realPath(a) == realPath(b); }

bool sameFile(const std::string& a, const std::string& b) {
  std::error_code error;
  return fs::equivalent(a, b, error) && !error;
}

bool fileExists(const std::string& path) {
  std::error_code error;
  return !path.empty() && fs::is_regular_file(path, error);
}

bool folderExists(const std::string& path) {
  std::error_code error;
  return fs::is_directory(path, error);
}

std::string workingFolder() {
  std::error_code error;
  return withSeparator(fs::current_path(error).string());
}

uint64_t freeDiscBytes(const std::string& folder) {
  std::error_code error;
  const fs::space_info space = fs::space(folder, error);
  return error ? 0 : space.available;
}

std::optional<std::vector<uint8_t>> readWholeFile(const std::string& path, uint64_t maxBytes) {
  return readWhole<std::vector<uint8_t>>(path, maxBytes);
}

std::optional<std::string> readWholeText(const std::string& path, uint64_t maxBytes) {
  return readWhole<std::string>(path, maxBytes);
}

TakenName::TakenName(const std::function<std::string(int)>& nameOf, const std::string& own) {
  for (int number = 0;; ++number) {
    name = nameOf(number);
    const int handle = ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (handle >= 0) {
      ::close(handle);
      stamp = fileStamp(name);
      return;
    }
    if (errno != EEXIST || (!own.empty() && sameFile(name, own))) return;
  }
}

TakenName::TakenName(const std::string& stem, const std::string& ending, const std::string& own)
    : TakenName(
          [&](int number) { return stem + (number > 0 ? format("-%i", number) : std::string()) + ending; },
          own) {}

TakenName::TakenName(TakenName&& other) noexcept
    : name(std::move(other.name)), stamp(std::exchange(other.stamp, {})) {}

TakenName& TakenName::operator=(TakenName&& other) noexcept {
  std::swap(name, other.name);
  std::swap(stamp, other.stamp);
  return *this;
}

TakenName::~TakenName() {
  if (!stamp.empty() && fileStamp(name) == stamp) ::unlink(name.c_str());
}

bool mayReplace(const std::string& path) {
  return ::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) == 0 || errno != EACCES;
}

AtomicFile::AtomicFile(const std::string& path) : target(linkTarget(path)) {
  if (!mayReplace(target)) {
    openError = EACCES;
    return;
  }
  std::string pattern = target + ".XXXXXX";
  int handle = ::mkostemp(pattern.data(), O_CLOEXEC);
  if (handle < 0 && errno == ENAMETOOLONG) {  // a name of the greatest length has no room for an ending
    pattern = folderOf(target) + ".tarnvisor-XXXXXX";
    handle = ::mkostemp(pattern.data(), O_CLOEXEC);
  }
  if (handle < 0) {
    openError = errno;
    return;
  }
  temporary = pattern;
  struct stat facts {};
  const mode_t mask = ::umask(0);
  ::umask(mask);
  const mode_t mode = ::stat(target.c_str(), &facts) == 0 ? facts.st_mode & 07777 : 0666 & ~mask;
  if (::fchmod(handle, mode) != 0)
    openError = errno;  // a foreign file system may refuse; the content still counts
  stream = ::fdopen(handle, "wb");
  if (!stream) {
    openError = errno;
    ::close(handle);
  }
}

AtomicFile::~AtomicFile() {
  if (stream) std::fclose(stream);
  if (!temporary.empty()) ::unlink(temporary.c_str());
}

void AtomicFile::releaseToWriterByName() {
  if (stream) std::fclose(stream);
  stream = nullptr;
  byName = true;
}

bool AtomicFile::write(const void* bytes, size_t count) {
  if (!stream) return false;
  if (count == 0 || std::fwrite(bytes, 1, count, stream) == count) return true;
  if (!writeError) writeError = errno;
  return false;
}

Outcome AtomicFile::failed(const char* what) {
  const int error = openError ? openError : writeError ? writeError : errno;
  return Outcome::failure(format("%s: %s: %s", target.c_str(), what, std::strerror(error)));
}

// The first way tells whether there was a file even where another program makes one now; not every file
// system knows it.
bool AtomicFile::takePlace() {
  if (::renameat2(AT_FDCWD, temporary.c_str(), AT_FDCWD, target.c_str(), RENAME_NOREPLACE) == 0) return true;
  replaced = fileExists(target);
  return ::rename(temporary.c_str(), target.c_str()) == 0;
}

Outcome AtomicFile::commit(Flush flush) {
  if (temporary.empty()) return failed("can't be written");
  if (byName) {
    stream = std::fopen(temporary.c_str(), "abe");
    byName = false;
  }
  if (!stream) return failed("can't be written");
  openError = 0;
  const bool toDisc = flush == Flush::ToDisc && !FlushLater::isOn();
  if (writeError || std::fflush(stream) != 0 || std::ferror(stream) ||
      (toDisc && ::fsync(fileno(stream)) != 0))
    return failed("writing failed");
  std::FILE* closing = stream;
  stream = nullptr;
  if (std::fclose(closing) != 0) return failed("writing failed");
  if (!takePlace()) return failed("can't be replaced");
  temporary.clear();
  if (toDisc) flushName(target);
  return Outcome::success();
}

namespace {
int flushLaters = 0;
}

FlushLater::FlushLater() { ++flushLaters; }
FlushLater::~FlushLater() { --flushLaters; }
bool FlushLater::isOn() { return flushLaters > 0; }

void flushName(const std::string& path) {
  const std::string folder = folderOf(path);
  const int handle = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (handle < 0) return;
  ::fsync(handle);
  ::close(handle);
}

Outcome flushFolder(const std::string& folder) {
  const auto flush = [](const fs::path& path) {
    const int handle = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOFOLLOW);
    const bool flushed = handle >= 0 && ::fsync(handle) == 0;
    const std::string why = flushed ? "" : std::strerror(errno);
    if (handle >= 0) ::close(handle);
    return flushed ? Outcome::success() : Outcome::failure(path.string() + ": " + why);
  };
  Outcome all = walkFolder(folder, Depth::All, [&](const fs::directory_entry& entry) {
    std::error_code error;
    const fs::file_type type = entry.symlink_status(error).type();
    return type == fs::file_type::regular || type == fs::file_type::directory ? flush(entry.path())
                                                                              : Outcome::success();
  });
  return all ? flush(folder) : all;
}

Outcome flushGreatFolder(const std::string& folder) {
  const int handle = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  const bool flushed = handle >= 0 && ::syncfs(handle) == 0;
  if (handle >= 0) ::close(handle);
  return flushed ? Outcome::success() : flushFolder(folder);
}

namespace {

template <class Iterator>
Outcome walk(const std::string& folder, const EntryWork& work) {
  std::error_code error;
  for (Iterator at(folder, error), end; !error && at != end; at.increment(error))
    if (Outcome done = work(*at); !done) return done;
  return error ? Outcome::failure(folder + ": " + error.message()) : Outcome::success();
}

}  // namespace

Outcome walkFolder(const std::string& folder, Depth depth, const EntryWork& work) {
  return depth == Depth::Own ? walk<fs::directory_iterator>(folder, work)
                             : walk<fs::recursive_directory_iterator>(folder, work);
}

FileCopy::FileCopy(const std::string& original, const std::string& to)
    : from(original),
      source(fileExists(original) ? std::fopen(original.c_str(), "rbe") : nullptr),
      copy(to),
      block(std::make_unique_for_overwrite<uint8_t[]>(kBlock)) {
  std::error_code error;
  const auto size = fs::file_size(from, error);
  bytes = error ? 0 : static_cast<int64_t>(size);
}

bool FileCopy::next() {
  const size_t got = source ? std::fread(block.get(), 1, kBlock, source.get()) : 0;
  written += static_cast<int64_t>(got);
  return got > 0 && copy.write(block.get(), got);
}

Outcome FileCopy::commit() {
  if (!source) return Outcome::failure("Cannot open " + from + ".");
  if (std::ferror(source.get())) return Outcome::failure("Cannot read " + from + ".");
  return copy.commit();
}

Outcome copyFile(const std::string& from, const std::string& to) {
  FileCopy copy(from, to);
  while (copy.next()) continue;
  return copy.commit();
}

Outcome replaceFile(const std::string& path, std::span<const uint8_t> bytes) {
  AtomicFile file(path);
  file.write(bytes.data(), bytes.size());
  return file.commit();
}

Outcome replaceFile(const std::string& path, std::string_view text, AtomicFile::Flush flush) {
  AtomicFile file(path);
  file.write(text.data(), text.size());
  return file.commit(flush);
}

TemporaryFolder::TemporaryFolder(const char* purpose) {
  std::error_code error;
  const fs::path place = fs::temp_directory_path(error);
  std::string name = (place / (std::string("tarnvisor-") + purpose + "-XXXXXX")).string();
  if (!error && ::mkdtemp(name.data())) folder = withSeparator(name);
}

TemporaryFolder::~TemporaryFolder() {
  std::error_code error;
  if (!folder.empty()) fs::remove_all(folder, error);
}

std::string TemporaryFolder::file(const std::string& name) const {
  return folder.empty() ? std::string() : folder + name;
}

TemporaryFile& TemporaryFile::operator=(TemporaryFile&& other) noexcept {
  std::swap(file, other.file);
  return *this;
}

TemporaryFile::~TemporaryFile() {
  if (!file.empty()) std::remove(file.c_str());
}

bool makeFolderPath(const std::string& path) {
  if (path.empty()) return false;
  for (size_t at = path.find(kSeparator, 1);; at = path.find(kSeparator, at + 1)) {
    const std::string prefix = path.substr(0, at);
    if (!folderExists(prefix) && ::mkdir(prefix.c_str(), 0777) != 0 && !folderExists(prefix)) return false;
    if (at == std::string::npos || at + 1 == path.size()) return true;
  }
}

}  // namespace tarnvisor
