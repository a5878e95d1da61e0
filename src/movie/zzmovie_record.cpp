#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "archive/archive.h"
#include "base/files.h"
#include "base/numbers.h"
#include "movie/moviefile.h"
#include "movie/movieoutput.h"
#include "movie/zzmovie.h"
#include "settings/log.h"
#include "video/videoreader.h"

namespace tarnvisor {

void CZZMovie::takeRateOfSource() {
  if (!source) return;
  rate = std::max(1, truncated(source->rate() * 1000));
  scale = 1000;
}

bool CZZMovie::record(int32_t frames, const std::string& name, int32_t x, int32_t y, int32_t width,
                      int32_t height, bool fromCamera) {
  logPrintf("CZZMovie::Record.......\n");
  const int32_t columns = width / 4 * 4;
  if (columns < 1 || height < 1) {
    logPrintf("negative size!w=%i,h=%i\n", width, height);
    return false;
  }
  int32_t wanted = kMemory;
  if (!name.empty()) wanted = compressoutput ? kRecordingAvi : kRecordingFile;
  if (wanted != mode || recording) close();
  mode = wanted;
  wrapped = 0;
  perFrameHeaders = count = current = oldest = modified = 0;
  recording = full = isShown = false;
  fileName = name;
  holder.interlace = fromCamera && source && !source->isProgressive() ? 1 : 0;
  const int32_t slotsWanted = holder.interlace && frames <= INT32_MAX / 2 ? frames * 2 : frames;
  frameTable.clear();
  createImages(slotsWanted, columns, height, source ? source->colourset() : int32_t{kGrey});
  takeRateOfSource();
  if (slots < 1 || slots != slotsWanted || holder.width != columns) {
    trouble = "There is not enough memory to record.";
    mode = kClosed;
    return false;
  }
  if (mode == kRecordingAvi) {
    output = MovieOutput::create(name, holder, rate, scale, trouble);
    if (!output) {
      logPrintf("record aviwriteopen %s failed\n", name.c_str());
      mode = kClosed;
      return false;
    }
  } else if (mode == kRecordingFile) {
    file = MovieFile::open(name, MovieFile::Access::Create);
    try {
      if (!file) throw ArchiveException(std::strerror(errno));
      writeMovieStart(*file, holder);
      openNumbers = MovieFile::open(pathOfOpenNumbers(name), MovieFile::Access::Create);
    } catch (const ArchiveException& e) {
      logPrintf("record file open %s failed\n", name.c_str());
      trouble = e.what();
      file.reset();
      mode = kClosed;
      return false;
    }
    dataOffset = MovieLayout::kDataOffset;
    frameBytes = slotBytes();
  }
  recording = true;
  if (fromCamera && source) source->setTarget(this, {x, y, x + columns, y + height});
  logPrintf("CZZMovie::Record: noimages=%i\n", slots);
  return true;
}

// Whole rows of the file's own width go there as they are, without a copy in between.
bool CZZMovie::takeFrame(const CZZimage& image, int32_t field) {
  const bool skipsRows = !image.isField() && (field == 1 || field == 2);
  pixelsInFile = mode == kRecordingFile && !skipsRows && image.colourset == frame.colourset &&
                 image.width == frame.width && image.height == frame.height && image.stride == frame.stride &&
                 image.pixels;
  if (pixelsInFile) {
    frame.frameNumber = image.frameNumber;
    frame.interlace = field;
    frame.tag[1] = image.tag[0];
  } else if (!frame.extractfrom(image, field)) {
    trouble = "a frame of another kind was left out";
    return false;
  }
  frame.xOrigin = image.xOrigin;
  frame.setYOrigin(image.frameOrigin().y);
  return true;
}

void CZZMovie::readBack() {
  pixelsInFile = false;
  if (file) file->read(holder.pixels, static_cast<size_t>(frameBytes), lastWritten);
}

// At most one copy, and one write; nothing is allocated.
int32_t CZZMovie::addFrame(const CZZimage& image, int32_t field, bool advance) {
  if (!recording || full) return -1;
  if (!takeFrame(image, field)) return -1;
  writeRecorded(pixelsInFile ? image : frame);
  keepRecord(current, frame);
  return advance ? nextSlot() : count;
}

void CZZMovie::writeRecorded(const CZZimage& image) {
  if (mode == kRecordingFile) {
    try {
      // What was in the slot is lost from here on, and what comes isn't there before it is whole.
      if (wrapped) writeOpenTrailer(*file, dataOffset + frameBytes * slots, count, oldest, true);
      lastWritten = dataOffset + frameBytes * current;
      file->write(image.pixels, static_cast<size_t>(frameBytes), lastWritten);
      const FrameRecord record = FrameRecord::of(frame);
      if (wrapped)
        writeOpenNumbers(*file, dataOffset + frameBytes * slots, current, {&record, 1});
      else if (openNumbers)
        writeOpenNumbers(*openNumbers, 0, current, {&record, 1});
    } catch (const ArchiveException&) {
      // Without the part of a frame, so that the disc has room for the end.
      if (!wrapped && !file->cutTo(dataOffset + frameBytes * current))
        logPrintf("%s can't be cut: %s\n", fileName.c_str(), std::strerror(errno));
      throw;
    }
  } else if (mode == kRecordingAvi && !output->append(frame) && output->failed()) {
    throw ArchiveException(output->why());
  }
}

// The file has its full length from here on, so that its end can tell the order even if the recording is cut
// off, and which frame each slot holds.
void CZZMovie::writeOpenEnd() {
  const int64_t end = dataOffset + frameBytes * slots;
  writeOpenTrailer(*file, end, count, oldest, false);
  if (current == 0) writeOpenNumbers(*file, end, 0, frameTable);
}

void CZZMovie::dropOpenNumbers() {
  openNumbers.reset();
  std::remove(pathOfOpenNumbers(fileName).c_str());
}

int32_t CZZMovie::nextSlot() {
  if (!recording || full) return -1;
  if (++current >= slots) {
    current = 0;
    wrapped = 1;
    full = !ringMode || mode == kRecordingAvi;
  }
  count = std::min(count + 1, slots);
  showSlot(current);
  oldest = current;
  if (wrapped && !full && mode == kRecordingFile) writeOpenEnd();
  return full ? -1 : count;
}

void CZZMovie::finishRecordedFile() {
  logPrintf("count=%i,oldest=%i\n", count, oldest);
  const int64_t end = dataOffset + frameBytes * count;
  writeTrailer(*file, end, count, oldest);
  if (!file->cutTo(end + MovieLayout::kTrailerBytes)) throw ArchiveException(std::strerror(errno));
}

void CZZMovie::stopRecording() {
  logPrintf("CZZMovie::stopRecording...");
  if (recording && source) source->setTarget(nullptr, {});
  recording = false;
  const bool was = wrapped != 0;
  if (mode == kRecordingFile || mode == kRecordingAvi) {
    FrameTable table = std::move(frameTable);
    std::string name = fileName, why;
    const bool none = mode == kRecordingFile && count == 0;
    if (output) {
      name = output->close();  // beside the wanted one after a failure, none without frames
      why = output->why();
      if (!why.empty()) logPrintf("closing %s: %s\n", fileName.c_str(), why.c_str());
      output.reset();
    }
    trouble.clear();
    close();
    if (why.empty()) why = trouble;
    if (none) std::remove(std::exchange(name, {}).c_str());
    if (!name.empty() && open(name)) adoptTable(std::move(table));
    if (trouble.empty()) trouble = why;
  } else if (mode == kMemory) {
    modified = 1;
  }
  takeRateOfSource();
  frameAt(0);
  logPrintf("....CZZMovie::stopRecording: %s filled imagecount=%i\n", was ? "was" : "not", count);
}

}  // namespace tarnvisor
