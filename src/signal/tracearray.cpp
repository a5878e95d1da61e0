#include "archive/archive.h"
#include "signal/trace.h"

namespace tarnvisor {

const ArchiveClass& CTraceArray::archiveClass() {
  static const ArchiveClass record{"CTraceArray", 1, nullptr, [] {
                                     return std::unique_ptr<ArchiveObject>(std::make_unique<CTraceArray>());
                                   }};
  return record;
}

void CTraceArray::serialize(Archive& archive) {
  if (archive.isStoring()) {
    archive.writeCount(items.size());
    for (const auto& item : items) archive.writeObject(item.get());
    return;
  }
  constexpr size_t shortestReference = 2;
  for (size_t left = archive.readCountOf(shortestReference); left > 0; --left)
    if (auto item = archive.readOwned<ZZTrace>()) items.push_back(std::move(item));
}

ZZTrace* CTraceArray::find(const std::string& name) const {
  for (const auto& item : items)
    if (item->name == name) return item.get();
  return nullptr;
}

}  // namespace tarnvisor
