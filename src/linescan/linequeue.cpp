#include "linescan/linequeue.h"

#include <algorithm>
#include <utility>

namespace tarnvisor {

namespace {

constexpr size_t kMostBytes = size_t{1} << 25;

}  // namespace

LineQueue::LineQueue(ScanLine line1, ScanLine line2, bool fields, int32_t images)
    : first(std::move(line1)),
      second(std::move(line2)),
      rowsAnImage(fields ? 2 : 1),
      bytesARow(std::max<size_t>(1, first.size() + second.size())) {
  const size_t bytesAnImage = bytesARow * static_cast<size_t>(rowsAnImage);
  const size_t room = std::min(static_cast<size_t>(std::max(1, images)), kMostBytes / bytesAnImage);
  numbers.resize(room);
  inside.resize(room * static_cast<size_t>(rowsAnImage));
  levels.resize(room * bytesAnImage);
}

void LineQueue::sample(const CZZimage& image, int64_t number) {
  const uint64_t next = put.load(std::memory_order_relaxed);
  if (next - taken.load(std::memory_order_acquire) == numbers.size()) {
    lostRows.fetch_add(rowsAnImage, std::memory_order_relaxed);
    return;
  }
  const size_t at = place(next);
  numbers[at] = number;
  for (int32_t field = 0; field < rowsAnImage; ++field) {
    using R = ScanLine::Rows;
    const R rows = rowsAnImage == 1 ? R::All : field == 0 ? R::FirstField : R::SecondField;
    const std::span<uint8_t> row(levels.data() + beginOf(at, field), bytesARow);
    inside[at * static_cast<size_t>(rowsAnImage) + static_cast<size_t>(field)] =
        first.levels(image, row, rows) &&
        (second.isEmpty() || second.levels(image, row.subspan(first.size()), rows));
  }
  put.store(next + 1, std::memory_order_release);
}

LineQueue::Row LineQueue::row(int32_t field) const {
  const size_t at = place(taken);
  const std::span<const uint8_t> row(levels.data() + beginOf(at, field), bytesARow);
  return {inside[at * static_cast<size_t>(rowsAnImage) + static_cast<size_t>(field)] != 0,
          row.first(first.size()), row.subspan(first.size(), second.size())};
}

}  // namespace tarnvisor
