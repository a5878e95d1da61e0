#include "charts/marker.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "base/text.h"
#include "charts/markerlink.h"
#include "charts/markerlist.h"

namespace tarnvisor {

namespace {

constexpr uint16_t kVersion = 1;
constexpr Colour kBoxColour = 0xe1ffff;
constexpr Colour kInk = 0;
constexpr int32_t kPoleAbove = 2;  // pixels that the pole begins above the box

MarkerLink* otherLink = nullptr;

MarkerLink& markerLink() {
  static InstanceMarkerLink own;
  return otherLink ? *otherLink : own;
}

std::vector<MarkerWatcher*>& watchers() {
  static std::vector<MarkerWatcher*> all;
  return all;
}

// The first so many characters, never half of one that takes several bytes.
std::string firstCharacters(const std::string& line, size_t count) {
  if (line.size() <= count) return line;
  while (count > 0 && (static_cast<uint8_t>(line[count]) & 0xc0) == 0x80) --count;
  return line.substr(0, count);
}

void requireKnown(uint16_t version) {
  if (version == 0 || version > kVersion)
    throw ArchiveException("a marker was stored by a version that is not known");
}

}  // namespace

MarkerLink* setMarkerLink(MarkerLink* link) { return std::exchange(otherLink, link); }

MarkerWatcher::MarkerWatcher() { watchers().push_back(this); }
MarkerWatcher::~MarkerWatcher() { std::erase(watchers(), this); }

void registerMarkers() {
  for (const ArchiveClass* record :
       {&CMarker::archiveClass(), &CImageMarker::archiveClass(), &CMarkerList::archiveClass()})
    registerArchiveClass(*record);
}

CMarker::~CMarker() {
  for (MarkerWatcher* watcher : std::vector<MarkerWatcher*>(watchers())) watcher->markerGone(*this);
}

const ArchiveClass& CMarker::archiveClass() {
  static const ArchiveClass record{
      "CMarker", 1, nullptr, [] { return std::unique_ptr<ArchiveObject>(std::make_unique<CMarker>()); }};
  return record;
}

void CMarker::serialize(Archive& archive) {
  if (archive.isStoring()) {
    archive.putWord(kVersion);
    archive.putWord(id);
    archive.putDouble(time);
    archive.putWord(boxwidth);
    archive.putWord(boxheight);
    archive.putWord(pole);
    archive.writeString(label);
    archive.writeString(text);
    return;
  }
  requireKnown(archive.getWord());
  id = archive.getWord();
  time = archive.getDouble();
  boxwidth = archive.getWord();
  boxheight = archive.getWord();
  pole = archive.getWord();
  label = archive.readString();
  text = archive.readString();
}

std::unique_ptr<CMarker> CMarker::Clone() const { return std::make_unique<CMarker>(*this); }

Size CMarker::boxSize(const TextMeasure& measure) const {
  return {(boxwidth + 1) * measure.character, boxheight * measure.line};
}

int32_t CMarker::poleLength(const TextMeasure& measure) const { return pole * measure.line; }

void CMarker::Draw(Canvas& canvas, int32_t x, int32_t y) const {
  const TextMeasure measure = TextMeasure::of(canvas);
  const Size size = boxSize(measure);
  const Rect box{x, y, wrapAdd(x, size.width), wrapAdd(y, size.height)};
  canvas.setPen({kInk, 1, false});
  canvas.fill(box, kBoxColour);
  canvas.rectangle(box);
  const int32_t poleTop = wrapSub(y, kPoleAbove);
  const Point ends[] = {{box.right, poleTop}, {box.right, wrapAdd(poleTop, poleLength(measure))}};
  canvas.polyline(ends);
  const bool whole = canvas.isPrinter();
  int32_t number = 0;
  for (const std::string& part : split(label, '\n')) {
    if (!whole && number >= boxheight) break;
    const std::string line(trimmed(part));
    const std::string shown = whole ? line : firstCharacters(line, boxwidth);
    if (!shown.empty()) canvas.text({x, wrapAdd(y, number * measure.line)}, shown, kInk);
    ++number;
  }
}

void CMarker::SetLabel(const std::string& words) {
  label = words;
  if (!words.empty()) boxwidth = static_cast<uint16_t>(std::min<size_t>(words.size(), UINT16_MAX));
}

bool CMarker::operator==(const CMarker& other) const {
  return time == other.time && boxwidth == other.boxwidth && boxheight == other.boxheight &&
         pole == other.pole && id == other.id && label == other.label && text == other.text;
}

CImageMarker::CImageMarker(std::string imageFile) : filename(std::move(imageFile)) {
  markerLink().freezeSave(filename);
  text = "filename=" + filename + "\r\n";
}

const ArchiveClass& CImageMarker::archiveClass() {
  static const ArchiveClass record{"CImageMarker", 1, &CMarker::archiveClass(), [] {
                                     return std::unique_ptr<ArchiveObject>(std::make_unique<CImageMarker>());
                                   }};
  return record;
}

void CImageMarker::serialize(Archive& archive) {
  CMarker::serialize(archive);
  if (archive.isStoring()) {
    archive.putWord(kVersion);
    archive.writeString(filename);
    return;
  }
  requireKnown(archive.getWord());
  filename = archive.readString();
}

std::unique_ptr<CMarker> CImageMarker::Clone() const { return std::make_unique<CImageMarker>(*this); }

void CImageMarker::Open() { markerLink().autoLoad(filename); }

}  // namespace tarnvisor
