#include "image/toldscale.h"

#include <libxml/xmlreader.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>

#include "base/lengthunits.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr double kInch = 25400, kCentimetre = 1e4;  // micrometres

// A whole positive number as it stands; nothing where there is more than the number.
std::optional<double> numberIn(std::string_view text) {
  const std::string whole(trimmed(text));
  char* end = nullptr;
  const double value = std::strtod(whole.c_str(), &end);
  if (whole.empty() || *end != '\0' || !std::isfinite(value) || value <= 0) return std::nullopt;
  return value;
}

void take(ToldScale& told, double x, double y, const std::string& source) {
  if (isPixelSize(x) && isPixelSize(y)) {
    told.x = x;
    told.y = y;
    told.source = source;
  } else {
    told.doubt = "A pixel has no size that can be believed by " + source + ": the pictures stay in pixels.";
  }
}

// --- OME-XML: attributes of its first element Pixels

struct FreeReader {
  void operator()(xmlTextReader* reader) const { xmlFreeTextReader(reader); }
};
using Reader = std::unique_ptr<xmlTextReader, FreeReader>;

std::string attribute(xmlTextReader* reader, const char* name) {
  xmlChar* value = xmlTextReaderGetAttribute(reader, reinterpret_cast<const xmlChar*>(name));
  std::string text = value ? reinterpret_cast<const char*>(value) : "";
  xmlFree(value);
  return text;
}

// No entity is looked up and nothing is fetched. Stands before the element, or null.
Reader pixelsOf(const std::string& text) {
  if (!trimmed(text).starts_with('<') || text.size() > INT_MAX) return nullptr;
  Reader reader(xmlReaderForMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr,
                                   XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING));
  bool isOme = false;
  while (reader && xmlTextReaderRead(reader.get()) == 1) {
    if (xmlTextReaderNodeType(reader.get()) != XML_READER_TYPE_ELEMENT) continue;
    const auto* name = reinterpret_cast<const char*>(xmlTextReaderConstLocalName(reader.get()));
    const std::string_view element = name ? name : "";
    isOme = isOme || element == "OME";
    if (!isOme) return nullptr;
    if (element == "Pixels") return reader;
  }
  return nullptr;
}

// In a unit of the attribute beside it, micrometres where none is named; 0 for none.
double physicalSize(xmlTextReader* reader, const std::string& name) {
  const std::string unit = attribute(reader, (name + "Unit").c_str());
  return numberIn(attribute(reader, name.c_str())).value_or(0) * (unit.empty() ? 1 : micrometresOf(unit));
}

double secondsOf(const std::string& unit) {
  static constexpr std::pair<const char*, double> kUnits[] = {
      {"", 1},        {"s", 1},           {"sec", 1},   {"second", 1},       {"seconds", 1},
      {"ms", 1e-3},   {"msec", 1e-3},     {"us", 1e-6}, {"\xc2\xb5s", 1e-6}, {"\xce\xbcs", 1e-6},
      {"ns", 1e-9},   {"\\u00b5s", 1e-6}, {"min", 60},  {"minutes", 60},     {"h", 3600},
      {"hour", 3600}, {"hours", 3600},    {"d", 86400}};
  for (const auto& [name, seconds] : kUnits)
    if (equalIgnoringCase(trimmed(unit), name)) return seconds;
  return 0;
}

void readOme(xmlTextReader* reader, const TiffWords& words, ToldScale& told) {
  const auto width = numberIn(attribute(reader, "SizeX")), height = numberIn(attribute(reader, "SizeY"));
  if (!width || !height || *width != words.width || *height != words.height) {
    told.doubt = "Its OME-XML tells of pictures of another size, so that its scale is not believed.";
    return;
  }
  told.interval = numberIn(attribute(reader, "TimeIncrement")).value_or(0) *
                  secondsOf(attribute(reader, "TimeIncrementUnit"));
  const bool isSaid = !attribute(reader, "PhysicalSizeX").empty();
  if (!isSaid) return;
  const double x = physicalSize(reader, "PhysicalSizeX"), y = physicalSize(reader, "PhysicalSizeY");
  take(told, x, y > 0 ? y : x, "OME-XML");
}

// --- ImageJ: lines of a key and a value; the sizes stand in the resolution, whose unit a line names

std::string lineOf(const std::string& text, const std::string& key) {
  for (const std::string& line : split(text, '\n'))
    if (line.starts_with(key + "="))
      return std::string(trimmed(std::string_view(line).substr(key.size() + 1)));
  return {};
}

