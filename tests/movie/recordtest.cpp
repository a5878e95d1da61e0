// Recording: rings and their ends, what a source may be, what a kill and a full disc leave.
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdio>
#include <random>
#include <thread>

#include "archive/archive.h"
#include "movietests.h"

extern std::atomic<int64_t> allocations;

namespace tarnvisor {
namespace {

using Numbers = std::vector<int32_t>;

TEST_F(MovieTest, ARingKeepsTheLastFramesFromTheOldestSlot) {
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    movie.source = &source;
    movie.ringMode = 1;
    ASSERT_TRUE(movie.record(10, *name ? folder.file(name) : "", 0, 0, kWidth, kHeight, true));
    const Numbers results = source.play(0, 23);
    EXPECT_EQ(results[8], 9);
    EXPECT_EQ(results[9], 10);
    EXPECT_EQ(results[22], 10);
    EXPECT_EQ(movie.oldest, 3);
    movie.stopRecording();
    EXPECT_EQ(movie.count, 10);
    EXPECT_EQ(movie.oldest, 3);
    EXPECT_EQ(movie.slotOf(0), 3);
    EXPECT_EQ(numbersOf(movie), span(13, 23));
    EXPECT_EQ(movie.recordOf(0).number, 26u);  // the source's, not twice the slot
    EXPECT_EQ(movie.recoveredFrames(), 0);
    EXPECT_EQ(source.target, nullptr);
  }
}

TEST_F(MovieTest, ARecordingWithoutRingEndsAtItsLastSlot) {
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    movie.source = &source;
    ASSERT_TRUE(movie.record(3, *name ? folder.file(name) : "", 0, 0, kWidth, kHeight, true));
    EXPECT_EQ(source.play(0, 5), (Numbers{1, 2, -1, -1, -1}));
    EXPECT_EQ(movie.nextSlot(), -1);
    const std::string log = logOf([&] { movie.stopRecording(); });
    EXPECT_NE(log.find("....CZZMovie::stopRecording: was filled imagecount=3\n"), std::string::npos);
    EXPECT_EQ(log.find("count=3,oldest=0\n") != std::string::npos, *name != 0);
    EXPECT_EQ(numbersOf(movie), span(0, 3));
    EXPECT_EQ(movie.rate, 29970);
    EXPECT_EQ(movie.scale, 1000);
    EXPECT_EQ(movie.modified, *name ? 0 : 1);
    EXPECT_EQ(movie.addFrame(movie.image(), 0), -1);
  }
}

TEST_F(MovieTest, AFrameStaysInItsSlotUntilToldToAdvance) {
  CZZMovie movie;
  ASSERT_TRUE(movie.record(3, folder.file("a.mve"), 0, 0, kWidth, kHeight, false));
  CZZimage image(kWidth, kHeight);
  for (int32_t number = 0; number < 4; ++number) {
    paint(image, number);
    EXPECT_EQ(movie.addFrame(image, 0, false), 0);
    EXPECT_EQ(exactNumber(movie.image()), number);
  }
  EXPECT_EQ(movie.nextSlot(), 1);
  EXPECT_FALSE(movie.save(folder.file("b.avi")));  // not while it goes on
  paint(image, 4);
  EXPECT_EQ(movie.addFrame(image, 0), 2);
  movie.stopRecording();
  EXPECT_EQ(numbersOf(movie), (Numbers{3, 4}));
}

TEST_F(MovieTest, TheWidthIsCutToWholeWordsAndTheWindowWithIt) {
  for (const auto& [asked, kept] : {std::pair{643, 640}, {640, 640}, {7, 4}}) {
    CZZMovie movie;
    movie.source = &source;
    ASSERT_TRUE(movie.record(2, "", 10, 20, asked, 6, true));
    EXPECT_EQ(movie.image().width, kept);
    EXPECT_EQ(movie.image().stride, kept);
    EXPECT_EQ(source.window, (Rect{10, 20, 10 + kept, 26}));
  }
  CZZMovie movie;
  for (const auto& [width, height] : {std::pair{0, 5}, {5, -1}})
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(movie.record(2, "", 0, 0, width, height, false)); }),
              format("CZZMovie::Record.......\nnegative size!w=%i,h=%i\n", width, height));
  EXPECT_FALSE(movie.record(2, "", 0, 0, 3, 5, false));
  EXPECT_FALSE(movie.record(0, "", 0, 0, 8, 5, false));
}

