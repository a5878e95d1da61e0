// Any bytes as a table of numbers; what came in goes out again and comes back with as many samples.
#include <cmath>
#include <cstdlib>
#include <sstream>

#include "traces/traceimport.h"

using namespace tarnvisor;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  CTextSettings how;
  how.xscaled = data[0] % 3;
  how.rowdelim = data[0] / 3 % 4;
  how.coldelim = data[1] % 5;
  const Imported read = importText({reinterpret_cast<const char*>(data + 2), size - 2}, "x", how);
  if (read.failure.empty() == read.traces.empty()) std::abort();
  if (read.traces.empty()) return 0;
  read.traces[0]->name = "x";  // one that looks like a number would count as a sample
  std::vector<const ZZTrace*> all;
  for (const auto& trace : read.traces) all.push_back(trace.get());
  if (all.size() > 50) all.resize(50);
  how.coldelim = 0;
  how.rowdelim = 2;
  how.xscaled = 0;
  std::ostringstream out;
  const ZZTrace* first[] = {all[0]};
  if (!exportTraces(out, first, how, {})) return 0;
  const Imported back = importText(out.str(), "x", how);
  if (back.traces.size() != 1 || back.traces[0]->size() != all[0]->size()) std::abort();
  (void)exportTraces(out, all, how, {false, -3, 40, all[0]->period});
  return 0;
}
