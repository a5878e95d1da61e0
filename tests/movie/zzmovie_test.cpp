// The store: the bytes of its file in every form, frames by index, saving, and files that can't be believed.
#include <sys/stat.h>
#include <unistd.h>

#include <chrono>

#include "movie/movieoutput.h"
#include "movietests.h"

namespace tarnvisor {
namespace {

TEST_F(Movie, ARecordingHasTheseBytes) {
  source.draw = [](CZZimage& image, int32_t number) { image.fill(static_cast<uint8_t>(0xa0 + number)); };
  const std::tuple<int32_t, int32_t, Bytes, uint8_t, uint8_t> cases[] = {
      {5, 2, {0xa0, 0xa1}, 2, 2}, {2, 2, {0xa0, 0xa1}, 2, 0}, {2, 3, {0xa2, 0xa1}, 2, 1}};
  for (const auto& [slots, frames, pixels, count, oldest] : cases) {
    CZZMovie movie;
    fill(movie, "a.mve", slots, frames, true, 4, 2);
    Bytes expected = {0xe9, 0xff, 0xff, 0xff, 0xfe, 0xff, 0xff, 0xff, 36, 0, 0, 0, 0xff, 0xff, 0xff, 0xff,
                      0,    0,    0,    0,    4,    0,    0,    0,    2,  0, 0, 0, 0,    0,    0,    0};
    expected.resize(kStart);  // origin and colours
    for (const uint8_t level : pixels) expected.insert(expected.end(), 8, level);
    for (const uint8_t word : {count, oldest}) expected.insert(expected.end(), {word, 0, 0, 0});
    EXPECT_EQ(bytesOf(folder.file("a.mve")), expected) << frames;
  }
}

TEST_F(Movie, ReadsTheFormThatIsWrittenAndBothOlderOnes) {
  const std::tuple<int32_t, Numbers, bool, Numbers> cases[] = {
      {-23, {3, 3}, false, {0, 1, 2}}, {-23, {3, 1}, false, {1, 2, 0}}, {-23, {3, 0}, false, {0, 1, 2}},
      {-24, {3, 2}, false, {2, 0, 1}}, {-22, {3, 1}, true, {1, 2, 0}},  {-1, {3, 3}, true, {0, 1, 2}},
      {7, {}, true, {0, 1, 2}},        {2, {}, true, {0, 1}},           {0, {}, true, {}}};
  for (const auto& [word, trailer, headers, numbers] : cases) {
    CZZMovie movie;
    ASSERT_EQ(movie.open(built(word, 3, trailer, headers, headers ? 2 : 0)), !numbers.empty());
    EXPECT_EQ(movie.mode, numbers.empty() ? CZZMovie::kClosed : CZZMovie::kFile);
    EXPECT_EQ(movie.recoveredFrames(), 0) << word;
    EXPECT_EQ((Numbers{movie.rate, movie.scale, movie.shared}), (Numbers{1, 1, 1}));
    ASSERT_EQ(movie.count, static_cast<int32_t>(numbers.size()));
    for (int32_t i = 0; i < movie.count; ++i) {
      const int32_t slot = numbers[static_cast<size_t>(i)];
      const CZZimage& image = movie.frameAt(i);
      EXPECT_EQ(image.row(0)[0], slot);
      EXPECT_EQ(image.frameNumber, headers ? 50 + slot : 2 * slot) << word;  // unknown: twice the slot
      EXPECT_EQ(image.xOrigin, headers ? slot : 0);
      EXPECT_EQ(image.yOrigin, headers ? -slot : 0);
      EXPECT_EQ(movie.recordOf(i).yOrigin, headers ? -2 * slot : 0);  // a field's counts double
    }
  }
}

TEST_F(Movie, FindsFramesByIndex) {
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    EXPECT_TRUE(movie.frameAt(3).empty());
    fill(movie, name, 4, 6, true);
    EXPECT_EQ(numbersOf(movie), span(2, 6));
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
    EXPECT_EQ((Numbers{movie.slotOf(0), movie.slotOf(2), movie.slotOf(-9)}), (Numbers{2, 0, 0}));
    movie.wrapped = 0;
    EXPECT_EQ((Numbers{movie.slotOf(9), movie.slotOf(-2)}), (Numbers{3, 0}));
    for (const auto& [first, last, from, to] :
         std::vector<std::array<int32_t, 4>>{{-1, -1, 0, 4}, {2, 9, 2, 4}, {9, 3, 3, 3}, {1, 0, 0, 0}}) {
      EXPECT_EQ(movie.clamped(first, last).first, from);
      EXPECT_EQ(movie.clamped(first, last).last, to);
    }
  }
}

TEST_F(Movie, SizesTheStoreAndNeverShrinksTheBlock) {
  CZZMovie movie;
  movie.mode = CZZMovie::kMemory;
  const std::string log = logOf([&] {
    EXPECT_EQ(movie.createImages(5, 16, 6, kGrey), 5);
    EXPECT_EQ(movie.createImages(2, 16, 6, kGrey), 0);
    EXPECT_EQ(movie.memorySize, 5 * 96);
    EXPECT_EQ(movie.createImages(3, 16, 6, kGrey), 1);
    EXPECT_FALSE(movie.createHeaders(-1));
  });
  EXPECT_THAT(log, StartsWith("CZZMovie::createImages:existing 0 newsize 5 images\nrealloc from 0 to 480 "));
  EXPECT_THAT(log, EndsWith("\nCZZMovie::createImages:created 1\nbad createhdrs\n"));
}

TEST_F(Movie, SavesByCopyByRenameOrFrameByFrame) {
  const std::string a = recorded("a.mve", 5), b = folder.file("b.mve"), c = folder.file("c.mve");
  const Bytes whole = bytesOf(a);
  CZZMovie movie;
  ASSERT_TRUE(movie.open(a));
  movie.rate = 30;
  movie.setOrigin(3, {7, 9});
  movie.frameAt(3);
  EXPECT_FALSE(movie.save(a));  // nothing to do
  std::string log = logOf([&] { EXPECT_TRUE(movie.save(b)); });
  EXPECT_NE(log.find("czzmovie::save copy " + a + " to " + b + "\n"), std::string::npos);
  for (const auto& file : {a, b}) EXPECT_TRUE(bytesOf(file) == whole) << file;
  movie.shared = 0;
  log = logOf([&] { EXPECT_TRUE(movie.save(c)); });
  EXPECT_NE(log.find("czzmovie::save rename " + b + " to " + c + "\n"), std::string::npos);
  EXPECT_TRUE(bytesOf(c) == whole);
  EXPECT_FALSE(fileExists(b));
  EXPECT_EQ(movie.fileName, c);
  EXPECT_EQ((Numbers{movie.current, movie.rate}), (Numbers{3, 30}));
  EXPECT_EQ(movie.image().frameOrigin(), (Point{7, 9}));  // records survive, as does the place
  EXPECT_TRUE(movie.save(folder.file("part.mve"), 1, 3));
  log = logOf([&] { EXPECT_FALSE(movie.save(folder.file("none/x.mve"))); });
  EXPECT_NE(log.find("exception.\n"), std::string::npos) << log;
  EXPECT_EQ(numbersOf(movie), span(1, 3));  // where it was
  EXPECT_EQ(movie.shared, 0);
  EXPECT_FALSE(movie.failure().empty());
}

TEST_F(Movie, SavesMemoryAsVideoAndVideoAsAMovie) {
  source.draw = paintBars;
  CZZMovie movie;
  fill(movie, "", 20, 26, true, 64, 48);
  EXPECT_EQ(movie.modified, 1);
  for (const char* name : {"a.mve", "b.avi", "c.mve"}) {
    ASSERT_TRUE(movie.save(folder.file(name))) << movie.failure();
    EXPECT_EQ(movie.mode, *name == 'b' ? CZZMovie::kAvi : CZZMovie::kFile);
    EXPECT_EQ(numbersOf(movie, barsNumber), span(6, 26)) << name;
    EXPECT_EQ(movie.recordOf(1).number, 14u);
    EXPECT_NEAR(movie.rate / static_cast<double>(movie.scale), 29.97, 0.01);
  }
  for (const char* name : {"a.mve", "b.avi"}) EXPECT_TRUE(fileExists(folder.file(name))) << name;
  EXPECT_FALSE(movie.modified);
  ASSERT_TRUE(movie.open(folder.file("b.avi")));
  EXPECT_EQ(movie.frameAt(7).frameNumber, 14);
}

TEST_F(Movie, KeepsATableThatSomebodyKept) {
  CZZMovie movie;
  ASSERT_TRUE(movie.open(recorded("a.mve", 3)));
  movie.adoptTable({{90, 0, 1, 2}, {}, {94, 0, 5, 6}, {96, 0, 0, 0}});
  EXPECT_EQ(movie.image().frameNumber, 90);
  EXPECT_EQ(movie.frameAt(1).frameNumber, 2);
  EXPECT_EQ(movie.frameAt(2).frameOrigin(), (Point{5, 6}));
  EXPECT_EQ(movie.frameTable.size(), 3u);
}

TEST_F(Movie, AFileThatMayNotBeWrittenIsReadAndNeverChangedInPlace) {
  const std::string a = recorded("a.mve", 3);
  ::chmod(a.c_str(), 0444);
  CZZMovie movie;
  ASSERT_TRUE(movie.open(a));
  if (movie.file->canWrite()) GTEST_SKIP() << "this user may write everything";
  movie.shared = 0;
  ASSERT_TRUE(movie.openProcessing(true));
  EXPECT_FALSE(movie.processingFile);
  EXPECT_TRUE(movie.closeProcessing());
  EXPECT_EQ(numbersIn(a), span(0, 3));
}

TEST_F(Movie, AnyFrameOfAFileOfFiveGigabytesIsThereWithoutTheOthers) {
  constexpr int32_t kSide = 1024, kFrames = 5 * 1024;
  const Numbers painted = {5119, 0, 4095, 2048, 2047};
  const auto file = MovieFile::open(recorded("a.mve", 1), MovieFile::Access::Update);
  CZZimage image(kSide, kSide);
  writeMovieStart(*file, image);
  if (!file->cutTo(kStart + int64_t{kFrames} * kSide * kSide)) GTEST_SKIP() << "no files of that size";
  for (const int32_t slot : painted) {
    paint(image, slot);
    file->write(image.pixels, size_t{kSide} * kSide, kStart + int64_t{slot} * kSide * kSide);
  }
  writeTrailer(*file, file->size(), kFrames, kFrames);
  struct stat facts {};
  ::stat(folder.file("a.mve").c_str(), &facts);
  if (facts.st_blocks * 512 > int64_t{1} << 30) GTEST_SKIP() << "no sparse files";
  CZZMovie movie;
  ASSERT_TRUE(movie.open(folder.file("a.mve")));
  ASSERT_EQ(movie.count, kFrames);
  for (const int32_t i : painted) EXPECT_EQ(exactNumber(movie.frameAt(i)), i);
  EXPECT_LT(movie.memorySize, int64_t{64} << 20);  // a frame at a time
}

// --- what can't be believed

TEST_F(Movie, EveryCutOfAFileGivesItsWholeFramesAndLeavesTheFile) {
  for (const int32_t word : {-23, -22, 3}) {
    const Bytes whole = bytesOf(built(word, 3, word < 0 ? Numbers{3, 3} : Numbers{}, word != -23));
    const size_t frame = word == -23 ? kFrame : kFrame + 36, begin = word == -23 ? kStart : 4;
    for (size_t length = 0; length < whole.size(); ++length) {
      const Bytes cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(length));
      putBytes(folder.file("cut.mve"), cut);
      const auto there =
          static_cast<int32_t>(length < begin ? 0 : std::min<size_t>(3, (length - begin) / frame));
      CZZMovie movie;
      ASSERT_EQ(movie.open(folder.file("cut.mve")), there > 0) << word << " at " << length;
      ASSERT_EQ(numbersOf(movie), span(0, there)) << word << " at " << length;
      ASSERT_EQ(movie.recoveredFrames(), word < 0 ? there : 0);
      ASSERT_EQ(movie.failure().empty(), there > 0);
      movie.close();
      ASSERT_EQ(bytesOf(folder.file("cut.mve")), cut);
    }
  }
}

