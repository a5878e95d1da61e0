#include "batch/demonstrationvideo.h"

#include <algorithm>
#include <cmath>
#include <fstream>

#include "archive/archive.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/vivocapdoc.h"

namespace tarnvisor {

namespace {

std::string pathOf(const std::string& folder, const DemonstrationVideo& video, const char* ending) {
  return folder + video.name + ending;
}

Outcome record(const FingerVideo& finger, const std::string& path) {
  CZZMovie movie;
  const NailfoldStill& still = finger.settings().still;
  if (!movie.record(finger.frames(), path, 0, 0, still.width, still.height, false))
    return Outcome::failure(path + " can't be written: " + movie.failure());
  CZZimage image;
  try {
    for (int32_t k = 0; k < finger.frames(); ++k) {
      if (!finger.render(k, image)) return Outcome::failure("There is not enough memory.");
      image.frameNumber = 2 * k;  // frames count as two fields
      if (movie.addFrame(image, 0) < 0 && k + 1 < finger.frames())
        return Outcome::failure(path + " is full.");
    }
  } catch (const ArchiveException& problem) {
    return Outcome::failure(path + " can't be written: " + problem.what());
  }
  movie.stopRecording();
  return movie.failure().empty() ? Outcome::success()
                                 : Outcome::failure(path + " can't be written: " + movie.failure());
}

}  // namespace

Outcome saveDemonstrationVideo(const DemonstrationVideo& video, const std::string& folder) {
  FingerVideo::Settings settings = video.make(1);
  settings.frames = kDemonstrationImages;
  const FingerVideo finger(settings);
  if (finger.empty()) return Outcome::failure("There is not enough memory.");
  const std::string moviePath = pathOf(folder, video, ".mve");
  if (Outcome done = record(finger, moviePath); !done) return done;
  if (Outcome done = replaceFile(pathOf(folder, video, "-truth.csv"), std::string_view(finger.truthTable()));
      !done)
    return done;
  if (Outcome done =
          replaceFile(pathOf(folder, video, "-capillaries.csv"), std::string_view(finger.capillaryTable()));
      !done)
    return done;
  CVivoCapDoc document;
  const std::string path = pathOf(folder, video, ".dtv");
  if (!document.onNewDocument() || !document.onImportFile(moviePath)) return Outcome::failure(path);
  document.fps = settings.framesPerSecond;
  document.magx = document.magy = 1.0;  // it is drawn at one micrometre a pixel
  document.calibrated = 1;
  document.userunits = "um";
  document.appendNotes(std::string("Simulated finger: ") + video.about + ".\r\n");
  return document.onSaveDocument(path) ? Outcome::success() : Outcome::failure(path + " can't be written");
}

std::string knownOf(const std::string& folder, const DemonstrationVideo& video) {
  std::ifstream lines(pathOf(folder, video, "-truth.csv"));
  std::string line;
  std::getline(lines, line);
  const std::vector<std::string> columns = split(line, ',');
  const auto place = [&](const char* name) {
    return static_cast<size_t>(std::find(columns.begin(), columns.end(), name) - columns.begin());
  };
  const size_t dx = place("dx (pixels)"), dy = place("dy (pixels)"), velocity = place("velocity (um/s)");
  double farthest = 0, sum = 0;
  int32_t images = 0;
  while (std::getline(lines, line)) {
    const std::vector<std::string> cells = split(line, ',');
    const auto number = [&](size_t at) {
      return at < cells.size() ? std::strtod(cells[at].c_str(), nullptr) : 0.0;
    };
    farthest = std::max(farthest, std::hypot(number(dx), number(dy)));
    sum += number(velocity);
    ++images;
  }
  return format("%i images, mean velocity %.0f um/s, skin moves up to %.1f um", images,
                images ? sum / images : 0.0, farthest);
}

}  // namespace tarnvisor
