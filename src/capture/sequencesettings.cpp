#include "capture/sequencesettings.h"

#include <algorithm>

#include "app/asked.h"
#include "app/processstate.h"
#include "base/files.h"
#include "base/text.h"
#include "exams/examselection.h"
#include "host/host.h"
#include "movie/zzmovie.h"
#include "settings/settings.h"

namespace tarnvisor {

namespace {

constexpr const char* kSection = "Dynamic settings";

std::string sizeWords(double bytes) {
  return bytes < 1e9 ? format("%.1f MB", bytes / 1e6) : format("%.2f GB", bytes / 1e9);
}

}  // namespace

void SequenceSettings::load() {
  frames = std::max(1, settings.getInt(kSection, "no of frames", frames));
  skip = std::max(0, settings.getInt(kSection, "skip frames", skip));
  loop = settings.getInt(kSection, "loop", loop);
  toDisc = process.direct2disc;
  compress = compressoutput;
  baseName = process.baseName;
  folder = process.recordDir;
}

void SequenceSettings::store() const {
  settings.setInt(kSection, "no of frames", frames);
  settings.setInt(kSection, "skip frames", skip);
  settings.setInt(kSection, "loop", loop);
  settings.setInt(kSection, "direct2disc", toDisc);
  settings.setInt(kSection, "compressoutput", compress);
  settings.setString("directories", "basename", baseName);
  process.direct2disc = toDisc;
  process.baseName = baseName;
  compressoutput = compress;
  theExams().setRecordingFolder(folder);
}

bool askSequenceSettings(SequenceSettings& sequence, const Rect& source, double framesPerSecond) {
  const Size frame{source.width() / 4 * 4, source.height()};
  std::string memory, duration, rate, disc;
  const auto tell = [&] {
    memory = sizeWords(sequence.bytes(frame));
    duration = format("%.1f", sequence.seconds(framesPerSecond));
    rate = sizeWords(sequence.bytesPerSecond(frame, framesPerSecond)) + " a second";
    const uint64_t room = freeDiscBytes(sequence.folder);
    disc = sizeWords(static_cast<double>(room));
    if (sequence.toDisc && !sequence.compress && room > 0 &&
        sequence.bytes(frame) > static_cast<double>(room))
      disc += ": too little for this recording";
  };
  tell();
  Form form("Image Sequence Settings");
  form.addNote(theExams().words());
  form.add("Number of frames to aquire", sequence.frames, {1, 10000000, {}})
      .add("Frames to skip between each saved frame", sequence.skip, {0, 100000, {}})
      .addCheck("Loop (record until stopped)", sequence.loop)
      .add("base filename", sequence.baseName)
      .addCheck("save direct to disc", sequence.toDisc)
      .addCheck("compressed AVI", sequence.compress)
      .addFolder("folder", sequence.folder, "Select Recording folder")
      .addReading("memory required :", memory)
      .addReading("Duration of recording (secs.)", duration)
      .addReading("required transfer rate:", rate)
      .addReading("free on the disc", disc)
      .addNote(format("using current source ROI: %i, %i, %i, %i", source.left, source.top, source.right,
                      source.bottom))
      .addNote(
          "With loop on, the newest of so many frames are kept until the recording is stopped: older ones are overwritten.")
      .setOnChange(tell);
  return asked(form);
}

}  // namespace tarnvisor
