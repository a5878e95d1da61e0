// Recording: rings and their ends, what a source may be, what a kill and a full disc leave.
#include <sys/wait.h>
#include <unistd.h>

#include "archive/archive.h"
#include "movietests.h"
#include "support/fulldisc.h"

extern std::atomic<int64_t> allocations;

namespace tarnvisor {
namespace {

TEST_F(Movie, ARingKeepsTheLastFramesFromTheOldestSlot) {
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    start(movie, name, 10, true);
    const Numbers results = source.play(0, 23);
    EXPECT_EQ((Numbers{results[8], results[9], results[22]}), (Numbers{9, 10, 10}));
    movie.stopRecording();
    EXPECT_EQ((Numbers{movie.count, movie.oldest, movie.slotOf(0)}), (Numbers{10, 3, 3}));
    EXPECT_EQ(numbersOf(movie), span(13, 23));
    EXPECT_EQ(movie.recordOf(0).number, 26u);  // the source's, not twice the slot
    EXPECT_EQ(movie.recoveredFrames(), 0);
    EXPECT_EQ(source.target, nullptr);
  }
}

TEST_F(Movie, ARecordingWithoutRingEndsAtItsLastSlot) {
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    start(movie, name, 3);
    EXPECT_EQ(source.play(0, 5), (Numbers{1, 2, -1, -1, -1}));
    EXPECT_EQ(movie.nextSlot(), -1);
    const std::string log = logOf([&] { movie.stopRecording(); });
    EXPECT_NE(log.find("....CZZMovie::stopRecording: was filled imagecount=3\n"), std::string::npos);
    EXPECT_EQ(log.find("count=3,oldest=0\n") != std::string::npos, *name != 0);
    EXPECT_EQ(numbersOf(movie), span(0, 3));
    EXPECT_EQ((Numbers{movie.rate, movie.scale, movie.modified}), (Numbers{29970, 1000, *name ? 0 : 1}));
  }
}

TEST_F(Movie, AFrameStaysInItsSlotUntilToldToAdvance) {
  CZZMovie movie;
  start(movie, "a.mve", 3);
  CZZimage image(kWidth, kHeight);
  for (int32_t number = 0; number < 4; ++number) {
    paint(image, number);
    EXPECT_EQ(movie.addFrame(image, 0, false), 0);
    EXPECT_EQ(exactNumber(movie.image()), number);
  }
  EXPECT_EQ(movie.nextSlot(), 1);
  EXPECT_FALSE(movie.save(folder.file("b.avi")));  // not while it goes on
  source.play(4, 5);
  movie.stopRecording();
  EXPECT_EQ(numbersOf(movie), (Numbers{3, 4}));
}

TEST_F(Movie, TheWidthIsCutToWholeWordsAndTheWindowWithIt) {
  CZZMovie movie;
  movie.source = &source;
  for (const auto& [asked, kept] : {std::pair{643, 640}, {640, 640}, {7, 4}}) {
    ASSERT_TRUE(movie.record(2, "", 10, 20, asked, 6, true));
    EXPECT_EQ(movie.image().width, kept);
    EXPECT_EQ(movie.image().stride, kept);
    EXPECT_EQ(source.window, (Rect{10, 20, 10 + kept, 26}));
  }
  for (const auto& [width, height] : {std::pair{0, 5}, {3, 5}, {5, -1}})
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(movie.record(2, "", 0, 0, width, height, false)); }),
              format("CZZMovie::Record.......\nnegative size!w=%i,h=%i\n", width, height));
  for (const auto& [compress, words] : {std::pair{0, "record file open "}, {1, "record aviwriteopen "}}) {
    compressoutput = compress;
    const std::string name = folder.file(compress ? "none/a.avi" : "none/a.mve"),
                      expected = words + name + " failed\n";
    EXPECT_NE(logOf([&] { EXPECT_FALSE(movie.record(2, name, 0, 0, 64, 48, false)); }).find(expected),
              std::string::npos);
    EXPECT_EQ(movie.mode, CZZMovie::kClosed);
    EXPECT_FALSE(movie.failure().empty());
  }
}

