#include "charts/markerlist.h"

#include <algorithm>

namespace tarnvisor {

const ArchiveClass& CMarkerList::archiveClass() {
  static const ArchiveClass record{"CMarkerList", 1, nullptr, [] {
                                     return std::unique_ptr<ArchiveObject>(std::make_unique<CMarkerList>());
                                   }};
  return record;
}

void CMarkerList::serialize(Archive& archive) { archive.serializeOwned(items); }

CMarker& CMarkerList::add(std::unique_ptr<CMarker> marker) {
  items.push_back(std::move(marker));
  return *items.back();
}

bool CMarkerList::remove(const CMarker& marker) {
  return std::erase_if(items, [&](const auto& item) { return item.get() == &marker; }) > 0;
}

CMarkerList::Items CMarkerList::clones() const {
  Items copies;
  for (const auto& item : items) copies.push_back(item->Clone());
  return copies;
}

void CMarkerList::Shift(double seconds) {
  for (const auto& item : items) item->time += seconds;
}

std::unique_ptr<CMarkerList> CMarkerList::CopyRange(Archive& archive, double from, double to,
                                                    bool rebase) const {
  auto range = std::make_unique<CMarkerList>();
  for (const auto& item : items)
    if (from <= item->time && item->time < to) range->add(item->Clone());
  if (rebase) range->Shift(-from);
  archive.writeObject(range.get());
  return range;
}

bool CMarkerList::Merge(CMarkerList& other) {
  if (&other == this) return false;
  bool moved = false;
  for (auto& item : other.items) {
    const auto isEqual = [&](const auto& own) { return *own == *item; };
    if (std::ranges::any_of(items, isEqual)) continue;
    items.push_back(std::move(item));
    moved = true;
  }
  std::erase(other.items, nullptr);
  return moved;
}

}  // namespace tarnvisor