// What screens, printers and scanners are told of, within half a dot a centimetre.
bool isDefaultResolution(double perInch) {
  static constexpr double kDefaults[] = {1,   72,  75,   90,   96,   100,  120,  144,  150,  180, 192,
                                         200, 216, 240,  288,  300,  350,  360,  400,  480,  500, 600,
                                         720, 800, 1000, 1200, 1440, 2400, 2880, 3200, 4800, 9600};
  return std::ranges::any_of(kDefaults, [&](double dots) { return std::abs(perInch - dots) < 1.28; });
}

void takeResolution(ToldScale& told, const TiffWords& words, double unitX, double unitY,
                    const std::string& source) {
  if (!(words.xResolution > 0) || !(words.yResolution > 0)) return;
  take(told, unitX / words.xResolution, unitY / words.yResolution, source);
}

void readImageJ(const TiffWords& words, ToldScale& told) {
  const std::string unit = lineOf(words.description, "unit"), unitY = lineOf(words.description, "yunit");
  const auto seconds = numberIn(lineOf(words.description, "finterval"));
  const auto rate = numberIn(lineOf(words.description, "fps"));
  const double tick = secondsOf(lineOf(words.description, "tunit"));
  // Of a stack in depth or of channels the rate is that of looking through it.
  const bool isInTime =
      lineOf(words.description, "slices").empty() && lineOf(words.description, "channels").empty();
  told.interval = seconds ? *seconds * tick : rate && isInTime ? 1 / *rate : 0;
  const double x = micrometresOf(unit), y = unitY.empty() ? x : micrometresOf(unitY);
  // Of a picture without a scale it names the inch of its resolution.
  if (x > 0 && y > 0 && x != kInch) takeResolution(told, words, x, y, "ImageJ");
}

constexpr double kMostTold = 1e6;

int64_t countIn(const std::string& text) {
  return static_cast<int64_t>(std::clamp(numberIn(text).value_or(1), 1.0, kMostTold));
}

ToldPages omePages(xmlTextReader* reader, int32_t samples) {
  ToldPages told{countIn(attribute(reader, "SizeC")), countIn(attribute(reader, "SizeZ")),
                 countIn(attribute(reader, "SizeT")), 1, true};
  if (told.channels % samples == 0) told.channels /= samples;
  const std::string order = attribute(reader, "DimensionOrder");
  for (const char axis : std::string_view(order).substr(0, order.find('T'))) {
    if (axis == 'C') told.apart *= told.channels;
    if (axis == 'Z') told.apart *= told.layers;
  }
  return told;
}

// Of a stack it says layers, also of a video: without moments the layers are these.
ToldPages imageJPages(const std::string& text) {
  ToldPages told{countIn(lineOf(text, "channels")), countIn(lineOf(text, "slices")),
                 countIn(lineOf(text, "frames")), 1, !lineOf(text, "images").empty()};
  if (told.count() == 1) told.moments = countIn(lineOf(text, "images"));
  if (told.moments == 1) std::swap(told.layers, told.moments);
  told.apart = told.channels * told.layers;
  return told;
}

void readResolution(const TiffWords& words, ToldScale& told) {
  if (words.unit == TiffWords::Unit::None) return;
  const double unit = words.unit == TiffWords::Unit::Inch ? kInch : kCentimetre;
  if (isDefaultResolution(words.xResolution * kInch / unit) ||
      isDefaultResolution(words.yResolution * kInch / unit))
    return;
  takeResolution(told, words, unit, unit, "the TIFF resolution");
}

}  // namespace

bool isPixelSize(double micrometres) { return micrometres >= 1e-4 && micrometres <= 1e5; }

ToldPages pagesOf(const std::string& description, int32_t samples) {
  if (const Reader pixels = pixelsOf(description)) return omePages(pixels.get(), std::max(samples, 1));
  return description.starts_with("ImageJ=") ? imageJPages(description) : ToldPages();
}

ToldScale scaleOf(const TiffWords& words) {
  ToldScale told;
  if (const Reader pixels = pixelsOf(words.description))
    readOme(pixels.get(), words, told);
  else if (words.description.starts_with("ImageJ="))
    readImageJ(words, told);
  if (!told.isTold() && told.doubt.empty()) readResolution(words, told);
  return told;
}

}  // namespace tarnvisor
