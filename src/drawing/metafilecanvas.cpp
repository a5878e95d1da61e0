#include "drawing/metafilecanvas.h"

#include <algorithm>
#include <string>

#include "base/bytes.h"

namespace tarnvisor {

namespace {

enum Function : uint16_t {
  kSaveState = 0x001e,
  kSetTransparent = 0x0102,
  kSetMapMode = 0x0103,
  kRestoreState = 0x0127,
  kSelectObject = 0x012d,
  kSetTextColour = 0x0209,
  kSetWindowOrigin = 0x020b,
  kSetWindowExtent = 0x020c,
  kCreatePen = 0x02fa,
  kCreateFont = 0x02fb,
  kCreateBrush = 0x02fc,
  kPolygon = 0x0324,
  kPolyline = 0x0325,
  kClipTo = 0x0416,
  kEllipse = 0x0418,
  kRectangle = 0x041b,
  kTextOut = 0x0521,
  kPaintRectangle = 0x061d,
  kStretchPixels = 0x0f43,
};
constexpr uint16_t kSolid = 0, kDash = 1, kNoPen = 5, kHollow = 1;
constexpr uint32_t kCopySource = 0x00cc0020, kCopyPattern = 0x00f00021;
constexpr size_t kMostPoints = 16'000;

// A record from its words; its length stands before it.
class Words {
 public:
  explicit Words(uint16_t function) : bytes(4) { add(function); }
  Words& add(uint32_t word) {
    bytes.push_back(static_cast<uint8_t>(word));
    bytes.push_back(static_cast<uint8_t>(word >> 8));
    return *this;
  }
  Words& addLong(uint32_t value) { return add(value & 0xffff).add(value >> 16); }
  // A coordinate, as far as one goes.
  Words& at(int32_t value) { return add(static_cast<uint16_t>(std::clamp(value, -32768, 32767))); }
  Words& backwards(Point p) { return at(p.y).at(p.x); }
  Words& addBytes(std::string_view more) {
    bytes.insert(bytes.end(), more.begin(), more.end());
    if (bytes.size() % 2) bytes.push_back(0);
    return *this;
  }
  std::vector<uint8_t>& raw() { return bytes; }
  std::vector<uint8_t> whole() {
    putLittle(bytes.data(), static_cast<uint32_t>(bytes.size() / 2));
    return bytes;
  }

