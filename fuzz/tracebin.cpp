// Any bytes as binary traces: what comes in fits the bytes, and goes out again.
#include <cstdlib>
#include <sstream>

#include "traces/traceimport.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  CTextSettings how;
  how.binary = 1;
  how.swapbytes = size % 2;
  const Imported read = importBinary({data, size}, how);
  if (read.failure.empty() == read.traces.empty()) std::abort();
  uint64_t items = 0;
  std::vector<const ZZTrace*> all;
  for (const auto& trace : read.traces) {
    items += uint64_t{trace->size()} * trace->data->width;
    all.push_back(trace.get());
  }
  if (items > size) std::abort();
  std::ostringstream out;
  (void)exportTraces(out, all, how, {});
  (void)exportTraces(out, all, how, {false, -1, 3, 0.5});
  how.binary = 0;
  (void)exportTraces(out, all, how, {false, -1, 3, 0.5});
  return 0;
}
