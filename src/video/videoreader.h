// A video file (AVI, or any other container that FFmpeg knows) as frames by index, in the order in which they
// are shown. Each index gives its own frame exactly, whatever the codec, its bidirectional frames and the
// distance of its key frames; decoded frames are kept for a while, so that a step back is quick. A frame that
// the file holds no new picture for (a chunk without bytes, a frame coded as "as before") is the one before
// it.
//
// Opening logs each step. An AVI without an index, as a recording that was cut off leaves it, is read by its
// chunks: every frame that is there whole is found, and where the file tells of more, so does the
// reader. Nothing a file says opens another file.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarnvisor {

class VideoReader {
 public:
  // Null when there is nothing to read: `why` then says so in words for the user.
  static std::unique_ptr<VideoReader> open(const std::string& path, std::string& why);
  ~VideoReader();
  VideoReader(const VideoReader&) = delete;
  VideoReader& operator=(const VideoReader&) = delete;

  int32_t frames() const;  // 0 for a stream without a single packet
  int32_t width() const;   // at most kMostSide, as is the height
  int32_t height() const;
  int32_t rate() const;  // frames per second are rate / scale; both over 0
  int32_t scale() const;
  // False when no codec for the stream is there: readGrey then copies the packets' bytes.
  bool decodes() const;
  // Whether the file ends before its end, and how many frames it tells of behind those that were found.
  bool isCutOff() const;
  int64_t missingFrames() const;
  // The four characters of the codec that nothing here decodes; empty where frames are decoded.
  std::string unknownCodec() const;
  std::string codec() const;  // in words
  // In sentences, what makes numbers of it doubtful: images that are not evenly timed, pixels that are not
  // square. The rate is the mean one then.
  const std::vector<std::string>& doubts() const;
  // Of grey levels in more than 8 bits, which of these are given; empty for others.
  const std::string& depthWords() const;

  // Frame `index` as grey, top row first, into rows `stride` (at least the width) bytes apart; bytes between
  // the rows stay as they are. Pictures without colour come with their levels as stored, spread to 0..255
  // where the file says that its range is the narrow one; those with colour by the grey weights. False when
  // it can't be decoded, is outside the movie or of another size than the movie: target is then unchanged.
  // Without a decoder: the first stride x height bytes of the packet, or what it has.
  bool readGrey(int32_t index, uint8_t* target, int32_t stride);
  // Whether a frame that readGrey gave had colours.
  bool hasWeighedColours() const;
  // Likewise as blue, green and red bytes; stride is at least three times the width.
  bool readColour(int32_t index, uint8_t* target, int32_t stride);

  static constexpr int32_t kMostSide = 16384;

 private:
  struct Parts;
  explicit VideoReader(std::unique_ptr<Parts> made);
  std::unique_ptr<Parts> parts;
};

// Whether a codec is there that decodes a stream of this type ("vids" or "vidc") and four-character code, the
// first character in the lowest byte. Each step is logged and added to `report`, which a user may be shown.
bool getDecompressor(uint32_t type, uint32_t handler, std::string& report);

}  // namespace tarnvisor
