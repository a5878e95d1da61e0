// The store: the bytes of its file in every form, frames by index, saving, and files that can't be believed.
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "movietests.h"

namespace tarnvisor {
namespace {

using Numbers = std::vector<int32_t>;

TEST_F(MovieTest, ARecordingHasTheseBytes) {
  source.draw = [](CZZimage& image, int32_t number) { image.fill(static_cast<uint8_t>(0xa0 + number)); };
  const struct {
    int32_t slots, frames;
    Bytes pixels;
    uint8_t count, oldest;
  } cases[] = {{5, 2, {0xa0, 0xa1}, 2, 2}, {2, 2, {0xa0, 0xa1}, 2, 0}, {2, 3, {0xa2, 0xa1}, 2, 1}};
  for (const auto& c : cases) {
    CZZMovie movie;
    movie.source = &source;
    movie.ringMode = 1;
    ASSERT_TRUE(movie.record(c.slots, folder.file("a.mve"), 0, 0, 4, 2, true));
    source.play(0, c.frames);
    movie.stopRecording();
    Bytes expected = {0xe9, 0xff, 0xff, 0xff, 0xfe, 0xff, 0xff, 0xff, 0x24, 0, 0, 0, 0xff, 0xff,
                      0xff, 0xff, 0,    0,    0,    0,    4,    0,    0,    0, 2, 0, 0,    0,
                      0,    0,    0,    0,    0,    0,    0,    0,    0,    0, 0, 0};
    for (const uint8_t level : c.pixels) expected.insert(expected.end(), 8, level);
    for (const uint8_t word : {c.count, c.oldest}) expected.insert(expected.end(), {word, 0, 0, 0});
    EXPECT_EQ(bytesOf(folder.file("a.mve")), expected) << c.frames;
  }
}

TEST_F(MovieTest, ReadsTheFormThatIsWrittenAndBothOlderOnes) {
  const struct {
    int32_t word;
    std::vector<int32_t> trailer;
    bool headers;
    Numbers numbers;
  } cases[] = {
      {-23, {3, 3}, false, {0, 1, 2}}, {-23, {3, 1}, false, {1, 2, 0}}, {-23, {3, 0}, false, {0, 1, 2}},
      {-24, {3, 2}, false, {2, 0, 1}}, {-22, {3, 1}, true, {1, 2, 0}},  {-1, {3, 3}, true, {0, 1, 2}},
      {7, {}, true, {0, 1, 2}},        {2, {}, true, {0, 1}},           {0, {}, true, {}}};
  for (const auto& c : cases) {
    CZZMovie movie;
    ASSERT_EQ(movie.open(built(c.word, 3, c.trailer, c.headers)), !c.numbers.empty()) << c.word;
    EXPECT_EQ(numbersOf(movie), c.numbers) << c.word;
    EXPECT_EQ(movie.recoveredFrames(), 0) << c.word;
    for (int32_t i = 0; i < movie.count; ++i) {
      const int32_t slot = c.numbers[static_cast<size_t>(i)];
      const CZZimage& image = movie.frameAt(i);
      EXPECT_EQ(image.frameNumber, c.headers ? 50 + slot : 2 * slot) << c.word;
      EXPECT_EQ(image.xOrigin, c.headers ? slot : 0) << c.word;
      EXPECT_EQ(movie.recordOf(i).yOrigin, c.headers ? -slot : 0) << c.word;
    }
    EXPECT_EQ(movie.mode, c.numbers.empty() ? CZZMovie::kClosed : CZZMovie::kFile);
    EXPECT_EQ(movie.rate * 10 + movie.scale * 10 + movie.shared + movie.modified, 21);
  }
}

TEST_F(MovieTest, AFieldsOriginCountsDoubleInItsRecord) {
  CZZMovie movie;
  ASSERT_TRUE(movie.open(built(-22, 3, {3, 3}, true, 2)));
  EXPECT_EQ(movie.frameAt(2).yOrigin, -2);
  EXPECT_EQ(movie.image().interlace, 2);
  EXPECT_EQ(movie.recordOf(2).yOrigin, -4);
  movie.setOrigin(2, {5, 8});
  EXPECT_EQ(movie.image().yOrigin, 4);
  CZZimage copy;
  EXPECT_EQ(movie.getImage(2, copy), 2);
  EXPECT_EQ(copy.frameOrigin(), (Point{5, 8}));
}

TEST_F(MovieTest, FindsFramesByIndex) {
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    fill(movie, name, 4, 6, true);
    const Numbers all = {2, 3, 4, 5};
    EXPECT_EQ(numbersOf(movie), all);
    CZZimage copy;
    for (const int32_t outside : {-1, 4, INT32_MAX, INT32_MIN}) {
      EXPECT_EQ(exactNumber(movie.frameAt(outside)), 2);
      EXPECT_EQ(movie.current, 0);
      EXPECT_EQ(movie.getImage(outside, copy), 0);
    }
    EXPECT_EQ(movie.getImage(3, copy), 3);
    EXPECT_EQ(exactNumber(copy), 5);
    EXPECT_EQ(exactNumber(movie.image()), 2);  // still the current one
    Numbers walk;
    for (int i = 0; i < 5; ++i) walk.push_back(movie.nextFrame());
    EXPECT_EQ(walk, (Numbers{1, 2, 3, 0, 1}));
    EXPECT_EQ(movie.nextFrame(2), 0);
    EXPECT_EQ(movie.slotOf(0), 2);
    EXPECT_EQ(movie.slotOf(2), 0);
    EXPECT_EQ(movie.slotOf(-9), 0);
  }
  CZZMovie empty;
  EXPECT_TRUE(empty.frameAt(3).empty());
  EXPECT_EQ(empty.nextFrame(), 0);
}

TEST_F(MovieTest, ClampsRangesAndSlots) {
  CZZMovie movie;
  fill(movie, "a.mve", 5, 5);
  movie.wrapped = 0;
  EXPECT_EQ(movie.slotOf(9), 4);
  EXPECT_EQ(movie.slotOf(-2), 0);
  const struct {
    int32_t first, last, from, to;
  } cases[] = {{-1, -1, 0, 5}, {2, 9, 2, 5}, {2, 4, 2, 4}, {9, 3, 3, 3}, {1, 0, 0, 0}};
  for (const auto& c : cases) {
    EXPECT_EQ(movie.clamped(c.first, c.last).first, c.from) << c.first;
    EXPECT_EQ(movie.clamped(c.first, c.last).last, c.to) << c.first;
  }
}

TEST_F(MovieTest, SizesTheStoreAndNeverShrinksTheBlock) {
  CZZMovie movie;
  movie.mode = CZZMovie::kMemory;
  const std::string log = logOf([&] {
    EXPECT_EQ(movie.createImages(5, 16, 6, kGrey), 5);
    EXPECT_EQ(movie.createImages(2, 16, 6, kGrey), 0);
    EXPECT_EQ(movie.memorySize, 5 * 96);
    EXPECT_EQ(movie.createImages(3, 16, 6, kGrey), 1);
    EXPECT_FALSE(movie.createHeaders(-1));
  });
  for (const char* line :
       {"CZZMovie::createImages:existing 0 newsize 5 images\n", "realloc from 0 to 480 mve memory\n",
        "\nCZZMovie::createImages:created 5\n", "existing 5 newsize 2", "created 1\n", "bad createhdrs\n"})
    EXPECT_NE(log.find(line), std::string::npos) << line << log;
}

TEST_F(MovieTest, SavesByNameByCopyByRenameOrFrameByFrame) {
  const std::string a = recorded("a.mve", 5), b = folder.file("b.mve");
  const Bytes whole = bytesOf(a);
  CZZMovie movie;
  ASSERT_TRUE(movie.open(a));
  movie.rate = 30;
  movie.setOrigin(3, {7, 9});
  movie.frameAt(3);
  EXPECT_FALSE(movie.save(a));  // nothing to do
  std::string log = logOf([&] { EXPECT_TRUE(movie.save(b)); });
  EXPECT_NE(log.find("czzmovie::save copy " + a + " to " + b + "\n"), std::string::npos);
  EXPECT_EQ(bytesOf(a), whole);
  EXPECT_EQ(bytesOf(b), whole);
  EXPECT_EQ(movie.fileName, b);
  EXPECT_EQ(movie.current, 3);
  EXPECT_EQ(movie.image().frameOrigin(), (Point{7, 9}));
  EXPECT_EQ(movie.rate, 30);
  movie.shared = 0;
  log = logOf([&] { EXPECT_TRUE(movie.save(folder.file("c.mve"))); });
  EXPECT_NE(log.find("czzmovie::save rename " + b + " to " + folder.file("c.mve")), std::string::npos);
  EXPECT_FALSE(fileExists(b));
  EXPECT_EQ(numbersOf(movie), span(0, 5));
  EXPECT_EQ(movie.recordOf(3).xOrigin, 7);
  EXPECT_TRUE(movie.save(folder.file("part.mve"), 1, 3));
  EXPECT_EQ(numbersOf(movie), span(1, 3));
  EXPECT_EQ(movie.fileName, folder.file("part.mve"));
  EXPECT_EQ(movie.shared, 0);
  log = logOf([&] { EXPECT_FALSE(movie.save(folder.file("none/x.mve"))); });
  EXPECT_NE(log.find("exception.\n"), std::string::npos) << log;
  EXPECT_EQ(numbersOf(movie), span(1, 3));  // where it was
  EXPECT_FALSE(movie.failure().empty());
}

TEST_F(MovieTest, SavesMemoryAsAFile) {
  CZZMovie movie;
  fill(movie, "", 4, 6, true);
  EXPECT_EQ(movie.modified, 1);
  ASSERT_TRUE(movie.save(folder.file("m.mve")));
  EXPECT_EQ(movie.mode, CZZMovie::kFile);
  EXPECT_EQ(movie.modified, 0);
  EXPECT_EQ(numbersOf(movie), span(2, 6));
  EXPECT_EQ(movie.recordOf(0).number, 4u);
  EXPECT_EQ(movie.rate, 29970);
}

TEST_F(MovieTest, SavesAsVideoAndBack) {
  source.draw = [](CZZimage& image, int32_t number) {
    const Bytes bars = barred(number, image.width, image.height);
    std::copy(bars.begin(), bars.end(), image.pixels);
  };
  CZZMovie movie;
  movie.source = &source;
  ASSERT_TRUE(movie.record(20, folder.file("a.mve"), 0, 0, 64, 48, true));
  source.play(0, 20);
  movie.stopRecording();
  const auto expectBars = [&](int32_t mode) {
    EXPECT_EQ(movie.mode, mode);
    ASSERT_EQ(movie.count, 20);
    for (int32_t i = 19; i >= 0; --i) {
      const CZZimage& image = movie.frameAt(i);
      EXPECT_EQ(numberIn(Bytes(image.pixels, image.pixels + 64 * 48), 64, 48), i);
      EXPECT_EQ(image.frameNumber, mode == CZZMovie::kAvi ? 2 * i : image.frameNumber);
    }
  };
  EXPECT_TRUE(movie.save(folder.file("b.avi")));
  expectBars(CZZMovie::kAvi);
  EXPECT_TRUE(movie.save(folder.file("c.mve")));
  expectBars(CZZMovie::kFile);
  EXPECT_TRUE(fileExists(folder.file("a.mve")) && fileExists(folder.file("b.avi")));
}

TEST_F(MovieTest, KeepsATableThatSomebodyKept) {
  CZZMovie movie;
  ASSERT_TRUE(movie.open(recorded("a.mve", 3)));
  movie.adoptTable({{90, 0, 1, 2}, {}, {94, 0, 5, 6}, {96, 0, 0, 0}});
  EXPECT_EQ(movie.image().frameNumber, 90);
  EXPECT_EQ(movie.frameAt(1).frameNumber, 2);
  EXPECT_EQ(movie.frameAt(2).frameOrigin(), (Point{5, 6}));
  EXPECT_EQ(movie.frameTable.size(), 3u);
  CZZimage image(4, 4, 77);
  image.xOrigin = 8;
  FrameRecord().applyTo(image);
  EXPECT_EQ(image.frameNumber, 77);
  EXPECT_EQ(image.xOrigin, 8);
}

TEST_F(MovieTest, ReadsAFileThatMayNotBeWritten) {
  const std::string a = recorded("a.mve", 3);
  ::chmod(a.c_str(), 0444);
  CZZMovie movie;
  ASSERT_TRUE(movie.open(a));
  movie.shared = 0;
  EXPECT_EQ(numbersOf(movie), span(0, 3));
  if (movie.file->canWrite()) GTEST_SKIP() << "this user may write everything";
  ASSERT_TRUE(movie.openProcessing(true));  // so the pass makes a file of its own
  for (int32_t i = 0; i < 4; ++i) movie.frameAt(i).invert({});
  EXPECT_TRUE(movie.closeProcessing());
  EXPECT_NE(movie.fileName, a);
  EXPECT_EQ(numbersIn(a), span(0, 3));
}

TEST_F(MovieTest, AnyFrameOfAFileOfFiveGigabytesIsThereAtOnce) {
  constexpr int32_t kSide = 1024, kFrames = 5 * 1024;
  const std::string path = recorded("a.mve", 1);
  const auto file = MovieFile::open(path, MovieFile::Access::Update);
  CZZimage form(kSide, kSide);
  writeMovieStart(*file, form);
  const auto placeOf = [](int64_t slot) { return kStart + slot * kSide * kSide; };
  const std::string small = "not enough room";
  try {
    for (const int32_t slot : {0, 2047, 2048, 4095, 5119}) {
      paint(form, slot);
      file->write(form.pixels, size_t{kSide} * kSide, placeOf(slot));
    }
    writeTrailer(*file, placeOf(kFrames), kFrames, kFrames);
  } catch (const std::exception&) {
    GTEST_SKIP() << small;
  }
  struct stat facts {};
  if (::stat(path.c_str(), &facts) != 0 || facts.st_blocks * 512 > int64_t{1} << 30)
    GTEST_SKIP() << "no sparse files";
  const auto begin = std::chrono::steady_clock::now();
  CZZMovie movie;
  ASSERT_TRUE(movie.open(path));
  ASSERT_EQ(movie.count, kFrames);
  for (const int32_t i : {5119, 0, 4095, 2048, 2047}) EXPECT_EQ(exactNumber(movie.frameAt(i)), i);
  EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(1));
}

