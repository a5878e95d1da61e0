// What the tests of traces build and compare with.
#pragma once

#include "support/archivetest.h"
#include "support/testhost.h"
#include "traces/trace.h"

namespace tarnvisor {

using Doubles = std::vector<double>;

inline std::unique_ptr<CTrace> traceOf(const Doubles& samples, int32_t typecode = kDoubleCode) {
  auto trace = std::make_unique<CTrace>(typecode, static_cast<uint32_t>(samples.size()));
  for (uint32_t i = 0; i < samples.size(); ++i) trace->data->putval(i, samples[i]);
  return trace;
}

// Every row's extent is its width.
inline std::unique_ptr<C2DTrace> rowsOf(const std::vector<Doubles>& rows,
                                        int32_t typecode = kDoubleRowsCode) {
  const auto width = static_cast<uint16_t>(rows[0].size());
  auto trace = std::make_unique<C2DTrace>(typecode, static_cast<uint32_t>(rows.size()), width);
  for (uint32_t row = 0; row < rows.size(); ++row)
    for (uint16_t i = 0; i < width; ++i) trace->data->putcell(row, i, rows[row][i]);
  trace->rowvalues->fill(width);
  return trace;
}

inline Doubles samplesOf(const CdataVect& vector) {
  Doubles items(size_t{vector.size} * vector.width);
  if (!items.empty()) vector.getcopy(items.data(), 0, vector.size);
  return items;
}
inline Doubles samplesOf(const ZZTrace& trace) { return trace.data ? samplesOf(*trace.data) : Doubles{}; }
inline Doubles rowOf(const ZZTrace& trace, uint32_t row) { return samplesOf(*trace.data->getArray(row)); }

// Bytes as they stand in files, written down one after the other.
struct FileBytes {
  std::vector<uint8_t> bytes;
  FileBytes& hex(const char* digits) {
    std::istringstream words(digits);
    for (int value; words >> std::hex >> value;) bytes.push_back(static_cast<uint8_t>(value));
    return *this;
  }
  FileBytes& text(const char* letters) {
    bytes.insert(bytes.end(), letters, letters + std::strlen(letters));
    return *this;
  }
  template <class T>
  FileBytes& put(T value) {  // the machine is little-endian
    const auto* raw = reinterpret_cast<const uint8_t*>(&value);
    bytes.insert(bytes.end(), raw, raw + sizeof value);
    return *this;
  }
  FileBytes& word(int value) { return put(static_cast<uint16_t>(value)); }
  FileBytes& dword(int64_t value) { return put(static_cast<uint32_t>(value)); }
  FileBytes& real(double value) { return put(value); }
  FileBytes& single(double value) { return put(static_cast<float>(value)); }
  FileBytes& newClass(const char* name) {
    return hex("FF FF 01 00").word(static_cast<int>(std::strlen(name))).text(name);
  }
};

inline void loadFrom(ArchiveObject& object, const FileBytes& file) {
  registerTraces();
  EXPECT_EQ(loadBytes(object, file.bytes), 0u) << "bytes were left over";
}

}  // namespace tarnvisor