TEST_F(Movie, AnInterlacedSourceGivesTwiceTheFramesAtHalfTheHeight) {
  source.progressive = false;
  source.draw = [](CZZimage& image, int32_t number) {
    paint(image, number);
    image.yOrigin = 6;
  };
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    fill(movie, name, 3, 3);
    EXPECT_EQ(movie.image().height, 3);
    EXPECT_EQ(numbersOf(movie), (Numbers{0, 0, 1, 1, 2, 2}));
    EXPECT_EQ((Numbers{movie.image().interlace, movie.image().yOrigin, movie.recordOf(5).yOrigin}),
              (Numbers{2, 3, 6}));
  }
}

TEST_F(Movie, ColourAndBayerFramesKeepTheirBytes) {
  for (const int32_t colours : {kColour, kBayer})
    for (const char* name : {"", "a.mve"}) {
      source.colours = colours;
      CZZMovie movie;
      fill(movie, name, 4, 6, true);
      EXPECT_EQ(movie.image().colourset, colours);
      EXPECT_EQ(numbersOf(movie), span(2, 6)) << colours;
    }
}

TEST_F(Movie, NothingIsAllocatedForAFrame) {
  for (const char* name : {"", "a.mve"})
    for (const bool progressive : {true, false}) {
      source.progressive = progressive;
      CZZMovie movie;
      start(movie, name, 4, true);
      const CZZimage image(kWidth, kHeight);
      const int64_t before = allocations;
      for (int32_t k = 0; k < 50; ++k) (void)movie.addFrame(image, progressive ? 0 : 1 + k % 2);
      EXPECT_EQ(allocations - before, 0);
      movie.stopRecording();
      EXPECT_EQ(allocations > before, *name != 0);  // counting works
    }
}

// --- killed

struct KillMode {
  const char* name;
  const char* file;
  bool ring, video;
};

class KilledRecording : public Movie, public testing::WithParamInterface<KillMode> {
 protected:
  static constexpr int32_t kColumns = 256, kRows = 192, kRing = 16;
  const bool video = GetParam().video, ring = GetParam().ring;

  // Records until it is killed, and tells of each frame when addFrame has returned.
  [[noreturn]] void recordForEver(const std::string& path, int pipe) {
    CZZMovie movie;
    movie.ringMode = ring;
    compressoutput = video;
    CZZimage image(kColumns, kRows);
    if (!movie.record(ring ? kRing : 20000, path, 0, 0, kColumns, kRows, false)) ::_exit(1);
    for (int32_t number = 0; number < 60000; ++number) {
      (video ? paintBars : paint)(image, number);
      image.frameNumber = 2 * number;
      (void)movie.addFrame(image, 0);
      if (::write(pipe, &number, sizeof number) != sizeof number) ::_exit(1);
    }
    for (;;) ::pause();
  }
  // Kills the child somewhere behind that many frames; how many it told of.
  int32_t killAfter(const std::string& path, int32_t frames) {
    int ends[2];
    if (::pipe(ends) != 0) return 0;
    const pid_t child = ::fork();
    if (child == 0) recordForEver(path, ends[1]);
    ::close(ends[1]);
    int32_t last = -1, told = -1;
    while (last < frames && ::read(ends[0], &told, sizeof told) == sizeof told) last = told;
    ::kill(child, SIGKILL);
    while (::read(ends[0], &told, sizeof told) == sizeof told) last = told;
    ::waitpid(child, nullptr, 0);
    ::close(ends[0]);
    return last + 1;
  }
  void expectFrames(const std::string& path, int32_t told, int64_t& found) {
    const auto numberOfFrame = video ? barsNumber : exactNumber;
    const Bytes before = bytesOf(path);
    CZZMovie movie;
    ASSERT_TRUE(movie.open(path)) << movie.failure();
    const Numbers numbers = numbersOf(movie, numberOfFrame);
    found += movie.count;
    // In order without a gap. The last may be there though it was not told of any more, and a ring may have
    // begun to overwrite its oldest.
    ASSERT_EQ(numbers, span(numbers.front(), numbers.front() + movie.count));
    ASSERT_THAT(numbers.back(), AnyOf(told - 1, told));
    ASSERT_LE(numbers.front(), ring ? std::max(0, told + 1 - kRing) : 0);
    for (int32_t i = 0; i < movie.count; ++i)
      ASSERT_EQ(movie.recordOf(i).number, 2U * static_cast<uint32_t>(numbers[static_cast<size_t>(i)]));
    ASSERT_EQ(movie.recoveredFrames(), video ? 0 : movie.count);
    movie.close();
    ASSERT_EQ(bytesOf(path), before);
    if (video) return;
    ASSERT_TRUE(movie.open(path));
    ASSERT_TRUE(movie.save(path)) << movie.failure();
    ASSERT_TRUE(movie.open(path));
    ASSERT_EQ(movie.recoveredFrames(), 0);
    ASSERT_EQ(numbersOf(movie, numberOfFrame), numbers);
  }
};