// --- what can't be believed

TEST_F(MovieTest, EveryCutOfAFileGivesItsWholeFramesAndLeavesTheFile) {
  for (const int32_t word : {-23, -22, 3}) {
    const Bytes whole =
        bytesOf(built(word, 3, word < 0 ? std::vector{3, 3} : std::vector<int32_t>{}, word != -23));
    const size_t frame = word == -23 ? kFrame : kFrame + 36, start = word == -23 ? kStart : 4;
    for (size_t length = 0; length < whole.size(); ++length) {
      const Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length));
      putBytes(folder.file("cut.mve"), cut);
      const auto there =
          static_cast<int32_t>(length < start ? 0 : std::min<size_t>(3, (length - start) / frame));
      {
        CZZMovie movie;
        ASSERT_EQ(movie.open(folder.file("cut.mve")), there > 0) << word << " at " << length;
        ASSERT_EQ(numbersOf(movie), span(0, there)) << word << " at " << length;
        ASSERT_EQ(movie.recoveredFrames(), word < 0 ? there : 0);
        ASSERT_EQ(movie.failure().empty(), there > 0);
      }
      ASSERT_EQ(bytesOf(folder.file("cut.mve")), cut);
    }
  }
}

TEST_F(MovieTest, ATrailerThatLiesIsNone) {
  for (const auto& [count, oldest] : std::vector<std::pair<int32_t, int32_t>>{
           {0, 0}, {4, 4}, {-1, 2}, {3, 4}, {2, -1}, {INT32_MIN, INT32_MIN}}) {
    CZZMovie movie;
    ASSERT_TRUE(movie.open(built(-23, 3, {count, oldest}, false))) << count;
    EXPECT_EQ(numbersOf(movie), span(0, 3)) << count;
    EXPECT_EQ(movie.recoveredFrames(), 3) << count;
  }
}

