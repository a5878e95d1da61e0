// CZZMovie: a sequence of frames of one size, in memory, in a .mve file that it reads and writes frame by
// frame, or in an AVI. It records into a ring of slots, so that a long recording keeps the last frames.
//
// Frames are addressed by a logical index from 0, the oldest; an index outside means frame 0. A range is
// first to last, last being exclusive; a negative first means 0, a negative last or one above the count the
// count. Only one frame of a file is in memory: the one that frameAt() gives, valid until the next call.
// Origins are where a frame lies in the subject, in frame rows.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "image/zzimage.h"
#include "movie/framerecord.h"
#include "movie/framesource.h"

namespace tarnvisor {

class MovieFile;
class MovieOutput;
class MoviePass;
struct RewritePlan;
class StillSequence;
class VideoReader;

// Shared by all movies: recordings and passes go to AVI rather than to .mve.
extern int32_t compressoutput;

class CZZMovie {
 public:
  enum Mode : int32_t {
    kClosed = 0,
    kMemory = 1,
    kFile = 2,
    kAvi = 3,
    kRecordingFile = 5,
    kRecordingAvi = 6
  };

  CZZMovie();
  ~CZZMovie();
  CZZMovie(const CZZMovie&) = delete;
  CZZMovie& operator=(const CZZMovie&) = delete;

  // --- zzmovie.cpp: the store
  // Frames added. Without memory for them nothing is added.
  int32_t createImages(int32_t n, int32_t width, int32_t height, int32_t colourset);
  bool createHeaders(int32_t n);
  // Memory for so many grey frames of that size, made ready to be written: a recording to memory of no more
  // than these begins without a wait.
  [[nodiscard]] bool reserve(int32_t n, int32_t width, int32_t height);
  int32_t slotOf(int32_t index) const;
  // Makes a frame the current one; in a pass the frame before it is written first. The image is empty when
  // there are no frames.
  CZZimage& frameAt(int32_t index);
  // Whether the frame last asked for could be read; where it could not, the pixels are those before it.
  bool hasRead() const { return isRead; }
  // The same of the frame that is shown.
  bool hasReadShown() const { return isShownRead; }
  int32_t nextFrame(int32_t limit = -1);  // the index that is now current
  // Copies a frame into target, resizing it, and leaves the current one. The index used.
  int32_t getImage(int32_t index, CZZimage& target);
  void frameInfo(int32_t slot, CZZimage& image) const;
  // What is known of a frame; one without a record is read first.
  const FrameRecord& recordOf(int32_t index);
  // Takes a table that somebody kept, as far as there are slots.
  void adoptTable(FrameTable table);
  // Puts a frame's origin into its record, and into the image shown when it is that.
  void setOrigin(int32_t index, Point frameOrigin);
  CZZimage& image() {
    if (pixelsInFile) readBack();
    return frame;
  }
  bool isOpen() const { return mode != kClosed && count > 0; }
  // What the frames have in common: size, kind and fields, without pixels worth reading.
  const CZZimage& form() const { return holder; }
  bool isRecording() const { return recording; }
  bool isFieldMovie() const { return frame.isField(); }
  // Whether the file is of another kind, so that a save makes a movie file.
  bool isRaw() const { return mode == kFile && dataOffset == 0; }
  void forgetFailure() { trouble.clear(); }
  void close();