// TARNVISOR_KILL_RUNS sets how often; ten is for every day.
TEST_P(KilledRecording, LeavesEveryWholeFrameInOrder) {
  const char* wanted = std::getenv("TARNVISOR_KILL_RUNS");
  const int runs = wanted ? std::atoi(wanted) : 10;
  std::mt19937 random(11);
  int64_t told = 0, held = 0, found = 0;
  for (int run = 0; run < runs && !HasFatalFailure(); ++run) {
    const std::string path = folder.file(std::to_string(run) + GetParam().file);
    const int32_t frames = killAfter(path, static_cast<int32_t>(random() % 100));
    ASSERT_GT(frames, 0);
    told += frames;
    held += ring ? std::min(frames, kRing) : frames;
    expectFrames(path, frames, found);
    std::remove(path.c_str());
  }
  std::printf("killed while recording %s: %d runs, %ld frames written, %ld held, %ld found\n",
              GetParam().name, runs, static_cast<long>(told), static_cast<long>(held),
              static_cast<long>(found));
}

INSTANTIATE_TEST_SUITE_P(Modes, KilledRecording,
                         testing::Values(KillMode{"a ring", "a.mve", true, false},
                                         KillMode{"to the end", "b.mve", false, false},
                                         KillMode{"video", "c.avi", false, true}),
                         [](const auto& mode) { return std::string(1, mode.param.file[0]); });

// The end of a ring that was killed between frames, and while a slot was overwritten.
TEST_F(Movie, ARingTellsWhichSlotWasInDoubt) {
  const std::pair<Numbers, Numbers> cases[] = {
      {{3, ~1}, {1, 2, 0}}, {{~3, ~1}, {2, 0}}, {{~3, ~2}, {0, 1}}, {{~3, ~0}, {1, 2}}};
  for (const auto& [trailer, numbers] : cases) {
    const std::string path = built(-23, 3, trailer, false);
    const Bytes before = bytesOf(path);
    CZZMovie movie;
    ASSERT_TRUE(movie.open(path));
    EXPECT_EQ(numbersOf(movie), numbers);
    EXPECT_EQ(movie.recoveredFrames(), static_cast<int32_t>(numbers.size()));
    ASSERT_TRUE(movie.save(folder.file("copy.mve")));  // whole, beside the one that was cut off
    EXPECT_EQ(bytesOf(path), before);
    ASSERT_TRUE(movie.open(folder.file("copy.mve")));
    EXPECT_EQ(movie.recoveredFrames(), 0);
    EXPECT_EQ(numbersOf(movie), numbers);
  }
}

// --- a full disc

