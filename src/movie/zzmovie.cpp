#include "movie/zzmovie.h"

#include <algorithm>
#include <cstdlib>
#include <new>

#include "archive/archive.h"
#include "base/numbers.h"
#include "image/stillsequence.h"
#include "movie/moviefile.h"
#include "movie/movieoutput.h"
#include "movie/moviepass.h"
#include "settings/log.h"
#include "video/videoreader.h"

namespace tarnvisor {

int32_t compressoutput = 0;

void CZZMovie::FreeBlock::operator()(uint8_t* block) const { std::free(block); }

CZZMovie::CZZMovie() : frame(0, 0, nullptr, 0) {}

CZZMovie::~CZZMovie() {
  try {
    close();
  } catch (const ArchiveException& e) {
    logPrintf("close movie: %s\n", e.what());
  }
}

// --- the store

int32_t CZZMovie::createImages(int32_t n, int32_t width, int32_t height, int32_t colourset) {
  logPrintf("CZZMovie::createImages:existing %i newsize %i images\n", slots, n);
  const int32_t before = slots;
  int32_t added = 0;
  if (n >= 0 && holder.setColourset(colourset) && holder.setSize(width, height) && createHeaders(n)) {
    showHolder();
    if (mode != kMemory) {
      memory.reset();
      memorySize = 0;
    }
    if (mode != kMemory || reserveMemory(n)) {
      slots = n;
      added = std::max(0, n - before);
      showSlot(0);
    }
  }
  logPrintf("\nCZZMovie::createImages:created %i\n", added);
  return added;
}

// Frames are read and written in place of the block, so it is never given back while the movie lives.
bool CZZMovie::reserveMemory(int32_t n) {
  const int64_t wanted = slotBytes() * n;
  if (wanted <= memorySize) return true;
  logPrintf("realloc from %i to %i mve memory\n", truncated(static_cast<double>(memorySize)),
            truncated(static_cast<double>(wanted)));
  auto* block = static_cast<uint8_t*>(std::realloc(memory.get(), static_cast<size_t>(wanted)));
  if (!block) {
    logPrintf("failed to realloc\n");
    writeMemoryReport();
    return false;
  }
  static_cast<void>(memory.release());  // which went into the new block
  memory.reset(block);
  memorySize = wanted;
  return true;
}

bool CZZMovie::reserve(int32_t n, int32_t width, int32_t height) {
  close();
  mode = kMemory;
  if (createImages(n, width, height, kGrey) != n) return false;
  std::fill_n(memory.get(), memorySize, uint8_t{0});
  return true;
}

bool CZZMovie::createHeaders(int32_t n) {
  if (n < 1) {
    frameTable = {};
    logPrintf("bad createhdrs\n");
    return n == 0;
  }
  try {
    frameTable.resize(static_cast<size_t>(n));
    return true;
  } catch (const std::bad_alloc&) {
    logPrintf("create %i hdrs failed\n", n);
    return false;
  }
}

int32_t CZZMovie::slotOf(int32_t index) const {
  if (!wrapped) return std::clamp(index, 0, std::max(0, slots - 1));
  const int64_t slot = int64_t{oldest} + index;
  return static_cast<int32_t>(std::max<int64_t>(0, slot >= slots ? slot - slots : slot));
}

void CZZMovie::showHolder() {
  const int32_t palette = frame.paletteIndex;
  const uint8_t black = frame.blackZero;
  frame.usedataof(&holder);
  frame.paletteIndex = palette;  // the view's choice, not the frame's
  frame.blackZero = black;
}

void CZZMovie::showSlot(int32_t slot) {
  if (memory) frame.pixels = memory.get() + slotBytes() * slot;
}

CZZMovie::Range CZZMovie::clamped(int32_t first, int32_t last) const {
  const int32_t end = last < 0 || last > count ? count : last;
  return {std::clamp(first, 0, end), end};
}

CZZimage& CZZMovie::frameAt(int32_t wanted) {
  const int32_t index = isInside(wanted) ? wanted : 0;
  if (pass && index == current && isShown) return frame;
  if (pass) pass->writeShown();
  current = index;
  pixelsInFile = false;
  isShown = count > 0;
  isShownRead = true;
  if (!isShown) return frame;
  isRead = true;
  if (memory)
    showSlot(slotOf(index));
  else
    isShownRead = isRead = readSlot(index, holder);
  frameInfo(slotOf(index), frame);
  return frame;
}

int32_t CZZMovie::nextFrame(int32_t limit) {
  const int32_t next = current + 1;
  frameAt(next >= count || next == limit ? 0 : next);
  return current;
}

int32_t CZZMovie::getImage(int32_t wanted, CZZimage& target) {
  const int32_t index = isInside(wanted) ? wanted : 0;
  if (count < 1 || !target.resizedata(holder.width, holder.height, holder.bytesPerPixel)) return index;
  target.interlace = holder.interlace;
  target.colourset = holder.colourset;
  target.frameNumber = 2 * slotOf(index);
  target.xOrigin = target.yOrigin = 0;
  isRead = readSlot(index, target);
  frameInfo(slotOf(index), target);
  return index;
}

// --- frame records

void CZZMovie::frameInfo(int32_t slot, CZZimage& image) const {
  if (slot >= 0 && slot < static_cast<int32_t>(frameTable.size()))
    frameTable[static_cast<size_t>(slot)].applyTo(image);
}

const FrameRecord& CZZMovie::recordOf(int32_t index) {
  static const FrameRecord none{0, 0, 0, 0};
  const int32_t slot = slotOf(isInside(index) ? index : 0);
  if (slot >= static_cast<int32_t>(frameTable.size())) return none;
  FrameRecord& record = frameTable[static_cast<size_t>(slot)];
  if (!record.isKnown() && perFrameHeaders) {
    ZzgHeader header;
    if (file && readFrameHeader(*file, dataOffset + frameBytes * slot, header))
      record = {static_cast<uint32_t>(header.frameNumber), header.interlace, header.xOrigin,
                header.interlace ? wrapAdd(header.yOrigin, header.yOrigin) : header.yOrigin};
  }
  // Pixels alone tell nothing more.
  if (!record.isKnown()) record = {static_cast<uint32_t>(2 * slot), holder.interlace, 0, 0};
  return record;
}

void CZZMovie::adoptTable(FrameTable table) {
  table.resize(static_cast<size_t>(std::max(0, slots)));
  frameTable = std::move(table);
  // A video file can't tell that its images are fields.
  if (video && !frameTable.empty() && frameTable.front().isKnown()) {
    frameTable.front().applyTo(holder);
    holder.xOrigin = holder.yOrigin = 0;
  }
  frameInfo(slotOf(current), frame);
}

void CZZMovie::setOrigin(int32_t index, Point origin) {
  if (!isInside(index)) return;
  recordOf(index);
  FrameRecord& record = frameTable[static_cast<size_t>(slotOf(index))];
  record.xOrigin = origin.x;
  record.yOrigin = origin.y;
  if (index == current) record.applyTo(frame);
}

CZZMovie::Extents CZZMovie::frameExtents(int32_t first, int32_t last) {
  const Range range = clamped(first, last);
  if (range.size() < 1) return {};
  int64_t left = INT64_MAX, top = INT64_MAX, right = INT64_MIN, bottom = INT64_MIN;
  for (int32_t i = range.first; i < range.last; ++i) {
    const FrameRecord& record = recordOf(i);
    left = std::min<int64_t>(left, record.xOrigin);
    top = std::min<int64_t>(top, record.yOrigin);
    right = std::max<int64_t>(right, record.xOrigin);
    bottom = std::max<int64_t>(bottom, record.yOrigin);
  }
  return {right - left + holder.width, bottom - top + holder.frameHeight(), left, top};
}

// --- reading

bool CZZMovie::readSlot(int32_t index, CZZimage& target) {
  const int32_t slot = slotOf(index);
  if (memory) {
    if (target.stride == holder.stride && target.height == holder.height && target.pixels)
      std::copy_n(memory.get() + slotBytes() * slot, slotBytes(), target.pixels);
    return true;
  }
  const bool read = video    ? video->readGrey(index, target.pixels, target.stride)
                    : stills ? stills->read(index, target)
                             : file && readFromFile(slot, target);
  if (video && !read) logPrintf("NULL%i\n", index);
  recordOf(index);
  return read;
}

// A short read leaves the pixels that it lacks as they were.
bool CZZMovie::readFromFile(int32_t slot, CZZimage& target) {
  const int64_t at = dataOffset + frameBytes * slot;
  if (frameBytes == slotBytes() && !perFrameHeaders) {
    const auto bytes = static_cast<size_t>(frameBytes);
    return file->read(target.pixels, bytes, at) == bytes;
  }
  ZzgHeader header;  // none where rows without gaps follow each other
  if (perFrameHeaders && (!readFrameHeader(*file, at, header) || header.width != target.width ||
                          header.height != target.height || header.bytesPerPixel() != target.bytesPerPixel))
    return false;
  const auto bytes = static_cast<size_t>(target.rowBytes);
  for (int32_t y = 0; y < target.height; ++y)
    if (file->read(target.row(y), bytes, at + header.fileBytes + int64_t{y} * target.rowBytes) != bytes)
      return false;
  return true;
}

void CZZMovie::keepRecord(int32_t slot, const CZZimage& image) {
  if (slot >= 0 && slot < static_cast<int32_t>(frameTable.size()))
    frameTable[static_cast<size_t>(slot)] = FrameRecord::of(image);
}

const uint8_t* CZZMovie::rowsOf(int32_t index, int32_t first, int32_t last, CZZimage& into) {
  if (memory) return memory.get() + slotBytes() * slotOf(index) + int64_t{first} * holder.stride;
  if (!readsRows()) {
    getImage(index, into);
    return into.empty() || !isRead ? nullptr : into.row(first);
  }
  if (into.height != last - first && !into.resizedata(holder.width, last - first, holder.bytesPerPixel))
    return nullptr;
  const auto bytes = static_cast<size_t>(int64_t{last - first} * holder.stride);
  const int64_t at = dataOffset + frameBytes * slotOf(index) + int64_t{first} * holder.stride;
  return file->read(into.pixels, bytes, at) == bytes ? into.pixels : nullptr;
}

// --- the end

void CZZMovie::close() {
  if (modified) logPrintf("closing modified movie!\n");
  abandonProcessing();
  try {
    if (mode == kRecordingFile && file) {
      finishRecordedFile();
      dropOpenNumbers();
    }
  } catch (const ArchiveException& e) {
    // The frames are there all the same: opening the file finds them by its length.
    logPrintf("closing %s: %s\n", fileName.c_str(), e.what());
    trouble = e.what();
  }
  if (output && !output->close().empty() && output->failed())
    logPrintf("closing %s: %s\n", fileName.c_str(), output->why().c_str());
  output.reset();
  if (video) logPrintf("closeavi\n");
  video.reset();
  stills.reset();
  if (mode == kAvi) logPrintf("closeAVI done\n");
  file.reset();
  openNumbers.reset();
  processingFile = nullptr;
  frameTable.clear();
  fileName.clear();
  mode = kClosed;
  count = current = oldest = perFrameHeaders = modified = recovered = 0;
  wrapped = 0;
  rawFrames = {};
  recording = full = isShown = pixelsInFile = false;
}

}  // namespace tarnvisor
