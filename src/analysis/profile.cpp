#include "analysis/profile.h"

#include <algorithm>
#include <cmath>

#include "base/numbers.h"
#include "image/palette.h"
#include "measure/segmentclip.h"

namespace tarnvisor {

namespace {

constexpr double kMostLevels = 1e8;

// What of a path lies within the image, in its own frame rows.
struct Piece {
  Point from, to;
  double length;
};

// What lies outside is cut off first: a damaged file's line may be of any length.
std::vector<Piece> piecesWithin(const CZZimage& image, std::span<const Point> path) {
  std::vector<Piece> pieces;
  if (image.empty() || path.empty()) return pieces;
  const Rect pixels{0, 0, image.width - 1, image.frameHeight() - 1};  // clipping counts both sides in
  const Point origin = image.frameOrigin();
  for (size_t i = 0; i < std::max<size_t>(1, path.size() - 1); ++i) {
    Point a = path[i] - origin, b = path[std::min(i + 1, path.size() - 1)] - origin;
    if (clipSegment(a, b, pixels, false)) pieces.push_back({a, b, std::hypot(b.x - a.x, b.y - a.y)});
  }
  return pieces;
}

double lengthOf(std::span<const Piece> pieces) {
  double length = 0;
  for (const Piece& piece : pieces) length += piece.length;
  return length;
}

// Calls with the place, in pixels, and the piece that it lies on, at even steps from the path's first point
// to its last; without steps once.
template <class Work>
void walk(std::span<const Piece> pieces, int32_t steps, const Work& work) {
  const double length = lengthOf(pieces);
  auto piece = pieces.begin();
  double before = 0;  // of the path, up to the piece
  for (int32_t n = 0; n <= steps; ++n) {
    const double at = steps > 0 ? length * n / steps : 0;
    for (; at > before + piece->length && piece + 1 != pieces.end(); ++piece) before += piece->length;
    const double part = piece->length > 0 ? std::min(1.0, (at - before) / piece->length) : 0;
    const Point a = piece->from, b = piece->to;
    work(a.x + part * (b.x - a.x), a.y + part * (b.y - a.y), *piece);
  }
}

int32_t stepsAlong(double length) {
  return length > 0 ? static_cast<int32_t>(std::clamp(std::round(length), 1.0, kMostLevels)) : 0;
}

}  // namespace

double greyOf(const uint8_t* blueGreenRed) {
  const GreyWeights weights = weightsOfImages();
  return blueGreenRed[0] * weights.blue + blueGreenRed[1] * weights.green + blueGreenRed[2] * weights.red;
}

double greyLevelAt(const CZZimage& image, Point at) {
  const int32_t y = image.isField() ? at.y / 2 : at.y;
  const uint8_t* p = image.row(y) + static_cast<ptrdiff_t>(at.x) * image.bytesPerPixel;
  return image.bytesPerPixel == 1 ? p[0] : greyOf(p);
}

double lengthWithin(const CZZimage& image, std::span<const Point> path) {
  return lengthOf(piecesWithin(image, path));
}

std::vector<double> levelsAlong(const CZZimage& image, std::span<const Point> path) {
  std::vector<double> levels;
  const std::vector<Piece> pieces = piecesWithin(image, path);
  if (pieces.empty()) return levels;
  walk(pieces, stepsAlong(lengthOf(pieces)), [&](double x, double y, const Piece&) {
    levels.push_back(greyLevelAt(image, {truncated(x + 0.5), truncated(y + 0.5)}));
  });
  return levels;
}

namespace {

// Between the pixels, at a frame row; of a field between the rows that it has.
double levelBetween(const CZZimage& image, double x, double frameRow) {
  const double y = image.isField() ? std::clamp(frameRow / 2 - 0.25, 0.0, image.height - 1.0) : frameRow;
  const auto left = static_cast<int32_t>(std::min(x, image.width - 2.0));
  const auto top = static_cast<int32_t>(std::min(y, image.height - 2.0));
  const double dx = x - left, dy = y - top;
  const uint8_t* p = image.row(top) + static_cast<ptrdiff_t>(left) * image.bytesPerPixel;
  const auto level = [&image](const uint8_t* at) { return image.bytesPerPixel == 1 ? at[0] : greyOf(at); };
  const auto inRow = [&](const uint8_t* at) {
    return level(at) * (1 - dx) + level(at + image.bytesPerPixel) * dx;
  };
  return inRow(p) * (1 - dy) + inRow(p + image.stride) * dy;
}

// The mean of the levels beside one another at right angles to the piece, as far as they lie in the image.
double levelAcross(const CZZimage& image, double x, double y, const Piece& piece, int32_t across) {
  const double ux = (piece.to.x - piece.from.x) / piece.length,
               uy = (piece.to.y - piece.from.y) / piece.length;
  double sum = 0;
  int32_t count = 0;
  for (int32_t k = 0; k < across; ++k) {
    const double aside = k - 0.5 * (across - 1);
    const double px = x - aside * uy, py = y + aside * ux;
    if (px < 0 || py < 0 || px > image.width - 1 || py > image.frameHeight() - 1) continue;
    sum += levelBetween(image, px, py);
    ++count;
  }
  return count > 0 ? sum / count : levelBetween(image, x, y);
}

}  // namespace

FineLevels fineLevelsAlong(const CZZimage& image, std::span<const Point> path, int32_t across) {
  FineLevels fine;
  const Rect frame = image.frameRect();
  if (image.width < 2 || image.height < 2) return fine;
  if (!std::ranges::all_of(path, [&](Point p) { return frame.contains(p); })) return fine;
  std::vector<Piece> pieces = piecesWithin(image, path);
  std::erase_if(pieces, [](const Piece& piece) { return piece.length == 0; });
  const double length = lengthOf(pieces);
  const int32_t steps = stepsAlong(length);
  if (steps < 1) return fine;
  fine.apart = length / steps;
  walk(pieces, steps, [&](double x, double y, const Piece& piece) {
    fine.levels.push_back(levelAcross(image, x, y, piece, across));
  });
  return fine;
}

}  // namespace tarnvisor
