// Paths as text, whole files, and the one way a file is replaced: written beside, flushed to disc, renamed.
// Paths from stored documents may carry either separator, so both are understood when a path is taken apart;
// paths that are made use kSeparator.
#pragma once

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/outcome.h"

namespace tarnvisor {

inline constexpr char kSeparator = '/';
// The longest path that buffers shared with other programs hold, its end included.
inline constexpr size_t kMaxPath = 260;

std::string fileNameOf(std::string_view path);   // after the last separator
std::string folderOf(std::string_view path);     // up to and including the last separator, or empty
std::string extensionOf(std::string_view path);  // after the last "." of the file name, or empty
std::string withoutExtension(
    std::string_view path);                     // without the last "." of the file name and what follows
std::string withSeparator(std::string folder);  // with a separator at its end, unless empty
bool isAbsolutePath(std::string_view path);
// From the root, without dots: what stays true when it is stored, or when another folder is entered.
std::string absolutePath(const std::string& path);
// Where a path leads when it is a symbolic link; any other as it stands.
std::string linkTarget(const std::string& path);
// From the root, through all links as far as it is there, without a separator at its end: the same however it
// is reached.
std::string realPath(std::string_view path);
bool sameFolder(std::string_view a, std::string_view b);  // after resolving; missing folders compare as text

// What a file is now; another after each time that it was replaced or written to. Empty when it isn't there.
std::string fileStamp(const std::string& path);
bool sameFile(const std::string& a, const std::string& b);  // both there, and one and the same
bool fileExists(const std::string& path);                   // a regular file (or device) that can be examined
bool folderExists(const std::string& path);
std::string workingFolder();                        // with a separator at its end
uint64_t freeDiscBytes(const std::string& folder);  // what may still be written there; 0 when unknown

// Each entry of a folder, or of all below it as well, until the work fails or one can't be read. Links are
// not followed.
enum class Depth { Own, All };
using EntryWork = std::function<Outcome(const std::filesystem::directory_entry&)>;
Outcome walkFolder(const std::string& folder, Depth depth, const EntryWork& work);

// The bytes of a file; nothing when it can't be opened or read, or is longer than maxBytes.
std::optional<std::vector<uint8_t>> readWholeFile(const std::string& path, uint64_t maxBytes = UINT64_MAX);
std::optional<std::string> readWholeText(const std::string& path, uint64_t maxBytes = UINT64_MAX);

// Whether nothing protects that name against a new content: there is no file, or one that may be written.
bool mayReplace(const std::string& path);
// A name that no file has, taken by an empty file, so that programs that run side by side choose different
// ones. The file goes with this object unless something was written to it or put in its place.
class TakenName {
 public:
  TakenName() = default;
  // The first that is free of those that nameOf gives, from 0; a file of the caller's own counts as free and
  // is left alone. Where the folder takes no file, the name alone.
  explicit TakenName(const std::function<std::string(int number)>& nameOf, const std::string& own = {});
  // Of stem, stem-1, stem-2...
  TakenName(const std::string& stem, const std::string& ending, const std::string& own = {});
  TakenName(TakenName&& other) noexcept;
  TakenName& operator=(TakenName&& other) noexcept;
  ~TakenName();
  const std::string& path() const { return name; }

 private:
  std::string name;
  std::string stamp;  // of the empty file; empty where there is none
};

// Writes to a new file beside the wanted one. Until commit() succeeds the old file stays as it was; without
// commit() the new one is removed. The mode of a file that is replaced is kept. A symbolic link is followed.
// A file that may not be written is not replaced either.
class AtomicFile {
 public:
  // A file that many small writes replace may leave the moment it reaches the disc to the system: after a
  // power cut it is then the old one or the new one.
  enum class Flush { ToDisc, Later };

  explicit AtomicFile(const std::string& path);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  bool isOpen() const { return stream != nullptr; }
  std::FILE* file() { return stream; }  // owned by this object
  // The name of the file being written, for a library that opens files by name; see releaseToWriterByName.
  const std::string& temporaryPath() const { return temporary; }
  // Closes the stream so that a library may write the temporary file by name; commit() still syncs and
  // renames.
  void releaseToWriterByName();
  bool write(const void* bytes, size_t count);  // what fails here is told by commit()
  // Flushes to disc and renames. On failure the old file is untouched and the words say what failed.
  Outcome commit(Flush flush = Flush::ToDisc);
  // Whether commit() took the place of a file, be it one that came after this object was made.
  bool hasReplaced() const { return replaced; }

 private:
  bool takePlace();
  Outcome failed(const char* what);
  std::string target;
  std::string temporary;
  std::FILE* stream = nullptr;
  bool byName = false;
  bool replaced = false;
  int openError = 0;
  int writeError = 0;
};

// While one lives, no file waits for the disc: for a folder that nobody relies on before it was flushed as a
// whole (flushFolder). Of the process; the database keeps to it, too.
class FlushLater {
 public:
  FlushLater();
  ~FlushLater();
  FlushLater(const FlushLater&) = delete;
  FlushLater& operator=(const FlushLater&) = delete;
  static bool isOn();
};
// All that lies in a folder, and the folder.
Outcome flushFolder(const std::string& folder);
// The same by one call for the whole disc: for folders of thousands of files.
Outcome flushGreatFolder(const std::string& folder);
// That a file or folder has this name.
void flushName(const std::string& path);

// A copy byte by byte, a block a step. A file of the new name is replaced at once by commit(); without it
// there is no copy.
class FileCopy {
 public:
  FileCopy(const std::string& source, const std::string& copy);
  [[nodiscard]] bool next();  // false when all is written, or after a failure
  int64_t done() const { return written; }
  int64_t total() const { return bytes; }  // 0 where nobody knows
  [[nodiscard]] Outcome commit();

 private:
  struct CloseFile {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  std::string from;
  std::unique_ptr<std::FILE, CloseFile> source;
  AtomicFile copy;
  static constexpr size_t kBlock = size_t{1} << 20;
  std::unique_ptr<uint8_t[]> block;  // untouched but for what is read: most files are far smaller
  int64_t written = 0, bytes = 0;
};
Outcome copyFile(const std::string& from, const std::string& to);  // all at once
Outcome replaceFile(const std::string& path, std::span<const uint8_t> bytes);
Outcome replaceFile(const std::string& path, std::string_view text,
                    AtomicFile::Flush flush = AtomicFile::Flush::ToDisc);

// A folder of this run alone, which goes with all that lies in it.
class TemporaryFolder {
 public:
  // The purpose stands in the folder's name, for people who find one.
  explicit TemporaryFolder(const char* purpose);
  ~TemporaryFolder();
  TemporaryFolder(const TemporaryFolder&) = delete;
  TemporaryFolder& operator=(const TemporaryFolder&) = delete;
  // The path of a file to be made in it; empty where no folder could be made.
  std::string file(const std::string& name) const;

 private:
  std::string folder;  // with its separator
};

// A file that goes with this object, unless somebody keeps it.
class TemporaryFile {
 public:
  TemporaryFile() = default;
  explicit TemporaryFile(std::string path) : file(std::move(path)) {}
  TemporaryFile(TemporaryFile&& other) noexcept : file(other.keep()) {}
  TemporaryFile& operator=(TemporaryFile&& other) noexcept;
  ~TemporaryFile();
  const std::string& path() const { return file; }  // empty once it is kept
  std::string keep() { return std::exchange(file, {}); }

 private:
  std::string file;
};

// Makes all missing folders of a path, from the first. False when one can't be made.
bool makeFolderPath(const std::string& path);

}  // namespace tarnvisor
