// How right velocities from Doppler spectra are: on simulated scatterers whose mean speed is known, the error
// of the time mean in bins, and the shares of rows within one bin and within two. Last, how many rows of
// noise alone are taken for flow, with the threshold that follows it.
#include <cstdio>

#include "support/dopplerrows.h"

namespace tarnvisor {
namespace {

// With the threshold that one would set by eye, times the noise; the last needs none.
struct Method {
  int32_t method;
  double threshold;
};
constexpr Method kMethods[] = {{kMaxFrequency, 8}, {kAverageSpeed, 1}, {kAutomatic, 8}, {kFirstMoment, 0}};

struct Line {
  const char* words;
  DopplerCase flow;
};

void tell(const Line& line) {
  std::printf("%-32s", line.words);
  for (const Method& each : kMethods) {
    DopplerCase flow = line.flow;
    flow.threshold = flow.noiseAlone ? 0 : each.threshold;
    const DopplerErrors errors = dopplerErrors(each.method, flow);
    if (line.flow.noiseAlone)
      std::printf(" %21.0f %%", 100 * errors.read);
    else
      std::printf("  %6.2f (%3.0f %%, %3.0f %%)", errors.ofMean, 100 * errors.withinOne,
                  100 * errors.withinTwo);
  }
  std::printf("\n");
}

}  // namespace
}  // namespace tarnvisor

int main() {
  using namespace tarnvisor;
  std::printf("error of the mean in bins (rows within one, within two)\n%-32s", "flow, noise, mean");
  for (const Method& each : kMethods) std::printf("%18s %-5d", "method", static_cast<int>(each.method));
  std::printf("\n");
  for (const double bin : {10.0, 20.0, 40.0})
    for (const auto profile : {FlowProfile::Plug, FlowProfile::Parabolic})
      for (const double noise : {-20.0, -10.0}) {
        char words[64];
        std::snprintf(words, sizeof words, "%s, %.0f dB, bin %.0f",
                      profile == FlowProfile::Plug ? "plug" : "parabolic", noise, bin);
        tell({words, {.profile = profile, .noiseDecibels = noise, .meanBin = bin}});
      }
  tell({"noise alone, rows with flow", {.noiseDecibels = 0, .noiseAlone = true}});
  return 0;
}
