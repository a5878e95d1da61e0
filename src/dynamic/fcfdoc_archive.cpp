// The stored form: the document, and the maps beside it.
#include <bit>
#include <cmath>
#include <filesystem>
#include <optional>

#include "archive/archive.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/fcfdoc.h"
#include "dynamic/texts.h"
#include "imagedoc/texts.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr int32_t kStoredVersion = 1001;
constexpr int32_t kWithoutMask = 1000;  // of the first versions, which have two maps
constexpr int32_t kLastKnownVersion = 1999;
constexpr uint64_t kMostPlaces = uint64_t{1} << 26;
static_assert(std::endian::native == std::endian::little, "the maps are stored as they stand in memory");

std::string mapsFileOf(const std::string& documentPath) {
  return withoutExtension(documentPath) + ".zzrawfcf";
}

std::vector<std::vector<double>*> storedMaps(FlowMaps& maps, bool withMask) {
  std::vector<std::vector<double>*> all{&maps.flux, &maps.conc};
  if (withMask) all.push_back(&maps.mask);
  return all;
}

uint64_t placesOf(const FlowMaps& maps) {
  return static_cast<uint64_t>(maps.width) * static_cast<uint64_t>(maps.height);
}

}  // namespace

bool fcfdoc::onNewDocument() {
  if (!ZBasicDoc::onNewDocument()) return false;
  threshold = settings.getDouble("fcf", "threshold", threshold);
  gain = settings.getDouble("fcf", "gain", gain);
  return true;
}

void fcfdoc::deleteContents() {
  ZBasicDoc::deleteContents();
  maps = {};
  fcf.clear();
  counted.known = false;
  useConc = 0;
  viewShown = kFcf;
}

std::vector<std::string> fcfdoc::filesInUse() const {
  std::vector<std::string> files = ZBasicDoc::filesInUse();
  if (!pathName().empty()) files.push_back(mapsFileOf(pathName()));
  return files;
}

void fcfdoc::serialize(Archive& archive) {
  ZBasicDoc::serialize(archive);
  if (archive.isStoring()) {
    archive.putInt(hasMaps() && !hasMaskMap() ? kWithoutMask : kStoredVersion);
    archive.putDouble(threshold);
    archive.putDouble(gain);
    archive.putInt(maps.width);
    archive.putInt(maps.height);
    return;
  }
  const int32_t version = archive.getInt();
  if (version < kWithoutMask || version > kLastKnownVersion)
    return tookOnlyAPart("its maps were stored by another version");
  threshold = archive.getDouble();
  gain = archive.getDouble();
  maps.width = archive.getInt();
  maps.height = archive.getInt();
  if (version < kStoredVersion) useConc = 1;
  if (maps.width < 0 || maps.height < 0) throw ArchiveException("its maps have no size");
  if (!std::isfinite(threshold)) threshold = 5.0;
  if (!std::isfinite(gain) || gain <= 0) gain = 64.0;
}

bool fcfdoc::onOpenDocument(const std::string& path) {
  loadSettings();
  if (!loadFrom(path)) return false;
  isBound = 1;
  readMaps(path);
  if (placesOf(maps) > 0 && placesOf(maps) <= kMostPlaces && !hasImage())
    (void)makePicture({originx, originy});
  if (hasMaps() && hasImage()) applyThreshold();
  return true;
}

// Maps that can't be trusted are not shown at all: zeros are what everybody takes for nothing.
void fcfdoc::readMaps(const std::string& documentPath) {
  const std::string file = mapsFileOf(documentPath);
  const uint64_t places = placesOf(maps);
  if (places == 0) return;
  const auto all = storedMaps(maps, !useConc);
  std::error_code error;
  const uint64_t held = fileExists(file) ? std::filesystem::file_size(file, error) : 0;
  if (held == 0 || error) return report(format(text::kMapsAway, file.c_str()));
  // Written with a mask, and read without: it stays unread behind the others.
  const uint64_t wanted = places * all.size() * sizeof(double);
  if (places > kMostPlaces || held < wanted || (!useConc && held != wanted))
    return report(format(text::kMapsDontFit, file.c_str(), static_cast<unsigned long long>(held), maps.width,
                         maps.height, static_cast<unsigned long long>(wanted)));
  const auto close = [](std::FILE* stream) { std::fclose(stream); };
  const std::unique_ptr<std::FILE, decltype(close)> stream(std::fopen(file.c_str(), "rb"), close);
  for (std::vector<double>* map : all) {
    map->resize(places);
    if (stream && std::fread(map->data(), sizeof(double), places, stream.get()) == places) continue;
    for (std::vector<double>* each : all) each->clear();
    return report(format(text::kMapsAway, file.c_str()));
  }
}

// An image of the maps' size, all black.
bool fcfdoc::makePicture(Point origin) {
  if (!image || image->width != maps.width || image->height != maps.height) {
    auto made = std::make_unique<CZZimage>();
    if (!made->setSize(maps.width, maps.height)) return false;
    image = std::move(made);
    image->blackZero = zeroasblack;
    image->fill(0);
  }
  image->xOrigin = origin.x;
  image->yOrigin = origin.y;
  setColourset(colourset);
  return true;
}

// Opened again, it would show the measurement of the map whose file lies there.
bool fcfdoc::mayLieBeside(const std::string& file) {
  const bool isOwn = !pathName().empty() && sameFile(file, mapsFileOf(pathName()));
  if (hasMaps() || placesOf(maps) == 0 || isOwn || !fileExists(file)) return true;
  report(format(text::kMapsOfAnother, file.c_str()));
  return false;
}

bool fcfdoc::onSaveDocument(const std::string& path) {
  if (!mayLieBeside(mapsFileOf(path))) return false;
  if (hasMaps() && hasImage() && tellsFigures()) tellFigures();  // of the region as it is now
  std::optional<AtomicFile> raw;
  if (hasMaps()) {
    raw.emplace(mapsFileOf(path));
    for (const std::vector<double>* map : storedMaps(maps, hasMaskMap()))
      raw->write(map->data(), map->size() * sizeof(double));
  }
  // NOLINTNEXTLINE(bugprone-parent-virtual-call): the image document's would write a file of pixels.
  if (!CdbDocument::onSaveDocument(path)) return false;
  if (const Outcome written = raw ? raw->commit() : Outcome::success(); !written)
    report(format(text::kMapsUnwritten, path.c_str(), written.why().c_str()));
  return true;
}

}  // namespace tarnvisor