 private:
  std::vector<uint8_t> bytes;
};

std::string latin1(std::string_view utf8) {
  std::string text;
  for (size_t i = 0; i < utf8.size(); ++i) {
    const auto lead = static_cast<uint8_t>(utf8[i]);
    if (lead < 0x80) {
      text += utf8[i];
      continue;
    }
    if ((lead & 0xc0) == 0x80) continue;  // the rest of a letter
    const bool fits = (lead == 0xc2 || lead == 0xc3) && i + 1 < utf8.size();
    text += fits ? static_cast<char>((lead & 3) << 6 | (utf8[i + 1] & 0x3f)) : '?';
  }
  return text;
}

std::vector<uint8_t> penOf(uint16_t style, int32_t width, Colour colour) {
  return Words(kCreatePen).add(style).at(width).add(0).addLong(colour & 0xffffff).whole();
}

std::vector<uint8_t> brushOf(uint16_t style, Colour colour) {
  return Words(kCreateBrush).add(style).addLong(colour & 0xffffff).add(0).whole();
}

}  // namespace

MetafileCanvas::MetafileCanvas(Canvas& measuring, Size size) : ruler(measuring), picture(size) {
  constexpr uint32_t kAnyScale = 8, kNoBackground = 1;
  add(Words(kSetMapMode).add(kAnyScale).whole());
  add(Words(kSetWindowOrigin).backwards({0, 0}).whole());
  add(Words(kSetWindowExtent).backwards({size.width, size.height}).whole());
  add(Words(kSetTransparent).add(kNoBackground).whole());
  setPen({});
  setFont("", 0);
}

void MetafileCanvas::add(const Record& record) {
  records.insert(records.end(), record.begin(), record.end());
  longest = std::max(longest, record.size());
}

void MetafileCanvas::select(const Record& creation) {
  const auto kind = getLittle<uint16_t>(creation.data() + 4);
  auto known = objects.find(creation);
  if (known == objects.end()) {
    constexpr size_t kMostObjects = 60'000;
    if (objects.size() >= kMostObjects) return;
    add(creation);
    known = objects.emplace(creation, static_cast<uint16_t>(objects.size())).first;
  }
  const auto now = chosen.find(kind);
  if (now != chosen.end() && now->second == known->second) return;
  chosen[kind] = known->second;
  add(Words(kSelectObject).add(known->second).whole());
}

void MetafileCanvas::outlined() {
  select(pen);
  select(brushOf(kHollow, 0));
}

void MetafileCanvas::filled(Colour colour) {
  select(penOf(kNoPen, 0, 0));
  select(brushOf(kSolid, colour));
}

void MetafileCanvas::setPen(const Pen& wanted) {
  penColour = wanted.colour;
  penWidth = std::max(1, wanted.width);
  pen = penOf(wanted.dashed ? kDash : kSolid, penWidth, penColour);
}

void MetafileCanvas::chain(uint16_t function, std::span<const Point> points) {
  Words words(function);
  words.add(static_cast<uint32_t>(points.size()));
  for (const Point& p : points) words.at(p.x).at(p.y);
  add(words.whole());
}

// Long ones in pieces that share a point.
void MetafileCanvas::polyline(std::span<const Point> points) {
  if (points.size() == 1) return point(points[0]);
  outlined();
  while (points.size() > 1) {
    const size_t part = std::min(points.size(), kMostPoints);
    chain(kPolyline, points.first(part));
    points = points.subspan(part - 1);
  }
}

void MetafileCanvas::polygon(std::span<const Point> points) {
  if (points.size() < 3 || points.size() > kMostPoints) {
    polyline(points);
    if (points.size() < 3) return;
    const Point last[] = {points.back(), points.front()};
    return polyline(last);
  }
  outlined();
  chain(kPolygon, points);
}

void MetafileCanvas::corners(uint16_t function, const Rect& r) {
  add(Words(function).backwards({r.right, r.bottom}).backwards({r.left, r.top}).whole());
}

void MetafileCanvas::rectangle(const Rect& bounds) {
  if (bounds.isEmpty()) return;
  outlined();
  corners(kRectangle, bounds);
}

void MetafileCanvas::ellipse(const Rect& bounds) {
  if (bounds.isEmpty()) return;
  outlined();
  corners(kEllipse, bounds);
}

void MetafileCanvas::point(Point at) {
  const Point first{at.x - penWidth / 2, at.y - penWidth / 2};
  fill({first.x, first.y, first.x + penWidth, first.y + penWidth}, penColour);
}

void MetafileCanvas::text(Point at, const std::string& words, Colour colour) {
  const std::string line = latin1(words);
  if (line.empty()) return;
  select(font);
  if (colour != textColour || records.empty()) {
    textColour = colour;
    add(Words(kSetTextColour).addLong(colour & 0xffffff).whole());
  }
  add(Words(kTextOut).add(static_cast<uint32_t>(line.size())).addBytes(line).backwards(at).whole());
}

void MetafileCanvas::fill(const Rect& bounds, Colour colour) {
  if (bounds.isEmpty()) return;
  filled(colour);
  add(Words(kPaintRectangle)
          .addLong(kCopyPattern)
          .at(bounds.height())
          .at(bounds.width())
          .backwards(bounds.topLeft())
          .whole());
}

void MetafileCanvas::fillPolygon(std::span<const Point> points, Colour colour) {
  if (points.size() < 3) return;
  filled(colour);
  chain(kPolygon, points.first(std::min(points.size(), kMostPoints)));
}

// Rows of blue, green and red from the bottom, each of whole words of 32 bits.
void MetafileCanvas::pixels(const PixelBlock& block, const Rect& target) {
  constexpr int32_t kLongestSide = 32767;
  if (!block.first || block.width <= 0 || block.height <= 0 || target.isEmpty()) return;
  const int32_t width = std::min(block.width, kLongestSide), height = std::min(block.height, kLongestSide);
  Words words(kStretchPixels);
  words.addLong(kCopySource).add(0).at(height).at(width).add(0).add(0);
  words.at(target.height()).at(target.width()).backwards(target.topLeft());
  const size_t rowBytes = (size_t{3} * static_cast<size_t>(width) + 3) / 4 * 4;
  constexpr uint32_t kHeaderBytes = 40, kBits = 24;
  words.addLong(kHeaderBytes).addLong(static_cast<uint32_t>(width)).addLong(static_cast<uint32_t>(height));
  words.add(1).add(kBits).addLong(0).addLong(static_cast<uint32_t>(rowBytes * static_cast<size_t>(height)));
  for (int i = 0; i < 4; ++i) words.addLong(0);  // resolution and palette
  std::vector<uint8_t>& bytes = words.raw();
  const size_t start = bytes.size();
  bytes.resize(start + rowBytes * static_cast<size_t>(height));
  for (int32_t y = 0; y < height; ++y) {
    const uint32_t* from = block.first + int64_t{height - 1 - y} * block.stride;
    uint8_t* to = &bytes[start + static_cast<size_t>(y) * rowBytes];
    for (int32_t x = 0; x < width; ++x, to += 3) {
      to[0] = static_cast<uint8_t>(from[x]);
      to[1] = static_cast<uint8_t>(from[x] >> 8);
      to[2] = static_cast<uint8_t>(from[x] >> 16);
    }
  }
  add(words.whole());
}

void MetafileCanvas::setFont(const std::string& family, int32_t tenthsOfPoint) {
  constexpr uint32_t kNormalWeight = 400;
  constexpr size_t kLongestName = 31;
  ruler.setFont(family, tenthsOfPoint);
  const std::string name = (family.empty() ? std::string("Arial") : latin1(family)).substr(0, kLongestName);
  font = Words(kCreateFont)
             .at(ruler.textSize("X").height)
             .add(0)
             .add(0)
             .add(0)
             .add(kNormalWeight)
             .add(0)
             .add(0)
             .add(0)
             .add(0)
             .addBytes(name + '\0')
             .whole();
}

// A limit is lifted by going back to the state before it.
void MetafileCanvas::setClip(const Rect& bounds) {
  if (clipped) {
    add(Words(kRestoreState).add(0xffff).whole());
    chosen.clear();
    add(Words(kSetTextColour).addLong(textColour & 0xffffff).whole());
  }
  clipped = !bounds.isEmpty();
  if (!clipped) return;
  add(Words(kSaveState).whole());
  corners(kClipTo, bounds);
}

std::vector<uint8_t> MetafileCanvas::file() const {
  constexpr uint32_t kPlacedKey = 0x9ac6cdd7, kPixelsPerInch = 96, kInMemory = 1, kHeaderWords = 9,
                     kVersion = 0x300;
  constexpr size_t kLengthBytes = 4, kEndWords = 3;
  const size_t words = kHeaderWords + records.size() / 2 + kEndWords;
  Words all(kPlacedKey & 0xffff);
  all.raw().erase(all.raw().begin(), all.raw().begin() + kLengthBytes);
  all.add(kPlacedKey >> 16)
      .add(0)
      .at(0)
      .at(0)
      .at(picture.width)
      .at(picture.height)
      .add(kPixelsPerInch)
      .addLong(0);
  uint16_t sum = 0;
  for (size_t at = 0; at < all.raw().size(); at += 2) sum ^= getLittle<uint16_t>(&all.raw()[at]);
  all.add(sum);
  all.add(kInMemory).add(kHeaderWords).add(kVersion).addLong(static_cast<uint32_t>(words));
  all.add(static_cast<uint32_t>(objects.size()))
      .addLong(static_cast<uint32_t>(std::max<size_t>(longest / 2, kEndWords)));
  all.add(0);
  std::vector<uint8_t> file = std::move(all.raw());
  file.insert(file.end(), records.begin(), records.end());
  for (const uint8_t byte : {3, 0, 0, 0, 0, 0}) file.push_back(byte);
  return file;
}

}  // namespace tarnvisor