TEST_F(MovieTest, AFormThatLiesOpensNothing) {
  for (const size_t word : {4, 5})  // width and height, after the movie's own word
    for (const int32_t lie : {0, -1, 1 << 30, INT32_MAX, INT32_MIN}) {
      const std::string path = built(-23, 3, {3, 3}, false);
      Bytes bytes = bytesOf(path);
      putLittle(&bytes[4 + 4 * word], lie);
      putBytes(path, bytes);
      CZZMovie movie;
      EXPECT_FALSE(movie.open(path)) << word << " " << lie;
      EXPECT_FALSE(movie.failure().empty());
      EXPECT_EQ(movie.count + movie.mode, 0);
    }
  for (const auto& [width, height] : {std::pair{1, 1}, {1, INT32_MAX / 2 + 1}}) {  // and a length to match
    const std::string path = built(-23, 1, {}, false);
    Bytes bytes = bytesOf(path);
    putLittle(&bytes[20], width);
    putLittle(&bytes[24], height);
    putBytes(path, bytes);
    if (::truncate(path.c_str(), int64_t{5} << 30) != 0) GTEST_SKIP() << "no sparse files";
    CZZMovie movie;
    EXPECT_FALSE(movie.open(path)) << height;
  }
  for (const char* missing : {"none.mve", "none.avi", "none/", "."}) {
    CZZMovie movie;
    EXPECT_FALSE(movie.open(folder.file(missing)));
    EXPECT_FALSE(movie.failure().empty());
  }
}

