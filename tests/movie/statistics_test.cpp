// Means, deviations and the sharpest of a movie's frames, held to plain loops.
#include "base/parallel.h"
#include "movie/bytesums.h"
#include "movie/movieimage.h"
#include "movietests.h"

namespace tarnvisor {
namespace {

using Origins = std::vector<Point>;

// Where frames lie; beside each other, over each other, left of and above the first.
const Origins kMoved = {{0, 0}, {5, 4}, {-3, 2}, {5, 4}, {40, -6}, {0, 2}};

// The mean by accumulate and writeAverage, channel by channel.
void expectMean(CZZMovie& movie, const CZZimage& mean, const Numbers& indices, const Point& corner) {
  const int32_t channels = mean.bytesPerPixel, rowsPerRow = mean.isField() ? 2 : 1;
  CZZimage each, plane, canvas(mean.width, mean.height);
  for (int32_t c = 0; c < channels; ++c) {
    Numbers sum(static_cast<size_t>(mean.width) * static_cast<size_t>(mean.height)), count = sum;
    for (const int32_t i : indices) {
      movie.getImage(i, each);
      ASSERT_TRUE(plane.resizedata(each.width, each.height, 1));
      for (int32_t y = 0; y < each.height; ++y)
        for (int32_t x = 0; x < each.width; ++x) plane.row(y)[x] = each.row(y)[x * channels + c];
      plane.xOrigin = each.xOrigin - corner.x;
      plane.yOrigin = (movie.recordOf(i).yOrigin - corner.y) / rowsPerRow;
      plane.accumulate(sum.data(), count.data(), mean.width);
    }
    canvas.writeAverage(sum.data(), count.data(), mean.width);
    for (int32_t y = 0; y < mean.height; ++y)
      for (int32_t x = 0; x < mean.width; ++x)
        ASSERT_EQ(mean.row(y)[x * channels + c], canvas.row(y)[x]) << x << "," << y << " of channel " << c;
  }
}

class MovieStatistics : public Movie {
 protected:
  // All of it; null after a failure.
  static std::unique_ptr<CZZimage> made(MovieImage&& work) {
    while (work.next()) continue;
    return work.take();
  }
  static std::unique_ptr<CZZimage> meanOf(CZZMovie& movie, int32_t first = -1, int32_t last = -1) {
    return made(MovieMean(movie, first, last));
  }
  ~MovieStatistics() override { setParallelThreads(0); }