  // --- zzmovie_open.cpp
  // Any container of a known kind is read; one whose name ends in .avi, or that is no .mve, as video. The
  // words for the user when there are no frames are in failure().
  [[nodiscard]] bool open(const std::string& name);
  // Raw pixels without a header, rows without gaps; frames of 0: as many as there are.
  [[nodiscard]] bool openRaw(const std::string& name, int32_t width, int32_t height, int32_t frames);
  // In sentences, what of such a file is not as it was told; empty where all is.
  std::string rawMismatch() const;
  // Pictures of a file of that name.
  [[nodiscard]] bool openStills(std::unique_ptr<StillSequence> pictures, const std::string& name);
  // How many frames a recording that was cut off left; 0 for a file that was closed.
  int32_t recoveredFrames() const { return recovered; }
  // In words, how many images of a file that was cut off or is damaged were found, without an end to the
  // sentence; empty for a whole one.
  std::string shortage() const;
  const std::string& failure() const { return trouble; }
  // Of a video whose frames nothing here decodes, so that they are read as they are stored; else empty.
  std::string unknownCodec() const;
  std::string codec() const;  // in words, for any movie
  // Of a video: see VideoReader.
  std::vector<std::string> doubts() const;
  std::string depthWords() const;
  // Whether a frame of a video that was read had colours, which became grey by weightsOfRows.
  bool hasWeighedColours() const;

  // --- zzmovie_record.cpp. Writes throw ArchiveException: the frames so far stay, and stopRecording keeps
  // them.
  [[nodiscard]] bool record(int32_t frames, const std::string& name, int32_t x, int32_t y, int32_t width,
                            int32_t height, bool fromCamera);
  // How many frames it holds, or -1 when it is full: after the last one too.
  [[nodiscard]] int32_t addFrame(const CZZimage& image, int32_t field, bool advance = true);
  [[nodiscard]] int32_t nextSlot();  // the same
  // failure() tells of an end that could not be written; the frames are there all the same.
  void stopRecording();

  // --- moviepass.cpp: passes that rewrite frames while callers walk them with frameAt; see moviepass.h
  [[nodiscard]] bool openProcessing(bool inPlace, const std::string& name = "");
  // False when the pass failed on its way: the movie is the one before, failure() tells, and leftOver() is
  // the file with the frames that were written.
  [[nodiscard]] bool closeProcessing();
  // Ends a pass without its result.
  void abandonProcessing();
  bool processingFailed() const;
  const std::string& leftOver() const { return leftOverFile; }

  // --- moviesave.cpp
  // All of a MovieSave at once.
  [[nodiscard]] bool save(const std::string& name, int32_t first = -1, int32_t last = -1);
  [[nodiscard]] bool saveFrames(const std::string& name, int32_t first, int32_t last);

  // --- movierewrite.cpp: each makes a new movie file of that name, and leaves the old one
  [[nodiscard]] bool rewrite(const std::string& name, RewritePlan plan);
  [[nodiscard]] bool mergeFields(const std::string& name);
  [[nodiscard]] bool splitFrames(const std::string& name);
  [[nodiscard]] bool keepFrames(const std::string& name, int32_t first,
                                int32_t last);  // the others are left out
  [[nodiscard]] bool deleteFrames(const std::string& name, int32_t first,
                                  int32_t last);  // false when none would be left
  [[nodiscard]] bool convertToGrey(const std::string& name);
  [[nodiscard]] bool planesToColour(const std::string& name, int32_t first, int32_t last);
  // The frames of another movie after this one's.
  [[nodiscard]] bool append(CZZMovie& other, const std::string& name);
  // In words, where its frames have another size or kind, so that something would be lost; grey ones fit
  // among colour. Empty when they fit.
  std::string whyNotAppended(const CZZMovie& other) const;

  // The smallest canvas that holds the frames: its size and where it begins, in frame rows.
  struct Extents {
    int64_t width = 0, height = 0;
    int64_t x = 0, y = 0;
  };
  Extents frameExtents(int32_t first, int32_t last);
  // Rows of a frame, one after the other; null when they can't be read. What they are read into is the
  // caller's.
  const uint8_t* rowsOf(int32_t index, int32_t first, int32_t last, CZZimage& into);
  // Whether several threads may ask for rows at once.
  bool sharesRows() const { return memory || readsRows(); }

