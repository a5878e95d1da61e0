// The file of a movie, ending .mve: a signature, the form of a frame, the frames, and in the last eight bytes
// how many there are and which is the oldest. docs/formats/mve.md tells the bytes. Positions are 64-bit.
#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <string>

#include "image/imagefile.h"
#include "movie/framerecord.h"

namespace tarnvisor {

class MovieFile {
 public:
  // A movie of more frames is none: its table alone would take gigabytes.
  static constexpr int64_t kMostFrames = int64_t{1} << 24;
  // Update: an existing file, to be read only where it may not be written. Create: an empty one.
  enum class Access { Update, Create };
  // Null when it can't be opened; errno tells why.
  static std::unique_ptr<MovieFile> open(const std::string& path, Access access);
  ~MovieFile();
  MovieFile(const MovieFile&) = delete;
  MovieFile& operator=(const MovieFile&) = delete;

  int64_t size() const;
  // Bytes read: fewer than asked at the end, or where the medium fails.
  size_t read(void* to, size_t bytes, int64_t at) const;
  // Throws ArchiveException when not everything could be written.
  void write(const void* from, size_t bytes, int64_t at);
  // False when it can't be done; errno tells why.
  [[nodiscard]] bool cutTo(int64_t bytes);
  [[nodiscard]] bool flushToDisc();
  bool canWrite() const { return writable; }

 private:
  MovieFile(int openFile, bool mayWrite) : descriptor(openFile), writable(mayWrite) {}
  int descriptor;
  bool writable;
};

// How the frames lie in a file of any form.
struct MovieLayout {
  static constexpr int32_t kSignature = -23;     // of the form that is written
  static constexpr int32_t kPerFrameForm = -22;  // from here to -1 each frame has a header of its own
  static constexpr int64_t kDataOffset = 4 + ZzgHeader::kBytes;
  static constexpr int64_t kTrailerBytes = 8;
  static constexpr int64_t kNumberBytes = 4;

  ZzgHeader form;  // of the first frame
  int32_t slots = 0;
  int32_t count = 0;   // one less than the slots where one was cut off while it was overwritten
  int32_t oldest = 0;  // slot of the first frame of a ring; the count otherwise
  bool wrapped = false;
  int64_t frameBytes = 0;  // of one frame on disc, its own header included where it has one
  int64_t dataOffset = 0;
  bool perFrameHeaders = false;
  bool cutOff = false;        // no trailer that fits: count and order were rebuilt from the length
  bool keepsNumbers = false;  // of a ring that was cut off, behind its slots

  int64_t placeOf(int32_t slot) const { return dataOffset + frameBytes * slot; }
  int64_t placeOfNumber(int32_t slot) const { return placeOf(slots) + kNumberBytes * slot; }
};

// False when the file holds no frame that could be read.
bool readLayout(const MovieFile& file, MovieLayout& layout);
// Signature and form at the start of a new file; throws ArchiveException.
void writeMovieStart(MovieFile& file, const CZZimage& form);
// The trailer after `count` frames, where the file then ends; throws ArchiveException.
void writeTrailer(MovieFile& file, int64_t end, int32_t count, int32_t oldest);
// The trailer of a ring whose recording goes on, behind the numbers of its frames: `oldest` is the next slot
// to be overwritten, or is just being overwritten. Both words of a closed movie are positive, so a reader
// knows a ring that was cut off from it.
void writeOpenTrailer(MovieFile& file, int64_t end, int32_t count, int32_t oldest, bool overwriting);
// The numbers of the frames from a slot on, which the document keeps once the recording has ended; `end` is
// that of the slots.
void writeOpenNumbers(MovieFile& file, int64_t end, int32_t slot, std::span<const FrameRecord> records);
// The file beside a movie that is being recorded, with the numbers of the first round; gone with its end.
std::string pathOfOpenNumbers(const std::string& movie);
// What is kept of the frames' numbers of a movie that was cut off, slot by slot; a record without one is as
// it was.
void readOpenNumbers(const MovieFile& file, const std::string& path, const MovieLayout& layout,
                     FrameTable& table);
// The header of a frame that carries its own; false when there is none.
bool readFrameHeader(const MovieFile& file, int64_t at, ZzgHeader& header);

}  // namespace tarnvisor
