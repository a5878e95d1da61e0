// Frames that carry their number, and video files made by other programs.
#pragma once

#include "base/files.h"
#include "support/tempfolder.h"
#include "support/testing.h"
#include "video/videoreader.h"
#include "video/videowriter.h"

namespace tarnvisor {

inline constexpr int32_t kBarBits = 16;

// The number as 16 upright bars, the highest bit at the left, dark or light, under a little texture.
inline Bytes barred(int32_t number, int32_t width, int32_t height) {
  Bytes frame(static_cast<size_t>(width * height));
  for (int32_t y = 0; y < height; ++y)
    for (int32_t x = 0; x < width; ++x) {
      const bool light = number >> (kBarBits - 1 - x * kBarBits / width) & 1;
      frame[static_cast<size_t>(y * width + x)] =
          static_cast<uint8_t>((light ? 200 : 40) + (x * 7 + y * 3 + number) % 16);
    }
  return frame;
}

inline int32_t numberIn(const Bytes& frame, int32_t width, int32_t height) {
  int32_t number = 0;
  for (int32_t bit = 0; bit < kBarBits; ++bit) {
    const int32_t x = (2 * bit + 1) * width / (2 * kBarBits);
    number = number * 2 + (frame[static_cast<size_t>(height / 2 * width + x)] > 124);
  }
  return number;
}

inline std::unique_ptr<VideoReader> openVideo(const std::string& path) {
  std::string why;
  auto reader = VideoReader::open(path, why);
  EXPECT_TRUE(reader) << path << ": " << why;
  return reader;
}

// The frame as grey, or empty when it can't be read.
inline Bytes greyOf(VideoReader& reader, int32_t index) {
  Bytes frame(static_cast<size_t>(reader.width()) * static_cast<size_t>(reader.height()));
  return reader.readGrey(index, frame.data(), reader.width()) ? frame : Bytes();
}

inline int32_t numberOf(VideoReader& reader, int32_t index) {
  const Bytes frame = greyOf(reader, index);
  return frame.empty() ? -1 : numberIn(frame, reader.width(), reader.height());
}

inline bool runs(const std::string& command) {
  return std::system((command + " >/dev/null 2>&1").c_str()) == 0;
}
inline bool hasFfmpeg() { return runs("command -v ffmpeg"); }
inline bool ffmpeg(const std::string& arguments) { return runs("ffmpeg -nostdin -y -v error " + arguments); }

inline Bytes bytesOf(const std::string& path) { return readWholeFile(path).value_or(Bytes()); }
inline void putBytes(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

class VideoFileTest : public testing::Test {
 protected:
  static constexpr int32_t kWidth = 64, kHeight = 48;

  // A movie of numbered frames by our own writer.
  std::string numbered(const std::string& name, int32_t frames, const std::string& codec = "DIB ",
                       int32_t keyEvery = 10) {
    VideoFormat format{.width = kWidth, .height = kHeight, .codec = codec, .keyEvery = keyEvery};
    std::string why;
    const auto writer = VideoWriter::create(folder.file(name), format, why);
    EXPECT_TRUE(writer) << why;
    if (!writer) return "";
    for (int32_t i = 0; i < frames; ++i)
      EXPECT_TRUE(writer->write(barred(i, kWidth, kHeight).data(), kWidth)) << writer->why();
    EXPECT_TRUE(writer->close());
    return folder.file(name);
  }
  // Every frame, asked for in an order without order, backwards and forwards, is the one of its number.
  static void expectNumbers(VideoReader& reader, const std::vector<int32_t>& numbers) {
    ASSERT_EQ(reader.frames(), static_cast<int32_t>(numbers.size()));
    std::mt19937 random(7);
    const auto count = static_cast<int32_t>(numbers.size());
    const auto expectAt = [&](int32_t i) {
      ASSERT_EQ(numberOf(reader, i), numbers[static_cast<size_t>(i)]) << "frame " << i;
    };
    for (int tries = 0; tries < 60 && !HasFatalFailure(); ++tries)
      expectAt(static_cast<int32_t>(random() % numbers.size()));
    for (int32_t i = count - 1; i >= std::max(0, count - 40) && !HasFatalFailure(); --i) expectAt(i);
    for (int32_t i = 0; i < count && !HasFatalFailure(); ++i) expectAt(i);
  }
  static std::vector<int32_t> upTo(int32_t count) {
    std::vector<int32_t> numbers(static_cast<size_t>(count));
    for (int32_t i = 0; i < count; ++i) numbers[static_cast<size_t>(i)] = i;
    return numbers;
  }

  TempFolder folder;
};

}  // namespace tarnvisor