TEST_F(MovieTest, AFrameThatCantBeReadKeepsThePixels) {
  const std::string path = built(-22, 3, {3, 3}, true);
  Bytes bytes = bytesOf(path);
  putLittle(&bytes[4 + (36 + kFrame) + 16], kWidth + 4);  // the second frame tells of another width
  putBytes(path, bytes);
  CZZMovie movie;
  ASSERT_TRUE(movie.open(path));
  EXPECT_EQ(numbersOf(movie), (Numbers{0, 0, 2}));
}

TEST_F(MovieTest, RawPixelsOpenAsAMovie) {
  putBytes(folder.file("a.raw"), {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13});
  CZZMovie movie;
  ASSERT_TRUE(movie.openRaw(folder.file("a.raw"), 3, 2, 9));
  EXPECT_EQ(movie.count, 2);
  EXPECT_EQ(movie.frameAt(1).row(1)[2], 12);
  EXPECT_TRUE(movie.save(folder.file("a.mve")));
  EXPECT_EQ(movie.frameAt(1).row(1)[0], 10);
  EXPECT_FALSE(movie.openRaw(folder.file("a.raw"), 30, 2, 9));
  EXPECT_FALSE(movie.openRaw(folder.file("none.raw"), 3, 2, 9));
}

}  // namespace
}  // namespace tarnvisor
