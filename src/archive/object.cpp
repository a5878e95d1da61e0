#include "archive/object.h"

#include <stdexcept>
#include <unordered_map>

#include "archive/archive.h"

namespace tarnvisor {

namespace {
std::unordered_map<std::string_view, const ArchiveClass*>& registry() {
  static std::unordered_map<std::string_view, const ArchiveClass*> classes;
  return classes;
}
}  // namespace

ArchiveObject::~ArchiveObject() {
  if (loader) loader->forget(loadNumber);
}

void registerArchiveClass(const ArchiveClass& record) {
  const auto [known, isNew] = registry().emplace(record.name, &record);
  if (!isNew && known->second != &record)
    throw std::logic_error(std::string("two classes are stored as ") + record.name);
}

const ArchiveClass* findArchiveClass(std::string_view name) {
  const auto found = registry().find(name);
  return found == registry().end() ? nullptr : found->second;
}

}  // namespace tarnvisor
