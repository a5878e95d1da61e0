#include "batch/demonstrationloops.h"

#include <cstdlib>
#include <fstream>
#include <memory>

#include "base/files.h"
#include "base/text.h"
#include "synth/widefield.h"

namespace tarnvisor {

namespace {

struct WideStill {
  const char* file;
  const char* about;
  FoldKind kind;
  uint64_t seed;
  double extraBlur = 0;
};
constexpr WideStill kWideStills[] = {
    {"wide-healthy.bmp", "healthy", FoldKind::Healthy, 1},
    {"wide-giant.bmp", "rarefied, with giant loops", FoldKind::Giant, 7},
    {"wide-blurred.bmp", "out of focus: to be counted by hand", FoldKind::Healthy, 2, 30},
};

}  // namespace

Outcome saveDemonstrationLoops(const std::string& folder, const std::string& truthFile) {
  std::string lines = "file,loops per mm,about\n";
  for (const WideStill& still : kWideStills) {
    WideFieldTruth truth;
    const auto image = renderWideField(
        {.kind = still.kind, .seed = still.seed, .pixelSize = kWideFieldPixel, .extraBlur = still.extraBlur},
        truth);
    const std::string path = folder + still.file;
    if (!image || !image->save(path)) return Outcome::failure(path + " can't be written");
    lines += format("%s,%.2f,%s\n", still.file, truth.densityPerMm(), still.about);
  }
  return replaceFile(truthFile, std::string_view(lines));
}

std::vector<KnownRow> readLoopTruth(const std::string& truthFile) {
  std::vector<KnownRow> rows;
  std::ifstream lines(truthFile);
  std::string line;
  for (std::getline(lines, line); std::getline(lines, line);) {
    const std::vector<std::string> parts = split(line, ',');
    if (parts.size() < 3) continue;
    const std::string about = line.substr(parts[0].size() + parts[1].size() + 2);
    rows.push_back({parts[0], std::strtod(parts[1].c_str(), nullptr), about});
  }
  return rows;
}

}  // namespace tarnvisor
