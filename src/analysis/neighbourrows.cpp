#include "neighbourrows.h"

#include <algorithm>
#include <cstring>
#include <vector>

#include "base/parallel.h"
#include "paddedplane.h"

namespace tarnvisor {

namespace {

// The last three rows read, each with its end pixels repeated on both sides.
class RowRing {
 public:
  explicit RowRing(int32_t rowWidth) : width(rowWidth), rows(width, 3, 1, 0) {}
  bool valid() const { return rows.valid(); }
  void load(int32_t y, const uint8_t* from) {
    uint8_t* to = at(y);
    std::memcpy(to, from, static_cast<size_t>(width));
    to[-1] = to[0];
    to[width] = to[width - 1];
  }
  uint8_t* at(int32_t y) { return rows.row((y + 3) % 3); }

 private:
  int32_t width;
  PaddedPlane rows;
};

struct Seam {  // the two rows at a cut between pieces, as they were
  std::vector<uint8_t> above, below;
};

}  // namespace

bool filterByNeighbours(CZZimage& image, const std::function<RowFilter()>& makeFilter) {
  if (!isFilterable(image)) return false;
  const int32_t width = image.width;
  const int32_t height = image.height;
  // A smaller piece is done before a second thread has started.
  constexpr int64_t kPiecePixels = 2'000'000;
  const int64_t worthwhile = std::min<int64_t>(int64_t{width} * height / kPiecePixels, height / 8);
  const int32_t pieces = static_cast<int32_t>(std::clamp<int64_t>(worthwhile, 1, parallelThreads()));
  const auto edge = [&](int32_t piece) { return static_cast<int32_t>(int64_t{height} * piece / pieces); };
  std::vector<RowRing> rings;
  for (int32_t piece = 0; piece < pieces; ++piece)
    if (!rings.emplace_back(width).valid()) return false;
  std::vector<Seam> seams(static_cast<size_t>(pieces));
  for (int32_t piece = 1; piece < pieces; ++piece) {
    const uint8_t* below = image.row(edge(piece));
    const uint8_t* above = image.row(edge(piece) - 1);
    seams[static_cast<size_t>(piece)] = {{above, above + width}, {below, below + width}};
  }
  const auto filterPiece = [&](int32_t piece) {
    const int32_t begin = edge(piece);
    const int32_t end = edge(piece + 1);
    const RowFilter filter = makeFilter();
    RowRing& ring = rings[static_cast<size_t>(piece)];
    ring.load(begin - 1, piece > 0 ? seams[static_cast<size_t>(piece)].above.data() : image.row(begin));
    ring.load(begin, image.row(begin));
    for (int32_t y = begin; y < end; ++y) {
      if (y + 1 < end)
        ring.load(y + 1, image.row(y + 1));
      else if (end < height)
        ring.load(y + 1, seams[static_cast<size_t>(piece) + 1].below.data());
      else
        ring.load(y + 1, ring.at(y));
      filter(ring.at(y - 1), ring.at(y), ring.at(y + 1), image.row(y), width);
    }
  };
  parallelFor(pieces, 1, [&](int64_t begin, int64_t end) {
    for (int64_t piece = begin; piece < end; ++piece) filterPiece(static_cast<int32_t>(piece));
  });
  return true;
}

}  // namespace tarnvisor
