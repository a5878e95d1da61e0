// A list's stored form, in an archive and as a file of its own.
#include <cerrno>
#include <cstring>

#include "base/files.h"
#include "base/text.h"
#include "measure/dimlist.h"

namespace tarnvisor {

const ArchiveClass& CDimList::archiveClass() {
  static const ArchiveClass record{
      "CDimList", 1, nullptr, [] { return std::unique_ptr<ArchiveObject>(std::make_unique<CDimList>()); }};
  return record;
}

void CDimList::serialize(Archive& archive) {
  if (archive.isStoring()) {
    archive.writeCount(items.size());
    for (const auto& item : items) archive.writeObject(item.get());
    return;
  }
  constexpr size_t shortestReference = 2;
  items.clear();
  selectedindex = -1;
  for (size_t left = archive.readCountOf(shortestReference); left > 0; --left)
    if (auto item = archive.readOwned<CDim>()) append(std::move(item));
}

Outcome loadDimList(const std::string& path, CDimList& list) {
  struct CloseFile {
    void operator()(std::FILE* open) const { std::fclose(open); }
  };
  if (!fileExists(path)) return Outcome::failure(path + ": there is no such file");
  const std::unique_ptr<std::FILE, CloseFile> file(std::fopen(path.c_str(), "rbe"));
  if (!file) return Outcome::failure(path + ": " + std::strerror(errno));
  try {
    registerDimensionClasses();
    FileStream stream(file.get());
    Archive archive(stream, Archive::Direction::Loading);
    CDimList loaded;
    loaded.serialize(archive);
    list.items = std::move(loaded.items);
    list.selectedindex = -1;
  } catch (const ArchiveException& failure) {
    return Outcome::failure(path + ": " + failure.what());
  }
  return Outcome::success();
}

Outcome saveDimList(const std::string& path, CDimList& list) {
  AtomicFile file(path);
  if (!file.isOpen()) return file.commit();
  try {
    FileStream stream(file.file());
    Archive archive(stream, Archive::Direction::Storing);
    list.serialize(archive);
    archive.close();
  } catch (const ArchiveException& failure) {
    return Outcome::failure(path + ": " + failure.what());
  }
  return file.commit();
}

}  // namespace tarnvisor
