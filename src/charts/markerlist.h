// The ordered owner of a document's markers.
#pragma once

#include <memory>
#include <vector>

#include "charts/marker.h"

namespace tarnvisor {

class CMarkerList : public ArchiveObject {
 public:
  static const ArchiveClass& archiveClass();
  const ArchiveClass& classRecord() const override { return archiveClass(); }
  // Reading appends; what was read before an exception stays. A null item is passed over.
  void serialize(Archive& archive) override;

  size_t size() const { return items.size(); }
  CMarker& add(std::unique_ptr<CMarker> marker);  // at the tail
  // Destroys one; false when it is not in the list.
  bool remove(const CMarker& marker);
  void Clear() { items.clear(); }
  void Shift(double seconds);  // of each time, unplaced ones too
  // Stores a list of clones of the markers with from <= time < to; with rebase their times count from `from`.
  // An archive tells objects apart by their address: keep what is returned until the store is complete.
  [[nodiscard]] std::unique_ptr<CMarkerList> CopyRange(Archive& archive, double from, double to,
                                                       bool rebase) const;
  // Moves each marker of the other list that has no equal here to the tail of this one; the rest stays there.
  // True if any moved.
  bool Merge(CMarkerList& other);

  using Items = std::vector<std::unique_ptr<CMarker>>;
  Items clones() const;

  Items items;
};

}  // namespace tarnvisor
