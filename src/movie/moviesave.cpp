#include "movie/moviesave.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "archive/archive.h"
#include "base/text.h"
#include "movie/moviefile.h"
#include "settings/log.h"

namespace tarnvisor {

MovieSave::MovieSave(CZZMovie& whole, std::string wanted, int32_t first, int32_t last, How how)
    : movie(whole), name(std::move(wanted)), remembered(whole.current) {
  movie.forgetFailure();
  if (movie.recording)  // `current` is where the next frame goes
    logPrintf("czzmovie didn't save %s to %s\n", movie.fileName.c_str(), name.c_str());
  else
    begin(movie.clamped(first, last), how);
}

void MovieSave::begin(CZZMovie::Range range, How how) {
  const bool part = movie.mode == CZZMovie::kMemory || range.size() != movie.count;
  if (how == How::ByFrames || part) return beginFrames(range);
  if (name == movie.fileName || sameFile(name, movie.fileName)) {
    if (movie.recovered) mend();
    return;
  }
  // Frames of a file that was deleted are there as long as it is open.
  if (!fileExists(movie.fileName) || !equalIgnoringCase(extensionOf(name), extensionOf(movie.fileName)))
    return beginFrames(range);
  way = Way::Copy;
  replaces = fileExists(name);
}

void MovieSave::beginFrames(CZZMovie::Range range) {
  logPrintf("movie::dosave:%s\n", name.c_str());
  if (range.size() < 1) return;
  if (!mayReplace(name)) {
    movie.trouble = name + " may not be written";
    return;
  }
  way = Way::Frames;
  pass.emplace(movie, range);
  opened = pass->openBeside(name, movie.frame);
}

// What the recording had no time for. No trailer tells of a ring that lacks the frame of a slot, so such a
// file is made anew without that slot. False when that is done.
bool MovieSave::mend() {
  if (movie.count == movie.slots) {
    saved = movie.writeMissingTrailer();
    return false;
  }
  way = Way::Mending;
  pass.emplace(movie, movie.count);
  opened = pass->openAs(movie.fileName, movie.holder);
  return opened;
}

std::string MovieSave::words() const {
  if (way == Way::Mending) return "Mending " + fileNameOf(movie.fileName);
  return (way == Way::Copy ? "Copying " + fileNameOf(movie.fileName) : "Saving " + fileNameOf(name));
}

int64_t MovieSave::done() const { return copy ? copy->done() : pass ? std::max(0, pass->step()) : 0; }
int64_t MovieSave::total() const { return copy ? copy->total() : pass ? pass->steps() : 0; }

bool MovieSave::next() {
  if (stopped) return false;
  if (way == Way::Copy) return nextBlock();
  if (!opened || !pass->next()) return false;
  if (way == Way::Frames) return true;
  movie.getImage(pass->step(), each);
  return pass->put(each);
}

// Another disc can't take a file by its name alone.
bool MovieSave::nextBlock() {
  if (copy && copy->next()) return true;
  // Another document may have been saved under that name meanwhile.
  if (!replaces && fileExists(name)) return takeCopy(Outcome::failure(name + " is there already"));
  if (copy) return takeCopy(copy->commit());
  const std::string& from = movie.fileName;
  logPrintf(movie.shared ? "czzmovie::save copy %s to %s\n" : "czzmovie::save rename %s to %s\n",
            from.c_str(), name.c_str());
  if (!movie.shared && std::rename(from.c_str(), name.c_str()) == 0) return takeCopy(Outcome::success());
  copy.emplace(from, name);
  return true;
}

// Whether there is more to do for it.
bool MovieSave::takeCopy(const Outcome& made) {
  const std::string from = movie.fileName;
  const bool moves = copy && !movie.shared;
  way = Way::None;
  copy.reset();
  if (!made) {
    logPrintf("czzmovie save %s to %s exception.\n", from.c_str(), name.c_str());
    movie.trouble = made.why();
    return false;
  }
  const int32_t oldRate = movie.rate, oldScale = movie.scale;
  const bool cutOff = movie.recovered != 0;
  FrameTable table = std::move(movie.frameTable);
  saved = movie.open(name);
  if (moves && std::remove(from.c_str()) != 0)
    logPrintf("%s was copied and could not be removed: %s\n", from.c_str(), std::strerror(errno));
  if (moves && cutOff) std::remove(pathOfOpenNumbers(from).c_str());
  if (!saved) return false;
  movie.rate = oldRate;
  movie.scale = oldScale;
  movie.adoptTable(std::move(table));
  return cutOff && mend();
}

void MovieSave::stop() {
  stopped = true;
  if (pass) pass->stop();
}

bool MovieSave::finish() {
  if (pass) {
    saved = opened && pass->finish();
    // Its images are in the movie, which stays as it is.
    if (const std::string part = std::exchange(movie.leftOverFile, {}); !saved && !part.empty())
      std::remove(part.c_str());
    if (way == Way::Mending) movie.shared = 1;
    if (way == Way::Mending && saved) movie.dropOpenNumbers();
    pass.reset();
  }
  copy.reset();
  if (!movie.recording) movie.frameAt(remembered);
  return saved;
}

// --- the movie's own, to their end

namespace {
bool allOf(MovieSave&& work) {
  while (work.next()) continue;
  return work.finish();
}
}  // namespace

bool CZZMovie::save(const std::string& name, int32_t first, int32_t last) {
  return allOf(MovieSave(*this, name, first, last));
}

bool CZZMovie::saveFrames(const std::string& name, int32_t first, int32_t last) {
  return allOf(MovieSave(*this, name, first, last, MovieSave::How::ByFrames));
}

// What the recording had no time for.
bool CZZMovie::writeMissingTrailer() {
  try {
    const int64_t end = dataOffset + frameBytes * count;
    if (!file->canWrite()) throw ArchiveException("the file may not be written");
    if (!file->cutTo(end)) throw ArchiveException(std::strerror(errno));
    writeTrailer(*file, end, count, oldest);
    recovered = 0;
    dropOpenNumbers();
    return true;
  } catch (const ArchiveException& e) {
    trouble = e.what();
    return false;
  }
}

}  // namespace tarnvisor
