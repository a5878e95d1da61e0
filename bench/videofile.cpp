// Video files of 1280 x 1024 read and written, beside OpenCV's VideoCapture and the program ffmpeg on the
// same files: whole files in order, single frames of H.264 out of order, steps back, and writing. The runs
// take turns, so that all see the same machine; each figure is the median.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <random>
#include <string>
#include <vector>

#ifdef HAS_OPENCV
#include <opencv2/videoio.hpp>
#endif

#include "base/clock.h"
#include "base/files.h"
#include "timing.h"
#include "video/videoreader.h"
#include "video/videowriter.h"

namespace tarnvisor {
namespace {

constexpr int32_t kWidth = 1280, kHeight = 1024, kFrames = 200, kKeyEvery = 10;
using Picture = std::vector<uint8_t>;

using bench::median;
using bench::milliseconds;

double worst(const std::vector<double>& times) { return *std::max_element(times.begin(), times.end()); }

// A still scene with soft structures that drifts, under camera noise.
std::vector<Picture> scene() {
  std::mt19937 random(5);
  std::vector<int8_t> noise(1 << 20);
  for (int8_t& value : noise) value = static_cast<int8_t>(static_cast<int>(random() % 5) - 2);
  std::vector<Picture> pictures(40, Picture(size_t{kWidth} * kHeight));
  for (size_t i = 0; i < pictures.size(); ++i) {
    const size_t offset = random();
    for (int32_t y = 0; y < kHeight; ++y)
      for (int32_t x = 0; x < kWidth; ++x) {
        const auto place = static_cast<size_t>(y) * kWidth + static_cast<size_t>(x);
        const int32_t wave =
            std::abs((x + static_cast<int32_t>(i)) % 160 - 80) + std::abs((y * 2 + x) % 240 - 120) / 2;
        pictures[i][place] = static_cast<uint8_t>(60 + wave + noise[(place + offset) & (noise.size() - 1)]);
      }
  }
  return pictures;
}

void readAll(const std::string& path) {
  std::string why;
  const auto reader = VideoReader::open(path, why);
  static Picture target(size_t{kWidth} * kHeight);
  for (int32_t i = 0; reader && i < reader->frames(); ++i)
    if (!reader->readGrey(i, target.data(), kWidth)) std::abort();
}

#ifdef HAS_OPENCV
void captureAll(const std::string& path) {
  cv::VideoCapture capture(path);
  cv::Mat picture;
  int32_t frames = 0;
  while (capture.read(picture)) ++frames;
  if (frames != kFrames) std::abort();
}
#endif

void inOrder(const char* name, const std::string& path) {
  std::vector<double> ours, captured, commanded;
  for (int run = 0; run < 5; ++run) {
    ours.push_back(milliseconds([&] { readAll(path); }));
#ifdef HAS_OPENCV
    captured.push_back(milliseconds([&] { captureAll(path); }));
#endif
    const std::string command = "ffmpeg -nostdin -v error -i '" + path + "' -f null - >/dev/null 2>&1";
    bool ran = false;
    const double taken = milliseconds([&] { ran = std::system(command.c_str()) == 0; });
    if (ran) commanded.push_back(taken);
  }
  const auto perSecond = [](const std::vector<double>& times) { return kFrames * 1000.0 / median(times); };
  // A peer that could not run has no figure.
  const auto figure = [&](const std::vector<double>& times) {
    return times.empty() ? std::string("not run") : std::to_string(std::lround(perSecond(times)));
  };
  std::printf("%-8s in order, opening included: %7.0f frames/s   VideoCapture %s   ffmpeg %s", name,
              perSecond(ours), figure(captured).c_str(), figure(commanded).c_str());
  if (!captured.empty()) std::printf("   ours / VideoCapture %.2f", perSecond(ours) / perSecond(captured));
  std::puts("");
}

void outOfOrder(const char* name, const std::string& path) {
  std::string why;
  std::mt19937 random(9);
  Picture target(size_t{kWidth} * kHeight);
  const auto read = [&](VideoReader& reader, int32_t i) {
    return milliseconds([&] {
      if (!reader.readGrey(i, target.data(), kWidth)) std::abort();
    });
  };
  std::vector<double> singles, groups, back, across;
  for (int run = 0; run < 20; ++run) {
    auto fresh = VideoReader::open(path, why);
    const auto frame = kKeyEvery + static_cast<int32_t>(random() % (kFrames - 2 * kKeyEvery));
    singles.push_back(read(*fresh, frame));
    const int32_t first = frame - frame % kKeyEvery;
    for (int32_t i = first; i <= frame; ++i) (void)read(*fresh, i);
    for (int32_t i = frame; i > first; --i) back.push_back(read(*fresh, i - 1));
    across.push_back(read(*fresh, first - 1));
    fresh = VideoReader::open(path, why);
    (void)read(*fresh, kFrames - 1);
    groups.push_back(milliseconds([&] {
      for (int32_t i = first; i < first + kKeyEvery; ++i) (void)read(*fresh, i);
    }));
  }
  if (back.empty()) back.push_back(0);
  std::printf(
      "%-8s one group of %d: %.1f ms   a frame out of order: %.1f (worst %.1f)   a step back: %.2f (worst %.2f)   back into the group before: %.1f\n",
      name, kKeyEvery, median(groups), median(singles), worst(singles), median(back), worst(back),
      median(across));
}

double writeAll(const std::string& path, const VideoCodec& codec, const std::vector<Picture>& pictures) {
  std::string why;
  return milliseconds([&] {
    auto writer = VideoWriter::create(
        path, {.width = kWidth, .height = kHeight, .codec = codec.code, .keyEvery = kKeyEvery}, why);
    for (int32_t i = 0; writer && i < kFrames; ++i)
      if (!writer->write(pictures[static_cast<size_t>(i) % pictures.size()].data(), kWidth)) std::abort();
    if (!writer || !writer->close()) std::abort();
  });
}

void run() {
  const std::vector<Picture> pictures = scene();
  std::string pattern = (std::filesystem::temp_directory_path() / "tarnvisor-bench-XXXXXX").string();
  const std::string folder = withSeparator(::mkdtemp(pattern.data()));
  for (const VideoCodec& codec : videoCodecs()) {
    const std::string path = folder + "v.avi";
    std::vector<double> times;
    for (int i = 0; i < 3; ++i) times.push_back(writeAll(path, codec, pictures));
    std::printf("%-8s written: %7.0f frames/s, %.2f MB a frame\n", codec.code.c_str(),
                kFrames * 1000.0 / median(times),
                static_cast<double>(std::filesystem::file_size(path)) / kFrames / 1e6);
    inOrder(codec.code.c_str(), path);
    outOfOrder(codec.code.c_str(), path);
  }
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace tarnvisor

int main() {
  std::setvbuf(stdout, nullptr, _IOLBF, 0);
  tarnvisor::run();
}
