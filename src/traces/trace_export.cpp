// A trace as a plain binary file, for other programs.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <limits>
#include <ostream>
#include <vector>

#include "base/bytes.h"
#include "traces/trace.h"

namespace tarnvisor {

namespace {

constexpr uint16_t kHeaderMark = 0x3F;
constexpr size_t kNameAt = 60;
constexpr size_t kLongestName = 67;

void writeSwapped(std::ostream& file, const char* items, size_t bytes, size_t itembytes) {
  std::array<char, 8192> block;
  while (bytes > 0 && file) {
    const size_t part = std::min(bytes, block.size());
    for (size_t at = 0; at < part; at += itembytes)
      std::reverse_copy(items + at, items + at + itembytes, block.begin() + at);
    file.write(block.data(), static_cast<std::streamsize>(part));
    items += part;
    bytes -= part;
  }
}

// Floats say themselves that nothing was measured.
template <class T>
void unsetAbsent(std::vector<char>& items, double absent) {
  constexpr T kNone = std::numeric_limits<T>::quiet_NaN();
  for (size_t at = 0; at < items.size(); at += sizeof(T)) {
    T item;
    std::memcpy(&item, &items[at], sizeof item);
    if (item == absent || std::isnan(item)) std::memcpy(&items[at], &kNone, sizeof item);
  }
}

void writeRows(std::ostream& file, const ZZTrace& trace, uint32_t first, uint32_t count, bool swap) {
  if (count == 0) return;
  const CdataVect& data = *trace.data;
  const auto* items = static_cast<const char*>(data.dataat(first));
  const size_t bytes = size_t{count} * data.width * data.elementsize;
  const int32_t kind = trace.typecode();
  std::vector<char> shown;
  if (kind == kFloatCode || kind == kDoubleCode) {
    shown.assign(items, items + bytes);
    kind == kFloatCode ? unsetAbsent<float>(shown, trace.absent) : unsetAbsent<double>(shown, trace.absent);
    items = shown.data();
  }
  if (swap && data.elementsize > 1) return writeSwapped(file, items, bytes, data.elementsize);
  file.write(items, static_cast<std::streamsize>(bytes));
}

void writeHeader(std::ostream& file, const ZZTrace& trace, uint32_t count, double start) {
  std::array<uint8_t, ZZTrace::kBinaryHeader> header{};
  putLittle(&header[0], count);
  putLittle(&header[4], static_cast<uint32_t>(trace.data->width));
  putLittle(&header[8], trace.data->elementsize);
  putLittle(&header[10], kHeaderMark);
  putLittleDouble(&header[12], trace.period);
  putLittleDouble(&header[20], start);
  putLittleDouble(&header[28], trace.ygain);
  putLittleDouble(&header[36], trace.yoffset);
  putLittleDouble(&header[44], 0.0);
  putLittleDouble(&header[52], 0.0);
  std::copy_n(trace.name.begin(), std::min(trace.name.size(), kLongestName), header.begin() + kNameAt);
  file.write(reinterpret_cast<const char*>(header.data()), header.size());
}

}  // namespace

bool ZZTrace::exportbin(std::ostream& file, const BinarySettings& settings, int64_t from, int64_t to) const {
  if (!data || data->size == 0) return true;
  const int64_t rows = data->size;
  const bool whole = from < 0 || to < 0;
  if (whole) {
    from = to = origin;
    if (origin == 0) to = rows;
  } else if (from == to) {
    return true;
  }
  const auto first = static_cast<uint32_t>(std::min(from, rows));
  const auto end = static_cast<uint32_t>(std::min(to, rows));
  const uint32_t count = rangecount(first, end);
  if (settings.withheader) writeHeader(file, *this, count, whole ? starttime * 0.001 : timeof(first));
  if (first < end) {
    writeRows(file, *this, first, count, settings.swapbytes);
  } else {
    writeRows(file, *this, first, size() - first, settings.swapbytes);
    writeRows(file, *this, 0, end, settings.swapbytes);
  }
  return file.good();
}

}  // namespace tarnvisor
