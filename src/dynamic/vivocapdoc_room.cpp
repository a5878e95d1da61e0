// What passes and exports take of the disc.
#include <algorithm>

#include "app/asked.h"
#include "base/files.h"
#include "base/text.h"
#include "dynamic/vivocapdoc.h"
#include "host/host.h"

namespace tarnvisor {

uint64_t movieBytes(const CZZimage& form, int32_t images) {
  const int64_t frame = int64_t{CZZimage::strideFor(form.width, form.bytesPerPixel)} * form.height;
  return static_cast<uint64_t>(frame) * static_cast<uint64_t>(std::max(0, images));
}

// As they are written: uncompressed, with the rows and columns that offsets add.
uint64_t CVivoCapDoc::exportBytes(int32_t step) const {
  if (!hasMovie()) return 0;
  const CZZMovie::Range range = selection();
  const CZZMovie::Extents extents = movie->frameExtents(range.first, range.last);
  const uint64_t pixels =
      static_cast<uint64_t>(extents.width) * static_cast<uint64_t>(extents.height) / (isFieldMovie() ? 2 : 1);
  return pixels * (movie->form().colourset == kGrey ? 1 : 3) *
         static_cast<uint64_t>(range.size() / std::max(1, step));
}

namespace {

uint64_t freeIn(const std::string& folder) {
  return freeDiscBytes(folder.empty() ? workingFolder() : folder);
}

}  // namespace

std::string roomInWords(const std::string& folder, uint64_t bytes) {
  return format("%s of the disc are needed, and %s are free in %s.", sizeInWords(bytes).c_str(),
                sizeInWords(freeIn(folder)).c_str(), folder.c_str());
}

Outcome roomFor(const std::string& folder, uint64_t bytes) {
  const uint64_t free = freeIn(folder);
  return free == 0 || bytes < free  // 0: nobody knows
             ? Outcome::success()
             : Outcome::failure(roomInWords(folder, bytes) + " Nothing was done.");
}

bool CVivoCapDoc::hasRoomFor(const std::string& folder, uint64_t bytes) {
  constexpr uint64_t kMuch = 10;  // a tenth of what is free
  if (const Outcome room = roomFor(folder, bytes); !room) {
    report(room.why());
    return false;
  }
  const uint64_t free = freeIn(folder);
  if (free == 0 || isUnattended()) return true;
  if (bytes < free / kMuch) {
    host().messages.notice({roomInWords(folder, bytes)});
    return true;
  }
  return host().messages.show(roomInWords(folder, bytes) + "\nGo on?", Buttons::OkCancel, Icon::Question) ==
         Answer::Ok;
}

bool CVivoCapDoc::goesBeside() const {
  return movie->mode != CZZMovie::kMemory && (movie->shared || movie->mode != CZZMovie::kFile ||
                                              movie->perFrameHeaders || isMovieOfOthers(movie->fileName));
}

}  // namespace tarnvisor
