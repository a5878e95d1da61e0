#include "drawing/metafile.h"

#include <cmath>
#include <numbers>
#include <optional>
#include <set>
#include <vector>

#include "base/bytes.h"

namespace tarnvisor {

namespace {

constexpr size_t kHeaderBytes = 18;
constexpr size_t kPlacedBytes = 22;
constexpr uint32_t kPlacedKey = 0x9ac6cdd7;
// Of one drawing: enough for any grid, and little enough to be drawn with each step of the mouse.
constexpr int64_t kMostPoints = 200'000;
constexpr size_t kMostObjects = 65'536;

enum Function : uint16_t {
  kSetTextColour = 0x0209,
  kSetWindowOrigin = 0x020b,
  kSetWindowExtent = 0x020c,
  kLineTo = 0x0213,
  kMoveTo = 0x0214,
  kPolygon = 0x0324,
  kPolyline = 0x0325,
  kEllipse = 0x0418,
  kRectangle = 0x041b,
  kSetPixel = 0x041f,
  kTextOut = 0x0521,
  kPolyPolygon = 0x0538,
  kArc = 0x0817,
  kPie = 0x081a,
  kChord = 0x0830,
  kSelectObject = 0x012d,
  kDeleteObject = 0x01f0,
  kCreatePen = 0x02fa,
  // Objects that draw nothing here but take a place in the table.
  kCreatePalette = 0x00f7,
  kCreatePatternBrush = 0x01f9,
  kCreateDibPatternBrush = 0x0142,
  kCreateFont = 0x02fb,
  kCreateBrush = 0x02fc,
  kCreateRegion = 0x06ff,
};

// The parameters of one record: 16-bit words.
class Words {
 public:
  explicit Words(std::span<const uint8_t> parameters) : bytes(parameters) {}
  size_t size() const { return bytes.size() / 2; }
  int32_t at(size_t index) const { return getLittle<int16_t>(bytes.data() + index * 2); }
  uint16_t unsignedAt(size_t index) const { return getLittle<uint16_t>(bytes.data() + index * 2); }
  Colour colourAt(size_t index) const { return getLittle<uint32_t>(bytes.data() + index * 2) & 0xffffff; }
  Point pointAt(size_t index) const { return {at(index), at(index + 1)}; }      // x, y
  Point backwardsAt(size_t index) const { return {at(index + 1), at(index)}; }  // y, x
  Rect rectAt(size_t i) const {
    return {at(i + 3), at(i + 2), at(i + 1), at(i)};
  }  // bottom, right, top, left
  std::string textAt(size_t index, size_t count) const {
    return {reinterpret_cast<const char*>(bytes.data() + index * 2), count};
  }

 private:
  std::span<const uint8_t> bytes;
};

class Player {
 public:
  Player(Canvas* drawnOn, const Rect& targetRect, Colour colour)
      : canvas(drawnOn), target(targetRect), plain{{colour, 1, false}, true}, pen(plain) {}

  void play(std::span<const uint8_t> metafile);
  bool saysExtent() const { return extentKnown; }
  // What was drawn, in the drawing's own coordinates, both ends included.
  Rect drawnBounds() const { return bounds.value_or(Rect{}); }
  // In place of the window that the drawing tells.
  void fixWindow(const Rect& r) {
    origin = r.topLeft();
    extent = {r.width(), r.height()};
    windowFixed = true;
  }

 private:
  struct PenObject {
    Pen pen;
    bool draws = true;
  };
  using Object = std::optional<PenObject>;  // nothing: not a pen

  bool record(uint16_t function, const Words& words);  // false ends the drawing
  bool drawing(uint16_t function, const Words& words);
  bool object(uint16_t function, const Words& words);
  bool polygons(const Words& words);
  bool arc(uint16_t function, const Words& words);
  void line(std::span<const Point> points, bool closed);
  void create(const Object& made);
  void select(size_t index);
  void remove(size_t index);
  Point toTarget(Point p) const;
  // Notes what is drawn; false when it isn't to be drawn.
  bool draws(std::span<const Point> points);

