#include "dynamic/movieversions.h"

#include <algorithm>
#include <filesystem>
#include <span>

#include "archive/archive.h"
#include "base/files.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr const char* kSignature = "tarnvisor movie versions";
constexpr int32_t kStoredVersion = 1;
constexpr size_t kShortest = 40;  // bytes of a version
constexpr int32_t kMostVersions = 1 << 24;

void store(Archive& archive, const MovieVersion& version, const std::string& folder) {
  archive.putInt(version.number);
  archive.putInt(version.madeOf);
  archive.writeString(version.what);
  archive.writeString(sameFolder(folderOf(version.file), folder) ? fileNameOf(version.file) : version.file);
  archive.putInt(version.size.width);
  archive.putInt(version.size.height);
  archive.putInt(version.images);
  archive.putDouble(static_cast<double>(version.made));
  archive.putByte(version.isOwn);
  archive.putByte(version.isSaved);
  archive.writeValues(std::span(version.table));
}

// A movie that is away may lie beside, where its folder was moved or copied.
std::string foundFile(const std::string& stored, const std::string& folder) {
  std::string beside = folder + fileNameOf(stored);
  return isAbsolutePath(stored) && (fileExists(stored) || !fileExists(beside)) ? stored : beside;
}

MovieVersion loaded(Archive& archive, const std::string& folder) {
  MovieVersion version;
  version.number = archive.getInt();
  version.madeOf = archive.getInt();
  version.what = archive.readString();
  version.file = foundFile(archive.readString(), folder);
  version.size.width = archive.getInt();
  version.size.height = archive.getInt();
  version.images = archive.getInt();
  version.made = static_cast<int64_t>(std::clamp(archive.getDouble(), 0.0, 1e15));
  version.isOwn = archive.getByte();
  version.isSaved = archive.getByte();
  archive.readValues(version.table);
  return version;
}

template <class Items>
auto whereNumber(Items& items, int32_t number) {
  const auto found = std::ranges::find(items, number, &MovieVersion::number);
  return found == items.end() ? nullptr : &*found;
}

template <class Items>
auto whereFile(Items& items, const std::string& file) {
  auto found = std::ranges::find(items, file, &MovieVersion::file);
  if (found == items.end())
    found = std::ranges::find_if(items, [&](const MovieVersion& each) { return sameFile(each.file, file); });
  return found == items.end() ? nullptr : &*found;
}

}  // namespace

MovieVersion* MovieVersions::find(int32_t number) { return whereNumber(items, number); }
const MovieVersion* MovieVersions::find(int32_t number) const { return whereNumber(items, number); }

MovieVersion* MovieVersions::ofFile(const std::string& file) { return whereFile(items, file); }
const MovieVersion* MovieVersions::ofFile(const std::string& file) const { return whereFile(items, file); }

MovieVersion& MovieVersions::add(MovieVersion version) {
  version.number = items.empty() ? 1 : items.back().number + 1;
  return items.emplace_back(std::move(version));
}

void MovieVersions::remove(int32_t number) {
  std::erase_if(items, [number](const MovieVersion& each) { return each.number == number; });
}

Outcome MovieVersions::write(const std::string& path) const {
  MemoryStream memory;
  Archive archive(memory, Archive::Direction::Storing);
  archive.writeString(kSignature);
  archive.putInt(kStoredVersion);
  archive.writeCount(items.size());
  for (const MovieVersion& each : items) store(archive, each, folderOf(path));
  archive.close();
  return replaceFile(path, memory.bytes());
}

Outcome MovieVersions::read(const std::string& path) {
  auto bytes = readWholeFile(path);
  if (!bytes) return Outcome::failure("it can't be read");
  try {
    MemoryStream memory(std::move(*bytes));
    Archive archive(memory, Archive::Direction::Loading);
    if (archive.readString() != kSignature) return Outcome::failure("it is no list of versions");
    if (archive.getInt() > kStoredVersion) return Outcome::failure("it was stored by a newer version");
    std::vector<MovieVersion> read;
    for (size_t left = archive.readCountOf(kShortest); left > 0; --left) {
      const int32_t before = read.empty() ? 0 : read.back().number;
      read.push_back(loaded(archive, folderOf(path)));
      if (read.back().number <= before || read.back().number > kMostVersions)
        return Outcome::failure("its numbers are damaged");
    }
    items = std::move(read);
    return Outcome::success();
  } catch (const ArchiveException& e) {
    return Outcome::failure(e.what());
  }
}

std::string versionsFileOf(const std::string& documentPath) {
  return withoutExtension(documentPath) + ".versions";
}

uint64_t fileSize(const std::string& path) {
  std::error_code error;
  const auto size = std::filesystem::file_size(path, error);
  return error ? 0 : size;
}

std::string sizeInWords(uint64_t bytes) {
  const auto size = static_cast<double>(bytes);
  if (size < 1e6) return format("%.1f kB", size / 1e3);
  return size < 1e9 ? format("%.1f MB", size / 1e6) : format("%.1f GB", size / 1e9);
}

}  // namespace tarnvisor