TEST_F(Movie, ATrailerThatLiesIsNone) {
  for (const Numbers& trailer : std::vector<Numbers>{
           {0, 0}, {4, 4}, {-1, 2}, {3, 4}, {2, -1}, {INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MIN}}) {
    CZZMovie movie;
    ASSERT_TRUE(movie.open(built(-23, 3, trailer, false)));
    EXPECT_EQ(numbersOf(movie), span(0, 3)) << trailer[0];
    EXPECT_EQ(movie.recoveredFrames(), 3);
  }
}

TEST_F(Movie, AFormThatLiesOpensNothing) {
  constexpr int64_t kVast = int64_t{5} << 30;
  const struct {
    int32_t width, height;
    int64_t length;  // 0: as it is
  } cases[] = {{0, 6, 0},          {-1, 6, 0},      {INT32_MAX, 6, 0}, {16, 0, 0},
               {16, INT32_MIN, 0}, {1, 1 << 30, 0}, {1, 1, kVast},     {1, INT32_MAX / 2 + 1, kVast}};
  for (const auto& c : cases) {
    const std::string path = built(-23, 3, {3, 3}, false);
    Bytes bytes = bytesOf(path);
    putLittle(&bytes[20], c.width);
    putLittle(&bytes[24], c.height);
    putBytes(path, bytes);
    if (c.length > 0 && ::truncate(path.c_str(), c.length) != 0) continue;
    CZZMovie movie;
    EXPECT_FALSE(movie.open(path)) << c.width << " by " << c.height;
    EXPECT_FALSE(movie.failure().empty());
  }
  for (const char* missing : {"none.mve", "none.avi", "none/", "."}) {
    CZZMovie movie;
    EXPECT_FALSE(movie.open(folder.file(missing)));
    EXPECT_FALSE(movie.failure().empty());
  }
}