TEST_F(MovieTest, AFailedStartLeavesTheMovieClosed) {
  const CompressOutput back;
  for (const auto& [compress, words] : {std::pair{0, "record file open "}, {1, "record aviwriteopen "}}) {
    compressoutput = compress;
    CZZMovie movie;
    const std::string name = folder.file(compress ? "none/a.avi" : "none/a.mve");
    EXPECT_NE(logOf([&] {
                EXPECT_FALSE(movie.record(2, name, 0, 0, 64, 48, false));
              }).find(words + name + " failed\n"),
              std::string::npos);
    EXPECT_EQ(movie.mode, CZZMovie::kClosed);
    EXPECT_FALSE(movie.failure().empty());
    EXPECT_EQ(movie.addFrame(CZZimage(64, 48), 0), -1);
  }
}

TEST_F(MovieTest, AnInterlacedSourceGivesTwiceTheFramesAtHalfTheHeight) {
  source.progressive = false;
  source.draw = [](CZZimage& image, int32_t number) {
    paint(image, number);
    image.yOrigin = 6;
  };
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    fill(movie, name, 3, 3);
    EXPECT_EQ(movie.count, 6);
    EXPECT_EQ(movie.image().height, 3);
    EXPECT_TRUE(movie.isFieldMovie());
    EXPECT_EQ(numbersOf(movie), (Numbers{0, 0, 1, 1, 2, 2}));
    for (int32_t i = 0; i < 6; ++i) {
      EXPECT_EQ(movie.frameAt(i).interlace, 1 + i % 2);
      EXPECT_EQ(movie.image().yOrigin, 3);
      EXPECT_EQ(movie.recordOf(i).yOrigin, 6);
    }
  }
}

TEST_F(MovieTest, ColourAndBayerFramesKeepTheirBytes) {
  for (const int32_t colours : {kColour, kBayer})
    for (const char* name : {"", "a.mve"}) {
      source.colours = colours;
      CZZMovie movie;
      fill(movie, name, 4, 6, true);
      EXPECT_EQ(movie.image().colourset, colours);
      EXPECT_EQ(numbersOf(movie), span(2, 6)) << colours;
    }
}

TEST_F(MovieTest, NothingIsAllocatedForAFrame) {
  for (const char* name : {"", "a.mve"})
    for (const bool progressive : {true, false}) {
      source.progressive = progressive;
      CZZMovie movie;
      movie.source = &source;
      movie.ringMode = 1;
      ASSERT_TRUE(movie.record(4, *name ? folder.file(name) : "", 0, 0, kWidth, kHeight, true));
      CZZimage image(kWidth, kHeight);
      const int64_t before = allocations;
      for (int32_t k = 0; k < 50; ++k) movie.addFrame(image, progressive ? 0 : 1 + k % 2);
      EXPECT_EQ(allocations - before, 0);
      movie.stopRecording();
      if (*name) {
        EXPECT_GT(allocations - before, 0);  // counting works
      }
    }
}

// --- killed

struct KillMode {
  const char* name;
  const char* file;
  bool ring, video;
};

class KilledRecording : public MovieTest, public testing::WithParamInterface<KillMode> {
 protected:
  static constexpr int32_t kSide = 256, kRows = 192, kRing = 16;

