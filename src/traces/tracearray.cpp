#include "archive/archive.h"
#include "traces/trace.h"

namespace tarnvisor {

const ArchiveClass& CTraceArray::archiveClass() {
  static const ArchiveClass record{"CTraceArray", 1, nullptr, [] {
                                     return std::unique_ptr<ArchiveObject>(std::make_unique<CTraceArray>());
                                   }};
  return record;
}

void CTraceArray::serialize(Archive& archive) { archive.serializeOwned(items); }

ZZTrace* CTraceArray::find(const std::string& name) const {
  for (const auto& item : items)
    if (item->name == name) return item.get();
  return nullptr;
}

}  // namespace tarnvisor