  Canvas* canvas;  // null to find out the bounds
  Rect target;
  Point origin;
  Point extent{1, 1};
  bool extentKnown = false;
  bool windowFixed = false;
  Point position;
  std::vector<std::optional<Object>> objects;  // nothing: a free place
  std::set<size_t> freePlaces;
  PenObject plain, pen;
  Colour textColour = 0;
  int64_t pointsLeft = kMostPoints;
  std::optional<Rect> bounds;
};

Point Player::toTarget(Point p) const {
  const auto map = [](int64_t v, int64_t from, int64_t over, int64_t to, int64_t room) {
    constexpr int64_t kFar = 1 << 30;
    const int64_t moved =
        to + std::llround(static_cast<double>((v - from) * room) / static_cast<double>(over));
    return static_cast<int32_t>(std::clamp(moved, -kFar, kFar));
  };
  return {map(p.x, origin.x, extent.x, target.left, target.width()),
          map(p.y, origin.y, extent.y, target.top, target.height())};
}

bool Player::draws(std::span<const Point> points) {
  pointsLeft -= static_cast<int64_t>(points.size());
  for (const Point& p : points) {
    const Rect r = bounds.value_or(Rect{p.x, p.y, p.x, p.y});
    bounds =
        Rect{std::min(r.left, p.x), std::min(r.top, p.y), std::max(r.right, p.x), std::max(r.bottom, p.y)};
  }
  return canvas && pen.draws && !points.empty() && pointsLeft >= 0;
}

void Player::line(std::span<const Point> points, bool closed) {
  if (!draws(points)) return;
  std::vector<Point> moved;
  moved.reserve(points.size());
  for (const Point& p : points) moved.push_back(toTarget(p));
  canvas->setPen(pen.pen);
  closed ? canvas->polygon(moved) : canvas->polyline(moved);
}

void Player::create(const Object& made) {
  if (!freePlaces.empty()) {
    objects[*freePlaces.begin()] = made;
    freePlaces.erase(freePlaces.begin());
  } else if (objects.size() < kMostObjects) {
    objects.emplace_back(made);
  }
}

void Player::select(size_t index) {
  if (index < objects.size() && objects[index] && *objects[index]) pen = **objects[index];
}

void Player::remove(size_t index) {
  if (index >= objects.size() || !objects[index]) return;
  objects[index].reset();
  freePlaces.insert(index);
}

// A count, the counts of the polygons, then their points.
bool Player::polygons(const Words& words) {
  if (words.size() < 1) return false;
  const size_t count = words.unsignedAt(0);
  size_t at = 1 + count;
  if (at > words.size()) return false;
  for (size_t i = 0; i < count && pointsLeft >= 0; ++i) {
    const size_t length = words.unsignedAt(1 + i);
    if (length * 2 > words.size() - at) return false;
    std::vector<Point> points;
    for (size_t n = 0; n < length; ++n, at += 2) points.push_back(words.pointAt(at));
    line(points, true);
  }
  return true;
}

// Anticlockwise from where a ray through the start point leaves the ellipse to the ray through the end point.
bool Player::arc(uint16_t function, const Words& words) {
  constexpr int kSteps = 64;
  if (words.size() < 8) return false;
  const Point end = words.backwardsAt(0), start = words.backwardsAt(2);
  const Rect r = words.rectAt(4);
  const double cx = (r.left + r.right) / 2.0, cy = (r.top + r.bottom) / 2.0;
  const double rx = (r.right - r.left) / 2.0, ry = (r.bottom - r.top) / 2.0;
  if (rx == 0 || ry == 0) return true;
  const double from = std::atan2(-(start.y - cy) / ry, (start.x - cx) / rx);
  double sweep = std::atan2(-(end.y - cy) / ry, (end.x - cx) / rx) - from;
  if (sweep <= 0) sweep += 2 * std::numbers::pi;
  std::vector<Point> points;
  for (int i = 0; i <= kSteps; ++i) {
    const double angle = from + sweep * i / kSteps;
    points.push_back({static_cast<int32_t>(std::lround(cx + rx * std::cos(angle))),
                      static_cast<int32_t>(std::lround(cy - ry * std::sin(angle)))});
  }
  if (function == kPie) points.push_back({static_cast<int32_t>(cx), static_cast<int32_t>(cy)});
  line(points, function != kArc);
  return true;
}

bool Player::object(uint16_t function, const Words& words) {
  constexpr uint16_t kStyleMask = 0xf, kDash = 1, kDashDotDot = 4, kNoPen = 5;
  switch (function) {
    case kCreatePen: {
      if (words.size() < 5) return false;
      const int32_t style = words.unsignedAt(0) & kStyleMask;
      create(PenObject{{words.colourAt(3), 1, style >= kDash && style <= kDashDotDot}, style != kNoPen});
      return true;
    }
    case kCreatePalette:
    case kCreatePatternBrush:
    case kCreateDibPatternBrush:
    case kCreateFont:
    case kCreateBrush:
    case kCreateRegion:
      create(Object{});
      return true;
    case kSelectObject:
    case kDeleteObject:
      if (words.size() < 1) return false;
      function == kSelectObject ? select(words.unsignedAt(0)) : remove(words.unsignedAt(0));
      return true;
    default:
      return true;  // a record that draws nothing here
  }
}

bool Player::drawing(uint16_t function, const Words& words) {
  switch (function) {
    case kLineTo: {
      if (words.size() < 2) return false;
      const Point ends[] = {position, words.backwardsAt(0)};
      position = ends[1];
      line(ends, false);
      return true;
    }
    case kPolygon:
    case kPolyline: {
      if (words.size() < 1 || words.size() < 1 + size_t{words.unsignedAt(0)} * 2) return false;
      std::vector<Point> points;
      for (size_t i = 0; i < words.unsignedAt(0); ++i) points.push_back(words.pointAt(1 + i * 2));
      line(points, function == kPolygon);
      return true;
    }
    case kEllipse:
    case kRectangle: {
      if (words.size() < 4) return false;
      const Rect r = words.rectAt(0);
      const Point corners[] = {r.topLeft(), {r.right, r.bottom}};
      if (!draws(corners)) return true;
      const Point a = toTarget(corners[0]), b = toTarget(corners[1]);
      const Rect moved = Rect{a.x, a.y, b.x, b.y}.normalised();
      canvas->setPen(pen.pen);
      function == kEllipse ? canvas->ellipse(moved) : canvas->rectangle(moved);
      return true;
    }
    case kSetPixel: {
      if (words.size() < 4) return false;
      const Point at = words.backwardsAt(2);
      if (!draws({&at, 1})) return true;
      canvas->setPen({words.colourAt(0), 1, false});
      canvas->point(toTarget(at));
      return true;
    }
    case kTextOut: {
      // A byte count, the bytes in whole words, y, x.
      const size_t count = words.size() > 0 ? words.unsignedAt(0) : SIZE_MAX;
      if (words.size() < 3 || (count + 1) / 2 > words.size() - 3) return false;
      const Point at = words.backwardsAt(1 + (count + 1) / 2);
      if (draws({&at, 1})) canvas->text(toTarget(at), words.textAt(1, count), textColour);
      return true;
    }
    default:
      return object(function, words);
  }
}

bool Player::record(uint16_t function, const Words& words) {
  switch (function) {
    case kSetWindowOrigin:
    case kSetWindowExtent:
    case kMoveTo:
    case kSetTextColour:
      if (words.size() < 2) return false;
      break;
    case kPolyPolygon:
      return polygons(words);
    case kArc:
    case kPie:
    case kChord:
      return arc(function, words);
    default:
      return drawing(function, words);
  }
  const Point p = words.backwardsAt(0);
  if (function == kSetWindowOrigin && !windowFixed) origin = p;
  if (function == kMoveTo) position = p;
  if (function == kSetTextColour) textColour = words.colourAt(0);
  if (function == kSetWindowExtent && p.x != 0 && p.y != 0 && !windowFixed) {
    extent = p;
    extentKnown = true;
  }
  return true;
}

// A record is its length in words, 32 bits, its function, 16 bits, and its parameters.
void Player::play(std::span<const uint8_t> rest) {
  constexpr size_t kRecordHead = 6;
  rest = rest.subspan(kHeaderBytes);
  while (rest.size() >= kRecordHead && pointsLeft >= 0) {
    const uint64_t length = uint64_t{getLittle<uint32_t>(rest.data())} * 2;
    const auto function = getLittle<uint16_t>(rest.data() + 4);
    if (length < kRecordHead || length > rest.size() || function == 0) return;
    if (!record(function, Words(rest.subspan(kRecordHead, length - kRecordHead)))) return;
    rest = rest.subspan(length);
  }
}

}  // namespace

std::span<const uint8_t> metafileOf(std::span<const uint8_t> file) {
  if (file.size() >= kPlacedBytes && getLittle<uint32_t>(file.data()) == kPlacedKey)
    file = file.subspan(kPlacedBytes);
  if (file.size() < kHeaderBytes) return {};
  const uint64_t size = uint64_t{getLittle<uint32_t>(file.data() + 6)} * 2;
  return size < kHeaderBytes || size > file.size() ? std::span<const uint8_t>() : file.first(size);
}

void playMetafile(std::span<const uint8_t> metafile, Canvas& canvas, const Rect& target, Colour colour) {
  metafile = metafileOf(metafile);
  if (metafile.empty() || target.isEmpty()) return;
  Player measuring(nullptr, target, colour);
  measuring.play(metafile);
  Player player(&canvas, target, colour);
  if (!measuring.saysExtent()) {
    const Rect bounds = measuring.drawnBounds();
    if (bounds.isEmpty()) return;
    player.fixWindow(bounds);
  }
  player.play(metafile);
}

}  // namespace tarnvisor
