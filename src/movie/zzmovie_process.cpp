#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "archive/archive.h"
#include "base/files.h"
#include "host/host.h"
#include "movie/moviefile.h"
#include "movie/movieoutput.h"
#include "movie/zzmovie.h"
#include "settings/log.h"
#include "video/videoreader.h"

namespace tarnvisor {

bool CZZMovie::openProcessing(bool inPlace, const std::string& name) {
  processedCount = 0;
  processedTable.clear();
  trouble.clear();
  leftOverFile.clear();
  if (count < 1 || recording) return false;
  if (inPlace && mode == kMemory) return true;
  if (inPlace && mode == kFile && !shared && !perFrameHeaders && file->canWrite()) {
    processingFile = file.get();
    return true;
  }
  return beginOutput(name, frame);
}

bool CZZMovie::beginOutput(const std::string& name, const CZZimage& form) {
  const std::string wanted = name.empty() || name == fileName || sameFile(name, fileName)
                                 ? freeMovieName(withoutExtension(fileName))
                                 : name;
  if (wanted.empty())
    trouble = "all names from A to z are taken";
  else
    output = MovieOutput::create(wanted, form, rate, scale, trouble);
  if (!output) {
    logPrintf("movie::openprocessing failed\n");
    trouble = "Cannot create movie file " + (wanted.empty() ? fileName : wanted) + ": " + trouble + ".";
    return false;
  }
  logPrintf("movie::openprocessing %s\n", wanted.c_str());
  return true;
}

bool CZZMovie::processingFailed() const { return !trouble.empty() || (output && output->failed()); }

// The frame shown goes to the pass's output.
void CZZMovie::writeProcessed() {
  if (!isShown || processingFailed()) return;
  const int32_t before = output ? output->written() : -1;
  if (processingFile) {
    try {
      processingFile->write(frame.pixels, static_cast<size_t>(frameBytes),
                            dataOffset + frameBytes * slotOf(current));
    } catch (const ArchiveException& e) {
      trouble = e.what();
      return;
    }
    keepRecord(slotOf(current), frame);
  } else if (!output->append(frame) || output->written() == before) {
    return;  // one that didn't compress has no record either
  }
  processedTable.push_back(FrameRecord::of(frame));
  ++processedCount;
}

bool CZZMovie::closeProcessing() {
  const bool passing = processingFile || output;
  // A pass over one image never left it.
  if (passing && processedCount == 0) writeProcessed();
  if (mode == kMemory && !passing) modified = 1;
  processingFile = nullptr;
  if (output) return takeOutput();
  return trouble.empty();
}

// The output becomes the movie, with its rate; after a failure it stays beside.
bool CZZMovie::takeOutput() {
  const std::unique_ptr<MovieOutput> done = std::move(output);
  const std::string made = done->close();
  if (trouble.empty()) trouble = done->why();
  if (made.empty() || !trouble.empty()) {
    leftOverFile = made;
    if (trouble.empty()) trouble = "no frame was written";
    frameAt(current);  // as it is in the movie, not as the pass made it
    return false;
  }
  const int32_t oldRate = rate, oldScale = scale;
  FrameTable table = std::move(processedTable);
  const bool toAvi = isAviName(made);
  const std::string before = fileName;
  if (!open(made)) {
    const std::string why = trouble;
    leftOverFile = made;
    if (!before.empty()) (void)open(before);
    trouble = why;
    return false;
  }
  if (!toAvi) {
    rate = oldRate;
    scale = oldScale;
  }
  adoptTable(std::move(table));
  shared = 0;
  frameAt(0);
  return true;
}

void CZZMovie::abandonProcessing() {
  processingFile = nullptr;
  if (!output || recording) return;
  output->discard();
  output.reset();
  isShown = false;  // what is in the image is the pass's
}

bool CZZMovie::rewrite(const std::string& name, const CZZimage& form, int32_t n, const MakeFrame& make) {
  processedCount = 0;
  processedTable.clear();
  trouble.clear();
  leftOverFile.clear();
  return n > 0 && count > 0 && !recording && beginOutput(name, form) && fillOutput(n, make);
}

bool CZZMovie::goesOn(const std::string& what, int32_t done, int32_t total) {
  cancelled = !host().waitCursor.progress(what, done, total);
  return !cancelled;
}

bool CZZMovie::fillOutput(int32_t n, const MakeFrame& make) {
  CZZimage made;
  cancelled = false;
  for (int32_t k = 0; k < n && !processingFailed(); ++k) {
    if (!goesOn("Making a new movie", k, n) || !make(k, made)) {
      abandonProcessing();
      return false;
    }
    if (!output->append(made)) break;
    if (output->written() == processedCount) continue;
    processedTable.push_back(FrameRecord::of(made));
    ++processedCount;
  }
  return takeOutput();
}

bool CZZMovie::saveFrames(const std::string& name, int32_t first, int32_t last) {
  logPrintf("movie::dosave:%s\n", name.c_str());
  const Range range = clamped(first, last);
  if (range.size() < 1) return false;
  frameAt(range.first);
  if (!openProcessing(false, name)) return false;
  cancelled = false;
  for (int32_t i = range.first + 1; i < range.last && !processingFailed(); ++i) {
    if (!goesOn("Saving " + fileNameOf(name), i - range.first, range.size())) {
      abandonProcessing();
      return false;
    }
    frameAt(i);
  }
  writeProcessed();
  return takeOutput();
}

bool CZZMovie::save(const std::string& name, int32_t first, int32_t last) {
  const int32_t remembered = current;
  const Range range = clamped(first, last);
  trouble.clear();
  if (recording) {  // `current` is where the next frame goes
    logPrintf("czzmovie didn't save %s to %s\n", fileName.c_str(), name.c_str());
    return false;
  }
  const bool part = mode == kMemory || range.size() != count;
  if (!part && (name == fileName || sameFile(name, fileName)))
    return recovered ? writeMissingTrailer() : false;
  const bool otherKind = !equalIgnoringCase(extensionOf(name), extensionOf(fileName));
  const bool saved = part || otherKind ? saveFrames(name, range.first, range.last) : copyOrRename(name);
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
  processedCount = 0;
  processedTable.clear();
  leftOverFile.clear();
  output = MovieOutput::create(fileName, holder, rate, scale, trouble);
  const bool made = output && fillOutput(count, [this](int32_t k, CZZimage& image) {
                      getImage(k, image);
                      return true;
                    });
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
    done = copyFile(from, name);
    if (done && !copying) std::remove(from.c_str());
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
  if (!done) trouble = done.why();
  return done && opened;
}

}  // namespace tarnvisor