  static void paintFor(CZZimage& image, int32_t number) {
    if (!GetParam().video) return paint(image, number);
    const Bytes bars = barred(number, image.width, image.height);
    std::copy(bars.begin(), bars.end(), image.pixels);
  }
  static int32_t numberOfFrame(const CZZimage& image) {
    if (!GetParam().video) return exactNumber(image);
    return numberIn(Bytes(image.pixels, image.pixels + kSide * kRows), kSide, kRows);
  }
  // Records until it is killed, and tells of each frame when addFrame has returned.
  [[noreturn]] static void recordForEver(const std::string& path, int pipe) {
    CZZMovie movie;
    movie.ringMode = GetParam().ring;
    compressoutput = GetParam().video;
    CZZimage image(kSide, kRows);
    if (!movie.record(GetParam().ring ? kRing : 20000, path, 0, 0, kSide, kRows, false)) ::_exit(1);
    for (int32_t number = 0; number < 60000; ++number) {
      paintFor(image, number);
      movie.addFrame(image, 0);
      if (::write(pipe, &number, sizeof number) != sizeof number) ::_exit(1);
    }
    for (;;) ::pause();
  }
  // How many frames the child told of.
  static int32_t killAfter(const std::string& path, int32_t microseconds) {
    int ends[2];
    if (::pipe(ends) != 0) return -1;
    const pid_t child = ::fork();
    if (child == 0) recordForEver(path, ends[1]);
    ::close(ends[1]);
    int32_t last = -1, told = -1;
    if (::read(ends[0], &told, sizeof told) == sizeof told) last = told;
    std::jthread reader([&] {  // so that the child never waits for its reader
      while (::read(ends[0], &told, sizeof told) == sizeof told) last = told;
    });
    ::usleep(static_cast<useconds_t>(microseconds));
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    reader.join();
    ::close(ends[0]);
    return last + 1;
  }
  static Numbers framesOf(CZZMovie& movie) {
    Numbers numbers;
    for (int32_t i = 0; i < movie.count; ++i) numbers.push_back(numberOfFrame(movie.frameAt(i)));
    return numbers;
  }
  void expectFrames(const std::string& path, int32_t told, int64_t& found) {
    const Bytes before = bytesOf(path);
    CZZMovie movie;
    ASSERT_TRUE(movie.open(path)) << movie.failure();
    const Numbers numbers = framesOf(movie);
    found += movie.count;
    // In order without a gap; the last one may be there though it was not told of any more.
    ASSERT_EQ(numbers, span(numbers.front(), numbers.front() + movie.count));
    ASSERT_GE(numbers.back() + 1, told);
    ASSERT_LE(numbers.back() + 1, told + 1);
    // A ring may have begun to overwrite its oldest.
    const int32_t first = GetParam().ring ? std::max(0, told + 1 - kRing) : 0;
    ASSERT_LE(numbers.front(), first);
    if (!GetParam().video) {
      ASSERT_EQ(movie.recoveredFrames(), movie.count);
    }
    movie.close();
    ASSERT_EQ(bytesOf(path), before);
    if (GetParam().video) return;
    ASSERT_TRUE(movie.open(path));
    ASSERT_TRUE(movie.save(path)) << movie.failure();
    ASSERT_EQ(framesOf(movie), numbers);
    ASSERT_TRUE(movie.open(path));
    ASSERT_EQ(movie.recoveredFrames(), 0);
    ASSERT_EQ(framesOf(movie), numbers);
  }
};

// TARNVISOR_KILL_RUNS sets how often; ten is for every day.
TEST_P(KilledRecording, LeavesEveryWholeFrameInOrder) {
  const char* wanted = std::getenv("TARNVISOR_KILL_RUNS");
  const int runs = wanted ? std::atoi(wanted) : 10;
  std::mt19937 random(11);
  int64_t told = 0, found = 0;
  for (int run = 0; run < runs && !HasFatalFailure(); ++run) {
    const std::string path = folder.file(std::to_string(run) + GetParam().file);
    const int32_t frames = killAfter(path, static_cast<int32_t>(random() % 30000));
    ASSERT_GT(frames, 0);
    told += std::min(frames, GetParam().ring ? kRing : frames);
    expectFrames(path, frames, found);
    std::remove(path.c_str());
  }
  std::printf("killed while recording %s: %d runs, %lld frames told of and not overwritten, %lld found\n",
              GetParam().name, runs, static_cast<long long>(told), static_cast<long long>(found));
}

INSTANTIATE_TEST_SUITE_P(Modes, KilledRecording,
                         testing::Values(KillMode{"a ring", "a.mve", true, false},
                                         KillMode{"to the end", "b.mve", false, false},
                                         KillMode{"video", "c.avi", false, true}),
                         [](const auto& mode) { return std::string(1, mode.param.file[0]); });

// A ring that is killed while a slot is overwritten, at each step.
TEST_F(MovieTest, ARingTellsWhichSlotWasInDoubt) {
  const struct {
    std::vector<int32_t> trailer;
    Numbers numbers;
  } cases[] = {{{3, ~1}, {1, 2, 0}}, {{~3, ~1}, {2, 0}}, {{~3, ~2}, {0, 1}}, {{~3, ~0}, {1, 2}}};
  for (const auto& c : cases) {
    const std::string path = built(-23, 3, c.trailer, false);
    CZZMovie movie;
    ASSERT_TRUE(movie.open(path));
    EXPECT_EQ(numbersOf(movie), c.numbers);
    EXPECT_EQ(movie.recoveredFrames(), static_cast<int32_t>(c.numbers.size()));
    CZZimage mean;
    EXPECT_TRUE(movie.averageInto(mean, -1, -1));
    ASSERT_TRUE(movie.save(folder.file("copy.mve")));  // the copy is whole
    EXPECT_EQ(bytesOf(path).size(), bytesOf(built(-23, 3, c.trailer, false)).size());
    for (CZZMovie again; int32_t turn : {0, 1}) {
      ASSERT_TRUE(turn ? again.open(folder.file("copy.mve")) : again.open(movie.fileName));
      EXPECT_EQ(numbersOf(again), c.numbers);
      EXPECT_EQ(again.recoveredFrames(), 0);
    }
  }
}

