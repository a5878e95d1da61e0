// Movies of numbered frames, and a source that plays them in a camera's place.
#pragma once

#include "base/bytes.h"
#include "image/imagefile.h"
#include "movie/moviefile.h"
#include "movie/zzmovie.h"
#include "support/logcapture.h"
#include "video/videotests.h"

namespace tarnvisor {

using Numbers = std::vector<int32_t>;

// Each row begins with the number; the rest differs from place to place and from frame to frame.
inline uint8_t levelAt(int32_t number, int32_t row, int32_t byte) {
  return static_cast<uint8_t>(byte < 2 ? number >> 8 * byte : number * 31 + row * 13 + byte * 7);
}
inline void paint(CZZimage& image, int32_t number) {
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.rowBytes; ++x) image.row(y)[x] = levelAt(number, y, x);
}
// The number that every pixel agrees with, or -1. A field's rows are every second of the frame's.
inline int32_t exactNumber(const CZZimage& image) {
  if (image.empty()) return -1;
  const int32_t number = image.row(0)[0] + 256 * image.row(0)[1];
  const int32_t step = image.isField() ? 2 : 1, start = image.interlace == 2 ? 1 : 0;
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.rowBytes; ++x)
      if (image.row(y)[x] != levelAt(number, start + step * y, x)) return -1;
  return number;
}
// The same with bars, which outlive a codec; 64 by 48 at least.
inline void paintBars(CZZimage& image, int32_t number) {
  const Bytes bars = barred(number, image.width, image.height);
  std::copy(bars.begin(), bars.end(), image.pixels);
}
inline int32_t barsNumber(const CZZimage& image) {
  return numberIn(Bytes(image.pixels, image.pixels + image.stride * image.height), image.width, image.height);
}

inline Numbers numbersOf(CZZMovie& movie, int32_t (*numberOfFrame)(const CZZimage&) = exactNumber) {
  Numbers numbers;
  for (int32_t i = 0; i < movie.count; ++i) numbers.push_back(numberOfFrame(movie.frameAt(i)));
  return numbers;
}
inline Numbers numbersIn(const std::string& path) {
  CZZMovie movie;
  return movie.open(path) ? numbersOf(movie) : Numbers();
}
inline Numbers span(int32_t first, int32_t last) {
  Numbers numbers(static_cast<size_t>(last - first));
  std::iota(numbers.begin(), numbers.end(), first);
  return numbers;
}

class ScriptedSource final : public FrameSource {
 public:
  int32_t colours = kGrey;
  bool progressive = true;
  CZZMovie* target = nullptr;
  Rect window;
  std::function<void(CZZimage&, int32_t)> draw = paint;

  int32_t colourset() const override { return colours; }
  double rate() const override { return 29.97; }
  bool isProgressive() const override { return progressive; }
  void setTarget(CZZMovie* movie, const Rect& part) override {
    target = movie;
    window = part;
  }
  // What addFrame gave for each frame or field.
  Numbers play(int32_t first, int32_t last) {
    Numbers results;
    CZZimage image(window.width(), window.height(), -1, 0, colours);
    for (int32_t number = first; number < last; ++number) {
      image.frameNumber = 2 * number;
      draw(image, number);
      for (const int32_t field : progressive ? Numbers{0} : Numbers{1, 2})
        results.push_back(target->addFrame(image, field));
    }
    return results;
  }
};

class Movie : public testing::Test {
 protected:
  static constexpr int32_t kWidth = 16, kHeight = 6, kFrame = kWidth * kHeight;
  static constexpr int32_t kStart = 40;  // bytes before the first frame

  ~Movie() override { compressoutput = 0; }
  // Without a name in memory.
  void start(CZZMovie& movie, const std::string& name, int32_t slots, bool ring = false,
             int32_t width = kWidth, int32_t height = kHeight) {
    movie.source = &source;
    movie.ringMode = ring;
    ASSERT_TRUE(movie.record(slots, name.empty() ? "" : folder.file(name), 0, 0, width, height, true));
  }
  void fill(CZZMovie& movie, const std::string& name, int32_t slots, int32_t n, bool ring = false,
            int32_t width = kWidth, int32_t height = kHeight) {
    start(movie, name, slots, ring, width, height);
    source.play(0, n);
    movie.stopRecording();
  }
  std::string recorded(const std::string& name, int32_t n) {
    CZZMovie movie;
    fill(movie, name, n, n);
    return folder.file(name);
  }
  // A movie file put together word by word; frames with headers of their own carry number and origin.
  std::string built(int32_t word, int32_t frames, const Numbers& trailer, bool headers,
                    int32_t interlace = 0) {
    Bytes bytes;
    const auto add = [&bytes](const Numbers& words) {
      for (const int32_t value : words) {
        bytes.resize(bytes.size() + 4);
        putLittle(&bytes[bytes.size() - 4], value);
      }
    };
    add({word});
    for (int32_t k = 0; k < frames; ++k) {
      CZZimage image(kWidth, kHeight);
      paint(image, k);
      if (k == 0 || headers)
        add({-2, 36, 50 + k, interlace, kWidth, kHeight, headers ? k : 0, headers ? -k : 0, 0});
      bytes.insert(bytes.end(), image.pixels, image.pixels + kFrame);
    }
    add(trailer);
    putBytes(folder.file("built.mve"), bytes);
    return folder.file("built.mve");
  }
  static std::string logOf(const std::function<void()>& work) {
    const LogCapture log;
    work();
    return log.text();
  }

  TempFolder folder;
  ScriptedSource source;
};

}  // namespace tarnvisor
