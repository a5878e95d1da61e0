// Files written and read again, and files of other programs.

#include "video/videotests.h"

namespace tarnvisor {
namespace {

struct Written {
  const char* codec;
  bool colour;
  int32_t width, height;
  int32_t error;  // the most that a byte may differ by
};

class WrittenVideo : public VideoFileTest, public testing::WithParamInterface<Written> {};

TEST_P(WrittenVideo, ComesBackFrameByFrame) {
  const Written& given = GetParam();
  const int32_t channels = given.colour ? 3 : 1, rowBytes = given.width * channels, stride = rowBytes + 5;
  VideoFormat format{given.width, given.height, 30000, 1001, given.colour, given.codec};
  std::string why;
  const std::string path = folder.file("w.avi");
  auto writer = VideoWriter::create(path, format, why);
  if (!writer) GTEST_SKIP() << why;
  std::mt19937 random(1);
  std::vector<Bytes> frames(23, Bytes(static_cast<size_t>(stride * given.height)));
  for (Bytes& frame : frames) {
    for (uint8_t& byte : frame) byte = static_cast<uint8_t>(random());
    if (given.colour && given.error > 0)  // colour is kept for blocks of pixels only
      for (size_t i = 0; i < frame.size(); ++i) frame[i] = static_cast<uint8_t>(40 + i % stride / 3);
    ASSERT_TRUE(writer->write(frame.data(), stride));
  }
  ASSERT_TRUE(writer->close());
  EXPECT_EQ(writer->framesWritten(), 23);
  EXPECT_FALSE(writer->failed());

  const auto reader = openVideo(path);
  ASSERT_TRUE(reader);
  ASSERT_TRUE(reader->decodes());
  ASSERT_EQ(reader->frames(), 23);
  EXPECT_EQ(reader->width(), given.width);
  EXPECT_EQ(reader->height(), given.height);
  EXPECT_EQ(int64_t{reader->rate()} * 1001, int64_t{reader->scale()} * 30000);
  for (const int32_t i : {22, 0, 21, 5, 4, 3, 10, 11, 12, 13, 1}) {
    Bytes back(frames[0].size(), 77);
    ASSERT_TRUE(given.colour ? reader->readColour(i, back.data(), stride)
                             : reader->readGrey(i, back.data(), stride));
    int32_t worst = 0;
    for (int32_t y = 0; y < given.height; ++y) {
      for (int32_t x = 0; x < rowBytes; ++x)
        worst =
            std::max(worst, std::abs(back[static_cast<size_t>(y * stride + x)] -
                                     frames[static_cast<size_t>(i)][static_cast<size_t>(y * stride + x)]));
      EXPECT_EQ(back[static_cast<size_t>(y * stride + rowBytes)], 77) << "bytes between rows stay";
    }
    EXPECT_LE(worst, given.error) << "frame " << i;
  }
}

INSTANTIATE_TEST_SUITE_P(Codecs, WrittenVideo,
                         testing::Values(Written{"DIB ", false, 61, 37, 0}, Written{"DIB ", true, 61, 37, 0},
                                         Written{"x264", false, 96, 64, 0}, Written{"x264", false, 61, 37, 0},
                                         Written{"x264", true, 96, 64, 3}, Written{"FFV1", false, 61, 37, 0},
                                         Written{"FFV1", true, 61, 37, 0}, Written{"MJPG", true, 96, 64, 8}));

// A movie as ffmpeg makes it of our numbered frames.
struct Foreign {
  const char* name;
  const char* arguments;
  int32_t frames = 300;
};

class ForeignVideo : public VideoFileTest, public testing::WithParamInterface<Foreign> {};

TEST_P(ForeignVideo, GivesEachFrameByItsIndex) {
  if (!hasFfmpeg()) GTEST_SKIP() << "no ffmpeg";
  const Foreign& given = GetParam();
  const std::string source = numbered("n.avi", given.frames), path = folder.file(given.name);
  ASSERT_TRUE(ffmpeg("-i " + source + " " + given.arguments + " " + path));
  const auto reader = openVideo(path);
  ASSERT_TRUE(reader);
  expectNumbers(*reader, upTo(given.frames));
  EXPECT_EQ(reader->missingFrames(), 0);
  EXPECT_FALSE(reader->isCutOff());
}

constexpr const char* kH264 = "-pix_fmt yuv420p -c:v libx264 -preset veryfast -crf 20 ";

INSTANTIATE_TEST_SUITE_P(
    Kinds, ForeignVideo,
    testing::Values(
        Foreign{"m4.avi", "-c:v mpeg4 -q:v 2 -bf 2 -g 12"},
        Foreign{"m4long.avi", "-c:v mpeg4 -q:v 2 -bf 2 -g 250"},
        Foreign{"h264.avi", "-pix_fmt yuv420p -c:v libx264 -crf 18 -bf 3 -g 30"},
        Foreign{"h264long.avi", "-pix_fmt yuv420p -c:v libx264 -crf 18 -bf 3 -g 250 -sc_threshold 0"},
        Foreign{
            "open.avi",
            "-pix_fmt yuv420p -c:v libx264 -crf 18 -g 25 -x264-params open-gop=1:bframes=3:b-adapt=0:scenecut=0"},
        Foreign{"refresh.mkv",
                "-pix_fmt yuv420p -c:v libx264 -crf 18 -g 25 -x264-params intra-refresh=1:bframes=0"},
        Foreign{
            "open.mp4",
            "-pix_fmt yuv420p -c:v libx264 -crf 18 -g 25 -x264-params open-gop=1:bframes=3:b-adapt=0:scenecut=0"},
        Foreign{"h264.mp4", "-pix_fmt yuv420p -c:v libx264 -crf 18 -bf 3 -g 250"},
        Foreign{"h264.mkv", "-pix_fmt yuv420p -c:v libx264 -crf 18 -bf 3 -g 250"},
        Foreign{"m2.mkv", "-c:v mpeg2video -q:v 2 -bf 2 -g 15"},
        Foreign{"m2.avi", "-c:v mpeg2video -q:v 2 -bf 2 -g 15"},
        Foreign{"h264.ts", "-pix_fmt yuv420p -c:v libx264 -crf 18 -bf 3 -g 40"},
        Foreign{"raw.h264", "-pix_fmt yuv420p -c:v libx264 -crf 18 -bf 3 -g 40"},
        Foreign{"j.avi", "-c:v mjpeg -q:v 2"}, Foreign{"f.mkv", "-c:v ffv1 -g 10"},
        Foreign{"v8.webm", "-c:v libvpx -b:v 4M -auto-alt-ref 1 -lag-in-frames 16", 80},
        Foreign{"huff.avi", "-c:v huffyuv"}, Foreign{"ms.avi", "-c:v msmpeg4v2 -q:v 2 -g 60"},
        Foreign{"y8.avi", "-c:v rawvideo -pix_fmt gray -vtag Y800"},
        Foreign{"bgr.avi", "-c:v rawvideo -pix_fmt bgr24"},
        Foreign{"hevc.mp4", "-pix_fmt yuv420p -c:v libx265 -x265-params log-level=none:keyint=40:bframes=3",
                90},
        Foreign{"v9.webm",
                "-c:v libvpx-vp9 -b:v 4M -deadline realtime -cpu-used 8 -auto-alt-ref 1 -lag-in-frames 16",
                80}),
    [](const auto& each) {
      std::string name = each.param.name;
      for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
      return name;
    });

}  // namespace
}  // namespace tarnvisor