  // Tall enough for three threads.
  void make(CZZMovie& movie, const std::string& name, const Origins& origins) {
    source.draw = [&](CZZimage& image, int32_t number) {
      paint(image, number);
      image.xOrigin = origins[static_cast<size_t>(number)].x;
      image.yOrigin = origins[static_cast<size_t>(number)].y;
    };
    const auto n = static_cast<int32_t>(origins.size());
    fill(movie, name, n, n, false, 24, 50);
  }
  void expectMeans(CZZMovie& movie) {
    for (const auto& [first, last] : {std::pair{0, movie.count}, {1, 4}})
      for (const int threads : {1, 2, 3}) {
        setParallelThreads(threads);
        const auto mean = meanOf(movie, first, last);
        ASSERT_TRUE(mean);
        expectMean(movie, *mean, span(first, last), mean->frameOrigin());
      }
  }
};

TEST_F(MovieStatistics, TheExtentsHoldEveryFrame) {
  CZZMovie movie;
  make(movie, "", kMoved);
  const std::tuple<int32_t, int32_t, int64_t, int64_t, int64_t, int64_t> cases[] = {
      {-1, -1, 67, 60, -3, -6}, {0, 2, 29, 54, 0, 0}, {4, 5, 24, 50, 40, -6}, {3, 3, 0, 0, 0, 0}};
  for (const auto& [first, last, width, height, x, y] : cases) {
    const CZZMovie::Extents e = movie.frameExtents(first, last);
    EXPECT_THAT((std::array{e.width, e.height, e.x, e.y}), ElementsAre(width, height, x, y)) << first;
  }
  EXPECT_FALSE(meanOf(movie, 3, 3));
  ASSERT_TRUE(movie.open(built(-22, 3, {3, 3}, true)));  // each frame's header is read for it
  EXPECT_EQ(movie.frameExtents(-1, -1).width, kWidth + 2);
  EXPECT_EQ(movie.frameExtents(-1, -1).y, -2);
}

TEST_F(MovieStatistics, TheMeanIsThatOfThePlainLoop) {
  CZZMovie movie;
  for (const int32_t colours : {kGrey, kColour, kBayer})
    for (const bool progressive : {true, false})
      for (const char* name : {"", "a.mve"}) {
        source.colours = colours;
        source.progressive = progressive;
        make(movie, name, kMoved);
        expectMeans(movie);
      }
  ASSERT_TRUE(movie.open(built(-22, 5, {5, 2}, true)));
  expectMeans(movie);
  std::string report;
  ASSERT_TRUE(movie.saveAVI(folder.file("a.avi"), 25, 0, 5, 1, nullptr, report));
  ASSERT_TRUE(movie.open(folder.file("a.avi")));
  for (int32_t i = 0; i < 5; ++i) movie.setOrigin(i, kMoved[static_cast<size_t>(i)]);
  expectMeans(movie);
}

TEST_F(MovieStatistics, WideVectorsAddAsThePlainLoopDoes) {
  std::mt19937 random(5);
  for (size_t count = 0; count < 140; ++count) {
    Bytes bytes(count + 7);
    std::vector<const uint8_t*> runs;
    for (size_t run = 0; run < 1 + count % 6; ++run) runs.push_back(bytes.data() + run);
    std::vector<uint16_t> wide(count + 2, 65300), plain = wide;
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    kernels::addBytes(runs, count, wide.data() + 1);
    kernels::plain::addBytes(runs, count, plain.data() + 1);
    ASSERT_EQ(wide, plain) << count;
  }
  source.draw = [](CZZimage& image, int32_t number) { image.fill(number % 100 ? 255 : 254); };
  CZZMovie movie;
  fill(movie, "a.mve", 700, 700);  // more than 16 bits hold
  EXPECT_EQ(meanOf(movie)->countValue(254), kFrame);
}

TEST_F(MovieStatistics, FramesFarApartGiveNoImageAndAVastCanvasTheRightOne) {
  CZZMovie movie;
  CZZimage second;
  make(movie, "", Origins(2));
  const auto sharpness = [](const CZZimage&) { return 1.0; };
  const auto place = [&](const Point& first, const Point& last) {
    movie.setOrigin(0, first);
    movie.setOrigin(1, last);
  };
  place({INT32_MIN, INT32_MIN}, {INT32_MAX, INT32_MAX});
  EXPECT_FALSE(made(MovieSharpest(movie, sharpness, -1, -1)));
  MovieMean tooFar(movie, -1, -1);
  EXPECT_FALSE(tooFar.next());
  EXPECT_FALSE(tooFar.take());
  EXPECT_EQ(tooFar.failure(), "The frames lie too far apart for one image.");
  place({INT32_MIN, INT32_MIN}, {INT32_MIN, INT32_MIN});
  EXPECT_TRUE(made(MovieSharpest(movie, sharpness, -1, -1)));  // at once, however far out
  place({0, 0}, {4976, 4950});                                 // summed in parts
  const auto mean = meanOf(movie);
  ASSERT_TRUE(mean);
  movie.getImage(1, second);
  for (int32_t y = 0; y < 50; ++y)
    ASSERT_TRUE(std::equal(second.row(y), second.row(y) + 24, mean->row(4950 + y) + 4976));
  EXPECT_EQ(mean->width, 5000);
  EXPECT_GT(mean->countValue(0), 5000 * 5000 - 2 * 24 * 50);
}

TEST_F(MovieStatistics, AnImageThatCannotBeReadEndsThemInWords) {
  CZZMovie movie;
  make(movie, "a.mve", Origins(9));
  ASSERT_TRUE(movie.file->cutTo(movie.dataOffset + 7 * movie.frameBytes));
  const auto sharpness = [](const CZZimage&) { return 1.0; };
  const std::unique_ptr<MovieImage> all[] = {std::make_unique<MovieMean>(movie, -1, -1),
                                             std::make_unique<MovieDeviation>(movie, -1, -1),
                                             std::make_unique<MovieSharpest>(movie, sharpness, -1, -1)};
  for (const auto& work : all) {
    while (work->next()) continue;
    EXPECT_EQ(work->failure(), "image 7 can't be read") << work->words();
    EXPECT_FALSE(work->take());
  }
}

TEST_F(MovieStatistics, TheDeviationIsTheRootOfTheMeanSquare) {
  const std::pair<Bytes, uint8_t> cases[] = {{{10, 20}, 5}, {{10, 10, 10, 30}, 8}, {{0, 255}, 127}, {{7}, 0}};
  for (const auto& [levels, deviation] : cases) {  // 8.66 and 127.5 are cut
    source.draw = [&](CZZimage& image, int32_t number) { image.fill(levels[static_cast<size_t>(number)]); };
    const auto n = static_cast<int32_t>(levels.size());
    CZZMovie movie;
    fill(movie, "a.mve", n, n);
    EXPECT_EQ(made(MovieDeviation(movie, -1, -1))->countValue(deviation), kFrame);
  }
}

// Cells of 12 by 25 from the corner on. 0 lies on a corner and 4 on an edge; 1 is less sharp than 2, 6 as
// sharp but later; 5 has no focus at all.
TEST_F(MovieStatistics, EachCellTakesItsSharpestFrame) {
  const Origins origins = {{0, 0}, {1, 1}, {11, 24}, {13, 5}, {12, 7}, {26, 26}, {9, 3}, {30, 40}};
  const std::vector<double> focus = {90, 2, 9, 1, 80, 0, 9, 0.5};
  const auto measure = [&](const CZZimage& image) {
    return focus[static_cast<size_t>(image.frameNumber / 2)];
  };
  // The walk ends below the room for movement (30, 40), wherever the corner lies: a required oddity.
  const std::pair<int32_t, Numbers> cases[] = {{0, {2, 3, 7}}, {-5, {2, 3, 7}}, {20, {2}}, {40, {}}};
  for (const auto& [shift, sharpest] : cases) {
    Origins moved = origins;
    for (Point& at : moved) at = {at.x + shift, at.y + shift};
    CZZMovie movie;
    make(movie, "", moved);
    const auto image = made(MovieSharpest(movie, measure, -1, -1));
    ASSERT_TRUE(image);
    EXPECT_EQ(image->frameRect(), (Rect{shift, shift, shift + 54, shift + 90}));
    expectMean(movie, *image, sharpest, {shift, shift});
  }
}

}  // namespace
}  // namespace tarnvisor