  // --- movieexport.cpp
  // All of a MovieExport at once. The words of what happened come after `report`.
  struct Compression;
  [[nodiscard]] bool saveAVI(const std::string& name, double framesPerSecond, int32_t first, int32_t last,
                             int32_t step, const Compression* compression, std::string& report);

  struct Range {
    int32_t first, last;
    int32_t size() const { return last - first; }
  };
  Range clamped(int32_t first, int32_t last) const;

  int32_t ringMode = 0;  // not 0: a full recording goes on over the oldest frames
  int32_t rate = 1, scale = 1;
  int32_t slots = 0;
  int32_t count = 0;
  int32_t mode = kClosed;
  std::string fileName;  // absolute once it is open
  std::unique_ptr<MovieFile> file;
  MovieFile* processingFile = nullptr;  // `file` itself while frames are changed in place
  int32_t oldest = 0;
  int64_t frameBytes = 0;
  int64_t dataOffset = 0;
  int32_t perFrameHeaders = 0;
  FrameTable frameTable;
  int64_t memorySize = 0;
  int32_t current = 0;
  uint8_t wrapped = 0;
  uint8_t shared = 1;
  int32_t processedCount = 0;
  FrameTable processedTable;
  int32_t modified = 0;
  FrameSource* source = nullptr;  // borrowed

  // A codec by its code of four characters, its quality from 0 to 100 (nothing is lost), and how many frames
  // apart whole ones are stored.
  struct Compression {
    std::string codec;
    int32_t quality = 100;
    int32_t keyEvery = 10;
  };

 private:
  friend class MoviePass;
  friend class MovieSave;
  struct FreeBlock {
    void operator()(uint8_t* block) const;
  };

  bool isInside(int32_t index) const { return index >= 0 && index < count; }
  // Whether rows of a frame can be read from the file as they stand.
  bool readsRows() const { return !memory && file && !perFrameHeaders && frameBytes == slotBytes(); }
  int64_t slotBytes() const { return int64_t{holder.stride} * holder.height; }
  void showSlot(int32_t slot);
  void showHolder();
  bool reserveMemory(int32_t n);
  bool readSlot(int32_t index, CZZimage& target);
  bool readFromFile(int32_t slot, CZZimage& target);
  void keepRecord(int32_t slot, const CZZimage& image);
  bool openFile(const std::string& name);
  bool openVideo(const std::string& name);
  void takeRateOfSource();
  [[nodiscard]] bool takeFrame(const CZZimage& image, int32_t field);
  void writeRecorded(const CZZimage& image);
  void writeOpenEnd();
  void dropOpenNumbers();
  void readBack();
  void finishRecordedFile();
  [[nodiscard]] bool writeMissingTrailer();

  CZZimage holder;      // one frame's buffer, or only its form while frames are in memory
  CZZchildimage frame;  // what callers see: a view onto holder or memory
  std::unique_ptr<uint8_t, FreeBlock> memory;  // slot k at k times the bytes of a slot
  std::unique_ptr<VideoReader> video;
  std::unique_ptr<StillSequence> stills;
  std::unique_ptr<MovieOutput> output;     // of a recording to AVI
  MoviePass* pass = nullptr;               // that the frame shown belongs to; borrowed
  std::unique_ptr<MoviePass> ownPass;      // of openProcessing
  std::unique_ptr<MovieFile> openNumbers;  // of a recording in its first round; null without
  bool recording = false;
  bool full = false;     // a recording without ring has filled its slots
  bool isShown = false;  // `current` has been loaded
  bool isRead = true;
  bool isShownRead = true;
  int64_t lastWritten = 0;    // where, in a file
  bool pixelsInFile = false;  // those of the frame just recorded went there only
  int32_t recovered = 0;
  struct {
    int32_t told = 0;  // 0: not told
    int64_t whole = 0;
    int64_t left = 0;  // bytes behind the whole ones
  } rawFrames;
  std::string trouble;
  std::string leftOverFile;
};

}  // namespace tarnvisor
