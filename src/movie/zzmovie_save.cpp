// Saving a movie, whole or in part, and mending one that was cut off.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "archive/archive.h"
#include "base/files.h"
#include "base/text.h"
#include "movie/moviefile.h"
#include "movie/moviepass.h"
#include "movie/zzmovie.h"
#include "settings/log.h"
#include "video/videoreader.h"

namespace tarnvisor {

bool CZZMovie::saveFrames(const std::string& name, int32_t first, int32_t last) {
  logPrintf("movie::dosave:%s\n", name.c_str());
  const Range wanted = clamped(first, last);
  if (wanted.size() < 1) return false;
  if (!mayReplace(name)) {
    trouble = name + " may not be written";
    return false;
  }
  MoviePass saving(*this, "Saving " + fileNameOf(name), wanted);
  if (!saving.openBeside(name, frame)) return false;
  while (saving.next()) {
  }
  return saving.finish();
}

bool CZZMovie::save(const std::string& name, int32_t first, int32_t last) {
  const int32_t remembered = current;
  const Range range = clamped(first, last);
  forgetFailure();
  if (recording) {  // `current` is where the next frame goes
    logPrintf("czzmovie didn't save %s to %s\n", fileName.c_str(), name.c_str());
    return false;
  }
  const bool part = mode == kMemory || range.size() != count;
  if (!part && (name == fileName || sameFile(name, fileName)))
    return recovered ? writeMissingTrailer() : false;
  // Frames of a file that was deleted are there as long as it is open.
  const bool byFrames =
      part || !fileExists(fileName) || !equalIgnoringCase(extensionOf(name), extensionOf(fileName));
  const bool saved = byFrames ? saveFrames(name, range.first, range.last) : copyOrRename(name);
  frameAt(remembered);
  return saved;
}

// What the recording had no time for.
bool CZZMovie::writeMissingTrailer() {
  if (count < slots) return rewriteInOrder();
  try {
    const int64_t end = dataOffset + frameBytes * count;
    if (!file->canWrite()) throw ArchiveException("the file may not be written");
    if (!file->cutTo(end)) throw ArchiveException(std::strerror(errno));
    writeTrailer(*file, end, count, oldest);
    recovered = 0;
    return true;
  } catch (const ArchiveException& e) {
    trouble = e.what();
    return false;
  }
}

// No trailer tells of a ring that lacks the frame of a slot, so the file is made anew without that slot.
bool CZZMovie::rewriteInOrder() {
  MoviePass mending(*this, "Mending " + fileNameOf(fileName), count);
  CZZimage each;
  bool made = mending.openAs(fileName, holder);
  while (made && mending.next()) {
    getImage(mending.step(), each);
    if (!mending.put(each)) break;
  }
  made = made && mending.finish();
  shared = 1;
  return made;
}

bool CZZMovie::copyOrRename(const std::string& name) {
  const std::string from = fileName;
  if (mode != kFile && mode != kAvi) {
    logPrintf("czzmovie didn't save %s to %s\n", from.c_str(), name.c_str());
    return false;
  }
  const bool copying = shared != 0;
  const int32_t oldRate = rate, oldScale = scale;
  const bool cutOff = recovered != 0;
  FrameTable table = std::move(frameTable);
  close();
  logPrintf(copying ? "czzmovie::save copy %s to %s\n" : "czzmovie::save rename %s to %s\n", from.c_str(),
            name.c_str());
  Outcome done = Outcome::success();
  // Another disc can't take a file by its name alone.
  if (copying || std::rename(from.c_str(), name.c_str()) != 0) {
    MoviePass moving(*this, "Copying " + fileNameOf(from), 0);
    done = copyFile(from, name, [&](int64_t bytes, int64_t total) { return moving.goesOn(bytes, total); });
    if (done && !copying && std::remove(from.c_str()) != 0)
      logPrintf("%s was copied and could not be removed: %s\n", from.c_str(), std::strerror(errno));
  }
  if (!done) logPrintf("czzmovie save %s to %s exception.\n", from.c_str(), name.c_str());
  const bool opened = open(done ? name : from);
  if (opened) {
    rate = oldRate;
    scale = oldScale;
    adoptTable(std::move(table));
    if (!done && !copying) shared = 0;
    if (done && cutOff && !writeMissingTrailer()) return false;
  }
  if (!done && !cancelled) trouble = done.why();
  return done && opened;
}

}  // namespace tarnvisor
