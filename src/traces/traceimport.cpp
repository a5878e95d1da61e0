// Which kind a file is, and the binary one.
#include "traces/traceimport.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <new>

#include "base/bytes.h"
#include "base/files.h"
#include "base/text.h"

namespace tarnvisor {

namespace {

constexpr uint64_t kLargestFile = uint64_t{1} << 29;
constexpr uint16_t kHeaderMark = 0x3F;
constexpr size_t kNameAt = 60;

struct Header {
  uint32_t count;
  uint32_t width;
  uint16_t elementsize;
  double period;
  double start;
  double ygain;
  double yoffset;
  std::string name;
};

Header headerOf(std::span<const uint8_t> bytes) {
  const uint8_t* at = bytes.data();
  const auto* name = reinterpret_cast<const char*>(at + kNameAt);
  return {getLittle<uint32_t>(at),     getLittle<uint32_t>(at + 4),
          getLittle<uint16_t>(at + 8), getLittleDouble(at + 12),
          getLittleDouble(at + 20),    getLittleDouble(at + 28),
          getLittleDouble(at + 36),    std::string(name, ::strnlen(name, ZZTrace::kBinaryHeader - kNameAt))};
}

// Words about what is wrong with a header; empty for nothing. left: bytes behind it.
std::string wrongIn(const Header& header, uint16_t mark, uint64_t left) {
  if (mark != kHeaderMark) return "It has no header of a trace.";
  const uint16_t bytes = header.elementsize;
  if (bytes != 1 && bytes != 2 && bytes != 4 && bytes != 8)
    return format("Its items can't be of %u bytes.", bytes);
  if (header.width < 1 || header.width > UINT16_MAX)
    return format("Its rows can't have %u items.", header.width);
  if (header.count < 1) return "It holds no samples.";
  const uint64_t row = uint64_t{header.width} * bytes;  // below 2^19
  if (header.count > left / row)
    return format("Its header tells of %u rows, but the file ends before them.", header.count);
  if (!(std::isfinite(header.period) && header.period > 0)) return "Its period is no number of seconds.";
  if (!(std::abs(header.start) < INT32_MAX / 1000)) return "Its start is no possible time.";
  if (!std::isfinite(header.ygain) || !std::isfinite(header.yoffset)) return "Its scale is no number.";
  return "";
}

constexpr auto kNotMeasured = std::bit_cast<uint32_t>(std::numeric_limits<float>::quiet_NaN());

template <class T>
T itemAt(const uint8_t* bytes, bool swap) {
  T value;
  uint8_t own[sizeof(T)];
  if (swap)
    std::reverse_copy(bytes, bytes + sizeof(T), own);
  else
    std::copy_n(bytes, sizeof(T), own);
  std::memcpy(&value, own, sizeof(T));
  return value;
}

// Whole numbers of a common size, taken for floats, are denormal or no number at all; a value that was not
// measured is written as this one.
bool holdsFloats(std::span<const uint8_t> items, bool swap) {
  for (size_t at = 0; at < items.size(); at += sizeof(float)) {
    const auto value = itemAt<float>(&items[at], swap);
    const bool isNone = std::bit_cast<uint32_t>(value) == kNotMeasured;
    if (value != 0 && !isNone && !std::isnormal(value)) return false;
  }
  return true;
}

int32_t codeOf(const Header& header, std::span<const uint8_t> items, bool swap) {
  const bool rows = header.width > 1;
  switch (header.elementsize) {
    case 1:
      return rows ? kByteRowsCode : kUint8Code;
    case 2:
      return rows ? kWordRowsCode : kInt16Code;
    case 4:
      return rows ? kDoubleRowsCode : holdsFloats(items, swap) ? kFloatCode : kInt32Code;
    default:
      return rows ? kDoubleRowsCode : kDoubleCode;
  }
}

void copyItems(CdataVect& data, std::span<const uint8_t> items, size_t itembytes, bool swap) {
  auto* target = static_cast<uint8_t*>(data.dataat(0));
  std::memcpy(target, items.data(), items.size());
  if (!swap || itembytes == 1) return;
  for (size_t at = 0; at < items.size(); at += itembytes) std::reverse(target + at, target + at + itembytes);
}

// Rows of four bytes have no class of their own.
void widenItems(CdataVect& data, std::span<const uint8_t> items, bool swap) {
  const bool floats = holdsFloats(items, swap);
  auto* target = static_cast<double*>(data.dataat(0));
  for (size_t at = 0; at < items.size(); at += 4)
    *target++ = floats ? double(itemAt<float>(&items[at], swap)) : double(itemAt<int32_t>(&items[at], swap));
}

ZZTrace::Own traceOf(const Header& header, std::span<const uint8_t> items, bool swap) {
  const int32_t code = codeOf(header, items, swap);
  ZZTrace::Own trace;
  if (header.width > 1) {
    auto rows = std::make_unique<C2DTrace>(code, header.count, static_cast<uint16_t>(header.width));
    rows->palette.readSettings();
    if (rows->rowvalues) rows->rowvalues->fill(header.width);
    trace = std::move(rows);
  } else {
    trace = std::make_unique<CTrace>(code, header.count);
  }
  if (!trace->data) return nullptr;
  if (code == kDoubleRowsCode && header.elementsize == 4)
    widenItems(*trace->data, items, swap);
  else
    copyItems(*trace->data, items, header.elementsize, swap);
  if (auto* rows = dynamic_cast<C2DTrace*>(trace.get())) rows->reachGreatestItem();
  trace->period = trace->pixelperiod = header.period;
  trace->starttime = static_cast<int32_t>(std::lround(header.start * 1000));
  trace->ygain = header.ygain;
  trace->yoffset = header.yoffset;
  trace->name = header.name;
  trace->xunits = "seconds";
  return trace;
}

bool startsWith(std::span<const uint8_t> bytes, std::string_view words, size_t at = 0) {
  return bytes.size() >= at + words.size() && std::memcmp(bytes.data() + at, words.data(), words.size()) == 0;
}

bool isSound(std::span<const uint8_t> bytes) {
  return (startsWith(bytes, "RIFF") || startsWith(bytes, "RIFX") || startsWith(bytes, "RF64")) &&
         startsWith(bytes, "WAVE", 8);
}

bool isBinary(std::span<const uint8_t> bytes) {
  return !startsWith(bytes, "\xff\xfe") && bytes.size() >= ZZTrace::kBinaryHeader &&
         getLittle<uint16_t>(&bytes[10]) == kHeaderMark &&
         std::find(bytes.begin(), bytes.begin() + ZZTrace::kBinaryHeader, 0) != bytes.end();
}

}  // namespace

bool isTraceFile(const std::string& path) {
  return endsWithIgnoringCase(path, ".wav") || endsWithIgnoringCase(path, ".txt") ||
         endsWithIgnoringCase(path, ".bin");
}

Imported importBinary(std::span<const uint8_t> bytes, const CTextSettings& settings) {
  Imported result;
  const auto refuse = [](std::string why) { return Imported{{}, std::move(why)}; };
  do {
    if (bytes.size() < ZZTrace::kBinaryHeader)
      return refuse(result.traces.empty() ? "It is too short for the header of a trace."
                                          : "It goes on behind the samples that its header tells of.");
    const Header header = headerOf(bytes);
    const uint16_t mark = getLittle<uint16_t>(&bytes[10]);
    bytes = bytes.subspan(ZZTrace::kBinaryHeader);
    if (const std::string wrong = wrongIn(header, mark, bytes.size()); !wrong.empty()) return refuse(wrong);
    const size_t length = size_t{header.count} * header.width * header.elementsize;
    ZZTrace::Own trace = traceOf(header, bytes.first(length), settings.swapbytes != 0);
    if (!trace) return refuse(kLowMemory);
    result.traces.push_back(std::move(trace));
    bytes = bytes.subspan(length);
  } while (!bytes.empty());
  return result;
}

namespace {

Imported importOfKind(const std::string& path, const CTextSettings& settings) {
  constexpr size_t kKindBytes = 12;
  std::vector<uint8_t> start(kKindBytes);
  std::FILE* file = fileExists(path) ? std::fopen(path.c_str(), "rbe") : nullptr;
  if (!file) return {{}, "It can't be opened."};
  start.resize(std::fread(start.data(), 1, start.size(), file));
  std::fclose(file);
  const std::string name = withoutExtension(fileNameOf(path));
  if (isSound(start)) return importWav(path, name);
  const auto bytes = readWholeFile(path, kLargestFile);
  if (!bytes) return {{}, "It can't be read, or is too large."};
  if (equalIgnoringCase(extensionOf(path), "bin") || isBinary(*bytes)) return importBinary(*bytes, settings);
  return importText({reinterpret_cast<const char*>(bytes->data()), bytes->size()}, name, settings);
}

}  // namespace

Imported importTraces(const std::string& path, const CTextSettings& settings) {
  Imported result;
  try {
    result = importOfKind(path, settings);
  } catch (const std::bad_alloc&) {
    result = {{}, kLowMemory};
  }
  if (!result.failure.empty()) result.failure = path + ": " + result.failure;
  return result;
}

}  // namespace tarnvisor