// --- a full disc

class FullDisc {
 public:
  explicit FullDisc(int64_t bytes) {
    handler = std::signal(SIGXFSZ, SIG_IGN);
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit limited{static_cast<rlim_t>(bytes), before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &limited);
  }
  ~FullDisc() {
    ::setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
  }

 private:
  rlimit before{};
  void (*handler)(int) = nullptr;
};

TEST_F(MovieTest, AFullDiscEndsARecordingAndKeepsItsFrames) {
  for (const int64_t spare : {int64_t{0}, int64_t{7}, int64_t{8}, int64_t{kFrame / 2}})
    for (const bool ring : {false, true}) {
      CZZMovie movie;
      movie.source = &source;
      movie.ringMode = ring;
      ASSERT_TRUE(movie.record(ring ? 5 : 50, folder.file("a.mve"), 0, 0, kWidth, kHeight, true));
      {
        const FullDisc full(kStart + 5 * kFrame + spare);
        // A ring of five needs eight bytes more for its end, and goes on in them.
        if (ring && spare >= 8)
          EXPECT_NO_THROW(source.play(0, 30));
        else
          EXPECT_THROW(source.play(0, 30), ArchiveException) << spare;
        movie.stopRecording();
      }
      EXPECT_EQ(numbersOf(movie), ring && spare >= 8 ? span(25, 30) : span(0, 5)) << spare;
      std::printf("full disc in a recording: %d frames found again of 5 that fitted\n", movie.count);
      EXPECT_EQ(movie.recoveredFrames(), spare >= 8 ? 0 : 5);
    }
}

TEST_F(MovieTest, AFullDiscEndsARecordingToVideo) {
  const CompressOutput compress;
  source.draw = [](CZZimage& image, int32_t number) {
    const Bytes bars = barred(number, image.width, image.height);
    std::copy(bars.begin(), bars.end(), image.pixels);
  };
  for (const bool existing : {false, true}) {
    if (existing) putBytes(folder.file("a.avi"), {1, 2, 3});
    CZZMovie movie;
    movie.source = &source;
    ASSERT_TRUE(movie.record(500, folder.file("a.avi"), 0, 0, 64, 48, true));
    {
      const FullDisc full(40000);
      EXPECT_THROW(source.play(0, 500), ArchiveException);
      movie.stopRecording();
    }
    EXPECT_GT(movie.count, 3);
    for (int32_t i = 0; i < movie.count; ++i)
      EXPECT_EQ(numberIn(Bytes(movie.frameAt(i).pixels, movie.image().pixels + 64 * 48), 64, 48), i);
    std::printf("full disc in a recording to video: %d frames found again\n", movie.count);
    if (existing) {
      EXPECT_EQ(bytesOf(folder.file("a.avi")), (Bytes{1, 2, 3}));
    }
    movie.close();
    std::remove(folder.file("a.avi").c_str());
  }
}

TEST_F(MovieTest, AFullDiscInAPassLeavesTheMovieAndTheFramesSoFar) {
  const std::string a = recorded("a.mve", 20);
  const Bytes whole = bytesOf(a);
  CZZMovie movie;
  ASSERT_TRUE(movie.open(a));
  {
    const FullDisc full(kStart + 8 * kFrame + 50);
    ASSERT_TRUE(movie.openProcessing(true));
    for (int32_t i = 0; i < 21; ++i) movie.frameAt(i).invert({});
    EXPECT_TRUE(movie.processingFailed());
    EXPECT_FALSE(movie.closeProcessing());
  }
  EXPECT_FALSE(movie.failure().empty());
  EXPECT_EQ(movie.fileName, a);
  EXPECT_EQ(exactNumber(movie.image()), movie.current);
  EXPECT_EQ(numbersOf(movie), span(0, 20));
  EXPECT_EQ(bytesOf(a), whole);
  CZZMovie left;
  ASSERT_TRUE(left.open(movie.leftOver())) << movie.leftOver();
  EXPECT_EQ(left.count, 8);
  left.frameAt(7).invert({});
  EXPECT_EQ(exactNumber(left.image()), 7);
  EXPECT_EQ(left.recoveredFrames(), 0);
  std::printf("full disc in a pass: %d frames found of 8 that fitted, %d of 20 before it\n", left.count,
              movie.count);
}

}  // namespace
}  // namespace tarnvisor