TEST_F(Movie, AFullDiscEndsARecordingAndKeepsItsFrames) {
  for (const int32_t spare : {0, 7, 8, kFrame / 2})
    for (const bool ring : {false, true}) {
      const bool goesOn = ring && spare >= 28;  // in the bytes that the end of a ring of five needs
      CZZMovie movie;
      start(movie, "a.mve", ring ? 5 : 50, ring);
      const FullDisc full(kStart + 5 * kFrame + spare);
      if (goesOn)
        EXPECT_NO_THROW(source.play(0, 30));
      else
        EXPECT_THROW(source.play(0, 30), ArchiveException) << spare;
      movie.stopRecording();
      EXPECT_EQ(numbersOf(movie), goesOn ? span(25, 30) : span(0, 5)) << spare;
      EXPECT_EQ(movie.recoveredFrames(), spare >= 8 ? 0 : 5);
      std::printf("full disc in a recording: 5 frames written, %d found\n", movie.count);
    }
}

TEST_F(Movie, AFullDiscEndsARecordingToVideoAndLeavesAnExistingFile) {
  compressoutput = 1;
  source.draw = paintBars;
  putBytes(folder.file("a.avi"), {1, 2, 3});
  for (const char* name : {"a.avi", "b.avi"}) {
    CZZMovie movie;
    start(movie, name, 500, false, 64, 48);
    const FullDisc full(40000);
    EXPECT_THROW(source.play(0, 500), ArchiveException);
    movie.stopRecording();
    EXPECT_GT(movie.count, 3);
    EXPECT_EQ(numbersOf(movie, barsNumber), span(0, movie.count));
    std::printf("full disc in a recording to video: %d frames found\n", movie.count);
  }
  EXPECT_EQ(bytesOf(folder.file("a.avi")), (Bytes{1, 2, 3}));
}

TEST_F(Movie, ASaveThatFailsLeavesNoPartOfAMovie) {
  CZZMovie movie;
  ASSERT_TRUE(movie.open(recorded("a.mve", 20)));
  putBytes(folder.file("there.mve"), {1, 2, 3});
  for (const char* name : {"x.mve", "there.mve"}) {
    const FullDisc full(kStart + 8 * kFrame + 50);
    EXPECT_FALSE(movie.save(folder.file(name), 2, 18)) << name;
    EXPECT_EQ(numbersOf(movie), span(0, 20)) << name;
  }
  EXPECT_EQ(bytesOf(folder.file("there.mve")), (Bytes{1, 2, 3}));
  const std::filesystem::directory_iterator all(folder.path());
  EXPECT_EQ(std::distance(begin(all), end(all)), 2) << "with the movie";
}

TEST_F(Movie, AnEmptyFileIsToldToBeOne) {
  for (const char* name : {"x.mve", "x.avi"}) {
    putBytes(folder.file(name), {});
    CZZMovie movie;
    EXPECT_FALSE(movie.open(folder.file(name)));
    EXPECT_NE(movie.failure().find("It is empty"), std::string::npos) << movie.failure();
  }
}

TEST_F(Movie, AFullDiscInAPassLeavesTheMovieAndTheFramesSoFar) {
  const std::string a = recorded("a.mve", 20);
  const Bytes whole = bytesOf(a);
  CZZMovie movie, left;
  ASSERT_TRUE(movie.open(a));
  const FullDisc full(kStart + 8 * kFrame + 50);
  ASSERT_TRUE(movie.openProcessing(true));
  for (int32_t i = 0; i < 21; ++i) movie.frameAt(i).invert({});
  EXPECT_TRUE(movie.processingFailed());
  EXPECT_FALSE(movie.closeProcessing());
  EXPECT_FALSE(movie.failure().empty());
  EXPECT_EQ(exactNumber(movie.image()), movie.current);
  EXPECT_EQ(numbersOf(movie), span(0, 20));
  EXPECT_EQ(movie.fileName, a);
  EXPECT_TRUE(bytesOf(a) == whole);
  ASSERT_TRUE(left.open(movie.leftOver())) << movie.leftOver();
  EXPECT_EQ((Numbers{left.count, left.recoveredFrames()}), (Numbers{8, 0}));
  left.frameAt(7).invert({});
  EXPECT_EQ(exactNumber(left.image()), 7);
  std::printf("full disc in a pass: 8 frames written, %d found; %d of 20 before it\n", left.count,
              movie.count);
}

}  // namespace
}  // namespace tarnvisor