TEST_F(Movie, ManyStepsMakeNoNameThatIsTooLong) {
  std::string name = folder.file("hand");
  for (int step = 0; step < 300; ++step) {
    name = freeMovieName(withoutExtension(name));
    if (step == 1) {
      EXPECT_EQ(fileNameOf(name), "handAA.mve");
    }
  }
  ASSERT_TRUE(replaceFile(name, std::string_view("a movie")));
  EXPECT_TRUE(fileExists(name));
  EXPECT_THAT(freeMovieName(withoutExtension(name)), EndsWith("AB.mve"));
  std::string umlauts;
  for (int i = 0; i < 110; ++i) umlauts += "\u00e4";
  EXPECT_THAT(freeMovieName("x" + umlauts), EndsWith("\u00e4A.mve")) << "a whole character";
}

TEST_F(Movie, AFrameThatCantBeReadKeepsThePixels) {
  Bytes bytes = bytesOf(built(-22, 3, {3, 3}, true));
  putLittle(&bytes[4 + (36 + kFrame) + 16], kWidth + 4);  // the second frame tells of another width
  putBytes(folder.file("a.mve"), bytes);
  EXPECT_EQ(numbersIn(folder.file("a.mve")), (Numbers{0, 0, 2}));
}

}  // namespace
}  // namespace tarnvisor
