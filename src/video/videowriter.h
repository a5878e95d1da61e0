// Writes an AVI file frame by frame, past 4 GB too. Each frame goes to the file at once, so that a file whose
// writing was cut off (power, kill, full disc) opens again with the frames that got there.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "video/framesink.h"

namespace tarnvisor {

struct VideoCodec {
  std::string code;   // four characters
  std::string label;  // for the user's choice
};
// Those that can be written here; "DIB " (uncompressed) first. "x264" is H.264.
std::vector<VideoCodec> videoCodecs();

struct VideoFormat {
  int32_t width = 0, height = 0;
  int32_t rate = 25, scale = 1;  // frames per second are rate / scale
  bool colour = false;           // frames are blue, green and red bytes; else grey
  std::string codec = "DIB ";
  // 0 (smallest) to 100 (without loss where the codec can; H.264 then keeps each grey level). -1: the codec's
  // best, at which measurements don't suffer. Only "x264" and "MJPG" heed it.
  int32_t quality = -1;
  int32_t keyEvery = 10;  // frames from key frame to key frame, for codecs that have others
};

class VideoWriter final : public FrameSink {
 public:
  // Null on failure: `why` says what failed.
  static std::unique_ptr<VideoWriter> create(const std::string& path, const VideoFormat& format,
                                             std::string& why);
  ~VideoWriter() override;  // closes

  // False also for a frame that could not be compressed. Once the file can't be written no more is tried.
  [[nodiscard]] bool write(const uint8_t* rows, int32_t stride) override;
  bool failed() const override;
  const std::string& why() const override;
  int64_t framesWritten() const;  // handed to the file; a codec may hold back a few until close
  // Writes what the codec holds back, the index and the lengths. False when the file is not whole: it then
  // ends after the last frame that fitted, without an index, and can be read.
  bool close() override;

 private:
  struct Parts;
  explicit VideoWriter(std::unique_ptr<Parts> made);
  std::unique_ptr<Parts> parts;
};

}  // namespace tarnvisor
