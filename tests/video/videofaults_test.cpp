// Files that were cut off, are damaged, or hold what is unusual.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "image/imagefile.h"
#include "image/palette.h"
#include "support/logcapture.h"
#include "video/videotests.h"

namespace tarnvisor {
namespace {

using testing::Values;

uint32_t wordAt(const Bytes& bytes, size_t at) {
  uint32_t word;
  std::memcpy(&word, &bytes[at], sizeof word);
  return word;
}

std::vector<size_t> placesOf(const Bytes& bytes, const std::string& text) {
  std::vector<size_t> places;
  const Bytes wanted(text.begin(), text.end());
  for (auto at = bytes.begin();
       (at = std::search(at, bytes.end(), wanted.begin(), wanted.end())) != bytes.end(); ++at)
    places.push_back(static_cast<size_t>(at - bytes.begin()));
  return places;
}

// The frames' chunks, their headers included, of a file that we or ffmpeg wrote.
std::vector<Bytes> chunksOf(const Bytes& file) {
  std::vector<Bytes> chunks;
  for (size_t at = placesOf(file, "movi").front() + 4; file[at] == '0';) {
    const auto begin = file.begin() + static_cast<ptrdiff_t>(at);
    const size_t bytes = 8 + wordAt(file, at + 4);
    chunks.emplace_back(begin, begin + static_cast<ptrdiff_t>(bytes));
    at += bytes + bytes % 2;
  }
  return chunks;
}

std::span<uint8_t> chunkIn(Bytes& file, size_t number) {
  const Bytes chunk = chunksOf(file)[number];
  return {std::search(file.begin(), file.end(), chunk.begin(), chunk.end()), chunk.size()};
}

Bytes withoutHeader(const Bytes& chunk) { return Bytes(chunk.begin() + 8, chunk.end()); }

class VideoFaults : public VideoFileTest {
 protected:
  // What opening the file logs.
  std::string logOf(const std::string& path, bool opens) {
    const LogCapture log;
    std::string why;
    EXPECT_EQ(VideoReader::open(path, why) != nullptr, opens) << why;
    EXPECT_EQ(why.empty(), opens);
    return log.text();
  }
  // An AVI of small chunks without an index: its stream's type, and the tag and bytes of each chunk.
  std::string chunked(const std::string& type, const std::string& codec, uint16_t bits,
                      const std::vector<std::pair<std::string, Bytes>>& chunks, int32_t width = 4,
                      int32_t height = 2) {
    const auto word = [](uint32_t v) { return std::string(reinterpret_cast<const char*>(&v), 4); };
    const auto chunk = [&](const std::string& tag, std::string bytes) {
      const auto size = static_cast<uint32_t>(bytes.size());
      if (size % 2) bytes += '\0';
      return tag + word(size) + bytes;
    };
    const auto list = [&](const std::string& kind, const std::string& bytes) {
      return chunk("LIST", kind + bytes);
    };
    const auto count = static_cast<uint32_t>(chunks.size()), w = static_cast<uint32_t>(width),
               h = static_cast<uint32_t>(height);
    std::string main = word(40000) + word(0) + word(0) + word(0) + word(count) + word(0) + word(1) + word(0) +
                       word(w) + word(h) + std::string(16, '\0');
    std::string stream = type + codec + std::string(12, '\0') + word(1) + word(25) + word(0) + word(count) +
                         std::string(20, '\0');
    std::string form = word(40) + word(w) + word(h) + word(1u | uint32_t{bits} << 16) +
                       (codec == "DIB " ? word(0) : codec) + std::string(20, '\0');
    if (bits == 8)
      for (uint32_t i = 0; i < 256; ++i) form += word(i * 0x010101u);
    std::string frames;
    for (const auto& [tag, bytes] : chunks) frames += chunk(tag, std::string(bytes.begin(), bytes.end()));
    const std::string body =
        "AVI " +
        list("hdrl", chunk("avih", main) + list("strl", chunk("strh", stream) + chunk("strf", form))) +
        list("movi", frames);
    const std::string all = chunk("RIFF", body);
    putBytes(folder.file("c.avi"), Bytes(all.begin(), all.end()));
    return folder.file("c.avi");
  }
};

TEST_F(VideoFaults, AMovieOfEveryCodecLosesNoWholeFrameToAKill) {
  std::mt19937 random(3);
  for (const char* codec : {"DIB ", "x264"}) {
    for (int run = 0; run < 6; ++run) {
      const std::string path = folder.file("k.avi");
      std::remove(path.c_str());
      int told[2];
      ASSERT_EQ(::pipe(told), 0);
      const pid_t child = ::fork();
      if (child == 0) {
        std::string why;
        auto writer = VideoWriter::create(path, {.width = kWidth, .height = kHeight, .codec = codec}, why);
        for (int32_t i = 0; writer; ++i) {
          if (!writer->write(barred(i, kWidth, kHeight).data(), kWidth)) break;
          const auto written = static_cast<int32_t>(writer->framesWritten());
          if (::write(told[1], &written, sizeof written) < 0) break;
        }
        ::_exit(1);
      }
      ::close(told[1]);
      int32_t written = 0;
      const auto stopAt = static_cast<int32_t>(1 + random() % 300);
      while (written < stopAt && ::read(told[0], &written, sizeof written) == sizeof written) continue;
      ::kill(child, SIGKILL);
      ::waitpid(child, nullptr, 0);
      while (::read(told[0], &written, sizeof written) == sizeof written) continue;
      ::close(told[0]);
      ASSERT_GE(written, stopAt) << codec;
      const auto reader = openVideo(path);
      ASSERT_TRUE(reader);
      ASSERT_GE(reader->frames(), written) << codec;
      ASSERT_LE(reader->frames(), written + 1) << codec;
      expectNumbers(*reader, upTo(reader->frames()));
      if (HasFatalFailure()) return;
    }
  }
}

TEST_F(VideoFaults, AFullDiscFailsAndLeavesTheFramesThatFitted) {
  for (const char* codec : {"DIB ", "x264"}) {
    const std::string path = folder.file("full.avi");
    const pid_t child = ::fork();
    if (child == 0) {
      std::signal(SIGXFSZ, SIG_IGN);
      const rlimit limit{100000, 100000};
      ::setrlimit(RLIMIT_FSIZE, &limit);
      std::string why;
      auto writer = VideoWriter::create(path, {.width = kWidth, .height = kHeight, .codec = codec}, why);
      bool good = writer != nullptr;
      int32_t i = 0;
      while (good && writer->write(barred(i, kWidth, kHeight).data(), kWidth)) ++i;
      const bool told =
          writer && writer->failed() && writer->why().find("File too large") != std::string::npos &&
          !writer->write(barred(0, kWidth, kHeight).data(), kWidth) && !writer->close() && !writer->close();
      ::_exit(told ? static_cast<int>(writer->framesWritten()) : 0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    const int32_t written = WIFEXITED(status) ? WEXITSTATUS(status) : 0;
    ASSERT_GT(written, 10) << codec;
    const auto reader = openVideo(path);
    ASSERT_TRUE(reader);
    expectNumbers(*reader, upTo(written));
  }
}

TEST_F(VideoFaults, AFileWithoutItsEndOrItsIndexGivesItsWholeFrames) {
  for (const char* codec : {"DIB ", "x264", "MJPG"}) {
    const std::string path = numbered("n.avi", 40, codec);
    const Bytes whole = bytesOf(path);
    Bytes lying = whole;  // an index that leads to no frames
    for (size_t at = placesOf(whole, "idx1").back() + 8; at + 16 <= whole.size(); at += 16)
      lying[at + 9] ^= 0x55;
    putBytes(path, lying);
    EXPECT_EQ(numberOf(*openVideo(path), 33), 33) << codec;
    Bytes cut = whole;
    const Bytes last = chunksOf(whole)[25];
    cut.resize(static_cast<size_t>(std::search(whole.begin(), whole.end(), last.begin(), last.end()) -
                                   whole.begin()) +
               last.size() - 1);
    putBytes(path, cut);
    const auto reader = openVideo(path);
    ASSERT_TRUE(reader);
    expectNumbers(*reader, upTo(25));
  }
}

TEST_F(VideoFaults, AFileThatTellsOfMoreThanItHoldsSaysSo) {
  const std::string path = numbered("n.avi", 40, "MJPG");
  const Bytes whole = bytesOf(path);
  Bytes unfinished = whole;
  std::fill_n(unfinished.begin() + 4, 4, uint8_t{0xFF});
  putBytes(path, unfinished);
  EXPECT_TRUE(openVideo(path)->isCutOff());
  EXPECT_EQ(openVideo(path)->missingFrames(), 0);
  putBytes(path, Bytes(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(whole.size() / 2)));
  const auto cut = openVideo(path);
  EXPECT_TRUE(cut->isCutOff());
  EXPECT_EQ(cut->missingFrames(), 40 - cut->frames());
  if (!hasFfmpeg()) return;
  const std::string other = folder.file("n.mkv");
  ASSERT_TRUE(ffmpeg("-i " + numbered("n.avi", 40) + " -c:v mjpeg " + other));
  Bytes half = bytesOf(other);
  half.resize(half.size() / 2);
  putBytes(other, half);
  const auto reader = openVideo(other);
  EXPECT_EQ(reader->missingFrames(), 40 - reader->frames());
}

TEST_F(VideoFaults, UnevenTimesAndUnusedBitsAreTold) {
  if (!hasFfmpeg()) GTEST_SKIP() << "no ffmpeg";
  const std::string even = numbered("n.avi", 40), uneven = folder.file("v.mkv"), deep = folder.file("d.mkv");
  ASSERT_TRUE(ffmpeg("-i " + even + " -vf \"setpts='if(lt(N,20),N/25/TB,(20/25+(N-20)/5)/TB)'\" " +
                     "-vsync vfr -pix_fmt yuv420p -c:v libx264 " + uneven));
  const auto reader = openVideo(uneven);
  EXPECT_EQ(reader->missingFrames(), 0) << "it is whole";
  EXPECT_NEAR(1.0 * reader->rate() / reader->scale(), 39 / (20 / 25.0 + 19 / 5.0), 0.1);
  EXPECT_THAT(reader->doubts(),
              testing::ElementsAre(testing::HasSubstr("not evenly timed: they are 40 to 2")));
  EXPECT_TRUE(openVideo(even)->doubts().empty());
  ASSERT_TRUE(ffmpeg("-i " + even +
                     " -vf \"format=gray16le,geq=lum='lum(X,Y)/16'\" -pix_fmt gray16le -c:v ffv1 " + deep));
  EXPECT_THAT(openVideo(deep)->depthWords(), testing::HasSubstr("in 16 bits, of which 12 are used"));
  expectNumbers(*openVideo(deep), upTo(40));
}

TEST_F(VideoFaults, FramesBehindDamageAreThere) {
  const std::string path = numbered("n.avi", 41);
  Bytes bytes = bytesOf(path);
  const std::span<uint8_t> middle = chunkIn(bytes, 20);
  std::fill(middle.begin(), middle.end(), uint8_t{0x5A});
  putBytes(path, bytes);
  const auto reader = openVideo(path);
  std::vector<int32_t> numbers = upTo(41);
  numbers[20] = -1;
  expectNumbers(*reader, numbers);
}

// What a decoder puts in the place of damage is no frame.
TEST_F(VideoFaults, FramesThatAreDamagedAreNotRead) {
  for (const auto& [codec, firstGood] : {std::pair{"FFV1", 21}, {"MJPG", 21}, {"x264", 30}}) {
    const std::string path = numbered("n.avi", 41, codec);
    Bytes bytes = bytesOf(path);
    const std::span<uint8_t> chunk = chunkIn(bytes, 20);
    std::fill(chunk.begin() + 40, chunk.end() - 40, uint8_t{0xFE});
    putBytes(path, bytes);
    std::vector<int32_t> numbers = upTo(41);
    std::fill(numbers.begin() + 20, numbers.begin() + firstGood, -1);
    SCOPED_TRACE(codec);
    expectNumbers(*openVideo(path), numbers);
  }
}

TEST_F(VideoFaults, EverythingThatIsNoVideoIsRefusedInWords) {
  std::string why;
  for (const std::string& path : {folder.file("none"), folder.path(), std::string("/dev/null"),
                                  std::string("http://127.0.0.1/x"), "concat:" + numbered("a.avi", 3)}) {
    EXPECT_FALSE(VideoReader::open(path, why)) << path;
    EXPECT_EQ(why, "it can't be opened.") << path;
  }
  const std::string list =
      "#EXTM3U\n#EXT-X-TARGETDURATION:1\n#EXTINF:1,\n" + numbered("a.avi", 3) + "\n#EXT-X-ENDLIST\n";
  putBytes(folder.file("l"), Bytes(list.begin(), list.end()));
  EXPECT_FALSE(VideoReader::open(folder.file("l"), why)) << "a list opens no other file";
  EXPECT_EQ(logOf(folder.file("l"), false), "openAVI: " + folder.file("l") + "failed AVI file open.");
}

TEST_F(VideoFaults, OpeningLogsEachStep) {
  EXPECT_EQ(
      logOf(numbered("n.avi", 3), true),
      "openAVI: " + folder.file("n.avi") +
          "number of streams=1\ndwCaps=31\nw=64 h=48 len=3\nfiletype=AVI (Audio Video Interleaved)\n"
          "try getting stream 0\ngetting info for stream 0fccType=73646976 (vids)\nfccHandler=0 ()\nname=\n"
          "got stream\nfile info says:is not compressed.\nrate=25 scale=1\nreading stream formatstream format size=1064\nstream format planes=1, bits=8, compression=0\nopenavi 3 images, w=64, h=48\n"
          "Try AVI to 24 bit.\nopenAVI done\n");
}

TEST_F(VideoFaults, VideoAndSoundInOneStreamIsNotRead) {
  const std::string log = logOf(chunked("iavs", "dvsd", 24, {{"00db", Bytes(8)}}), false);
  EXPECT_NE(log.find("VFW cannot handle raw DV interleaved video and audio\n"), std::string::npos) << log;
  EXPECT_TRUE(log.ends_with("get stream failed.\n")) << log;
}

TEST_F(VideoFaults, SoundFirstAndVideoSecondOpensAtTheSecond) {
  if (!hasFfmpeg()) GTEST_SKIP() << "no ffmpeg";
  const std::string path = folder.file("s.avi");
  ASSERT_TRUE(ffmpeg("-f lavfi -i sine -i " + numbered("n.avi", 75) +
                     " -map 0 -map 1 -c:v mpeg4 -q:v 2 -bf 2 -t 3 " + path));
  const std::string log = logOf(path, true);
  EXPECT_NE(log.find("skipping non-video stream\ntry getting stream 1\n"), std::string::npos) << log;
  const auto reader = openVideo(path);
  expectNumbers(*reader, upTo(75));
}

TEST_F(VideoFaults, AFrameWithoutBytesIsTheOneBefore) {
  const auto frame = [](int level) { return Bytes(8, static_cast<uint8_t>(level)); };
  const auto reader = openVideo(chunked("vids", "DIB ", 8,
                                        {{"00db", frame(10)},
                                         {"00db", {}},
                                         {"00db", frame(20)},
                                         {"01wb", frame(9)},
                                         {"00db", {}},
                                         {"00db", {}},
                                         {"00db", frame(30)}}));
  ASSERT_TRUE(reader);
  ASSERT_EQ(reader->frames(), 6);
  for (const auto& [index, level] : {std::pair{5, 30}, {4, 20}, {1, 10}, {3, 20}, {0, 10}, {2, 20}})
    EXPECT_EQ(greyOf(*reader, index), frame(level)) << index;
  if (!hasFfmpeg()) return;
  // A muxer of others does so for frames that are left out of a steady sequence.
  ASSERT_TRUE(ffmpeg("-i " + numbered("n.avi", 60) +
                     " -vf \"select='not(eq(mod(n,10),4)+eq(n,25))'\" -vsync vfr -c:v mpeg4 -q:v 2 -bf 2 " +
                     folder.file("gaps.avi")));
  std::vector<int32_t> numbers = upTo(60);
  for (int32_t i : {4, 14, 24, 25, 34, 44, 54})
    numbers[static_cast<size_t>(i)] = numbers[static_cast<size_t>(i - 1)];
  expectNumbers(*openVideo(folder.file("gaps.avi")), numbers);
}

TEST_F(VideoFaults, WithoutADecoderThePacketsBytesAreTheFrame) {
  const std::string path = chunked("vids", "QQQQ", 24, {{"00dc", {1, 2, 3}}, {"00dc", Bytes(50, 7)}});
  const std::string log = logOf(path, true);
  EXPECT_NE(
      log.find("Try AVI to 24 bit.\nNot available!  Try default format\nNot available!\nopenAVI done\n"),
      std::string::npos)
      << log;
  const auto reader = openVideo(path);
  ASSERT_TRUE(reader);
  EXPECT_FALSE(reader->decodes());
  EXPECT_EQ(greyOf(*reader, 0), (Bytes{1, 2, 3, 0, 0, 0, 0, 0}));
  EXPECT_EQ(greyOf(*reader, 1), Bytes(8, 7));
}

TEST_F(VideoFaults, ColoursBecomeGreyByTheWeightsOfBitmaps) {
  Bytes pixels(24);
  for (size_t i = 0; i < pixels.size(); ++i) pixels[i] = static_cast<uint8_t>(i * 37);
  const auto reader = openVideo(chunked("vids", "DIB ", 24, {{"00db", pixels}}));
  ASSERT_TRUE(reader);
  Bytes bitmap(40);
  bitmap[0] = 40, bitmap[4] = 4, bitmap[8] = 2, bitmap[12] = 1, bitmap[14] = 24;
  bitmap.insert(bitmap.end(), pixels.begin(), pixels.end());
  CZZimage image;
  ASSERT_TRUE(loadBitmapBytes(image, bitmap, true));
  const Bytes grey = greyOf(*reader, 0);
  ASSERT_EQ(grey.size(), 8u);
  for (int32_t y = 0; y < 2; ++y)
    EXPECT_EQ(std::memcmp(&grey[static_cast<size_t>(y * 4)], image.row(y), 4), 0);
}

TEST_F(VideoFaults, AFrameOfAnotherSizeIsRefusedAndTheRestIsRead) {
  const Bytes small = bytesOf(numbered("j.avi", 4, "MJPG"));
  VideoFormat format{.width = 32, .height = 16, .codec = "MJPG"};
  std::string why;
  auto writer = VideoWriter::create(folder.file("o.avi"), format, why);
  ASSERT_TRUE(writer->write(Bytes(32 * 16, 99).data(), 32));
  ASSERT_TRUE(writer->close());
  const std::vector<Bytes> own = chunksOf(small), other = chunksOf(bytesOf(folder.file("o.avi")));
  const auto reader = openVideo(chunked("vids", "MJPG", 24,
                                        {{"00dc", withoutHeader(own[0])},
                                         {"00dc", withoutHeader(other[0])},
                                         {"00dc", withoutHeader(own[2])},
                                         {"00dc", Bytes(40, 3)}},
                                        kWidth, kHeight));
  ASSERT_TRUE(reader);
  for (const auto& [index, number] :
       {std::pair{0, 0}, {1, -1}, {2, 2}, {3, -1}, {1, -1}, {0, 0}, {4, -1}, {-1, -1}})
    EXPECT_EQ(numberOf(*reader, index), number) << index;
}

// As old encoders did to get bidirectional frames into an AVI: such a frame lies behind its anchor in one
// chunk, and the chunk that it should have says "as before".
TEST_F(VideoFaults, FramesPackedTwoToAChunkAreTakenApart) {
  if (!hasFfmpeg()) GTEST_SKIP() << "no ffmpeg";
  ASSERT_TRUE(ffmpeg("-i " + numbered("n.avi", 61) + " -c:v mpeg4 -q:v 2 -bf 1 -g 13 -vtag DX50 " +
                     folder.file("b.avi")));
  std::vector<std::pair<std::string, Bytes>> chunks;
  const std::string packedMark = "DivX503b1393p";
  for (const Bytes& chunk : chunksOf(bytesOf(folder.file("b.avi")))) {
    Bytes frame = withoutHeader(chunk);
    const std::vector<size_t> picture = placesOf(frame, std::string("\0\0\1\xB6", 4));
    ASSERT_EQ(picture.size(), 1u);
    if (chunks.empty()) {
      const std::string mark = std::string("\0\0\1\xB2", 4) + packedMark;
      frame.insert(frame.begin() + static_cast<ptrdiff_t>(picture[0]), mark.begin(), mark.end());
    }
    const bool between = frame[picture[0] + 4] >> 6 == 2;
    if (between) {
      chunks.back().second.insert(chunks.back().second.end(), frame.begin(), frame.end());
      frame = {0, 0, 1, 0xB6, 0x50, 0x40, 0x7F};
    }
    chunks.push_back({"00dc", frame});
  }
  ASSERT_EQ(chunks.size(), 61u);
  const auto reader = openVideo(chunked("vids", "DX50", 24, chunks, kWidth, kHeight));
  ASSERT_TRUE(reader);
  expectNumbers(*reader, upTo(61));
}

TEST_F(VideoFaults, UncompressedFilesAreWhatOtherProgramsExpect) {
  if (!hasFfmpeg()) GTEST_SKIP() << "no ffmpeg";
  const std::string path = numbered("n.avi", 30), raw = folder.file("raw");
  ASSERT_TRUE(ffmpeg("-i " + path + " -vsync 0 -f rawvideo -pix_fmt bgr24 " + raw));
  Bytes expected;
  for (int32_t i = 0; i < 30; ++i)
    for (const uint8_t level : barred(i, kWidth, kHeight)) expected.insert(expected.end(), 3, level);
  EXPECT_TRUE(bytesOf(raw) == expected);
  const Bytes file = bytesOf(path);
  const size_t form = placesOf(file, "strf").front() + 8;
  EXPECT_EQ(wordAt(file, form + 8), uint32_t{kHeight}) << "positive: the lowest row first";
  EXPECT_EQ(wordAt(file, form + 40 + 4 * 200), 200u * 0x010101u) << "a grey palette";
}

TEST_F(VideoFaults, AChoiceThatCannotBeWrittenSaysWhy) {
  std::string why;
  EXPECT_FALSE(VideoWriter::create(folder.file("a"), {.width = 8, .height = 8, .codec = "QQQQ"}, why));
  EXPECT_EQ(why, "No codec \"QQQQ\" is known.");
  EXPECT_FALSE(VideoWriter::create(folder.file("a"), {.width = 0, .height = 8}, why));
  EXPECT_FALSE(VideoWriter::create(folder.file("no/folder"), {.width = 8, .height = 8}, why));
  EXPECT_EQ(why, "The file can't be made: No such file or directory.");
  EXPECT_EQ(videoCodecs().front().code, "DIB ");
  std::string report;
  EXPECT_TRUE(getDecompressor(0x63646976, 0x34363248, report));  // "vidc", "H264"
  EXPECT_TRUE(report.ends_with("found decompressor: format ok\n"));
  report.clear();
  EXPECT_FALSE(getDecompressor(0x63646976, 0x51515151, report));
  EXPECT_TRUE(report.ends_with("trying ICLocate:failed\n"));
}

TEST_F(VideoFaults, AFileClosedAtOnceIsAMovieWithoutFrames) {
  for (const char* codec : {"DIB ", "FFV1"}) {
    const auto reader = openVideo(numbered("none.avi", 0, codec));
    ASSERT_TRUE(reader);
    EXPECT_EQ(reader->frames(), 0);
    EXPECT_TRUE(greyOf(*reader, 0).empty());
  }
}

TEST_F(VideoFaults, GreyTriplesInAColourFileComeBackAsTheirLevels) {
  Bytes triples, levels = barred(0x5A5A, kWidth, kHeight);
  for (const uint8_t level : levels) triples.insert(triples.end(), 3, level);
  std::string why;
  auto writer = VideoWriter::create(
      folder.file("t.avi"), {.width = kWidth, .height = kHeight, .colour = true, .codec = "x264"}, why);
  if (!writer) GTEST_SKIP() << why;
  ASSERT_TRUE(writer->write(triples.data(), kWidth * 3));
  ASSERT_TRUE(writer->close());
  EXPECT_EQ(greyOf(*openVideo(folder.file("t.avi")), 0), levels);
}

TEST_F(VideoFaults, LowerQualityMakesSmallerFilesAndTheBestLosesNoLevel) {
  uintmax_t before = UINTMAX_MAX;
  for (const int32_t quality : {100, 60, 20}) {
    std::string why;
    auto writer = VideoWriter::create(
        folder.file("q.avi"), {.width = kWidth, .height = kHeight, .codec = "x264", .quality = quality}, why);
    if (!writer) GTEST_SKIP() << why;
    for (int32_t i = 0; i < 20; ++i)
      ASSERT_TRUE(writer->write(barred(i * 999, kWidth, kHeight).data(), kWidth));
    ASSERT_TRUE(writer->close());
    EXPECT_EQ(greyOf(*openVideo(folder.file("q.avi")), 19) == barred(19 * 999, kWidth, kHeight),
              quality == 100);
    const uintmax_t size = std::filesystem::file_size(folder.file("q.avi"));
    EXPECT_LT(size, before);
    before = size;
  }
}

// Recordings that don't come with the sources.
TEST_F(VideoFaults, RecordedSequencesAreReadAsTheyAreDecodedInOrder) {
  const char* named = std::getenv("TARNVISOR_TEST_DATA");
  const std::string data = withSeparator(named ? named : TEST_DATA_FOLDER);
  if (!fileExists(data + "flow-sequence/flow-425x110-120fps-ffv1.avi") || !hasFfmpeg()) GTEST_SKIP() << data;
  for (const auto& [name, count] : {std::pair{"flow-sequence/flow-425x110-120fps-ffv1.avi", 240},
                                    {"nailfold-still/jitter-640x480-30fps.avi", 120}}) {
    const auto reader = openVideo(data + name);
    ASSERT_EQ(reader->frames(), count);
    ASSERT_TRUE(ffmpeg("-i " + data + name + " -vsync 0 -f rawvideo -pix_fmt bgr24 " + folder.file("raw")));
    const Bytes all = bytesOf(folder.file("raw"));
    const auto size = static_cast<ptrdiff_t>(reader->width()) * reader->height() * 3;
    ASSERT_EQ(static_cast<ptrdiff_t>(all.size()), size * count);
    Bytes frame(static_cast<size_t>(size));
    for (const int32_t i : {119, 0, 60, 59, 58, 101}) {
      ASSERT_TRUE(reader->readColour(i, frame.data(), reader->width() * 3));
      EXPECT_TRUE(std::equal(frame.begin(), frame.end(), all.begin() + size * i)) << name << i;
    }
  }
}

}  // namespace
}  // namespace tarnvisor
