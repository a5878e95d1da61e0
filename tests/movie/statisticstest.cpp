// Means, deviations and the sharpest of a movie's frames, held to plain loops.
#include "base/parallel.h"
#include "image/accumulate.h"
#include "movie/bytesums.h"
#include "movietests.h"

namespace tarnvisor {
namespace {

using Origins = std::vector<Point>;

// Where frames lie; beside each other, over each other, left of and above the first.
const Origins kMoved = {{0, 0}, {5, 4}, {-3, 2}, {5, 4}, {40, -6}, {0, 2}};

// The mean by accumulate and writeAverage, channel by channel.
void expectMean(CZZMovie& movie, const CZZimage& mean, const std::vector<int32_t>& indices,
                const Point& corner) {
  const int32_t channels = mean.bytesPerPixel, rowsPerRow = mean.isField() ? 2 : 1;
  CZZimage each, plane, canvas(mean.width, mean.height);
  for (int32_t c = 0; c < channels; ++c) {
    std::vector<int32_t> sum(static_cast<size_t>(mean.width) * static_cast<size_t>(mean.height)), count = sum;
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

class MovieStatistics : public MovieTest {
 protected:
  ~MovieStatistics() override { setParallelThreads(0); }

  // Tall enough for three threads.
  void make(CZZMovie& movie, const std::string& name, const Origins& origins) {
    source.draw = [&](CZZimage& image, int32_t number) {
      paint(image, number);
      const Point at = origins[static_cast<size_t>(number)];
      image.xOrigin = at.x;
      image.yOrigin = at.y;
    };
    movie.source = &source;
    const auto n = static_cast<int32_t>(origins.size());
    ASSERT_TRUE(movie.record(n, name.empty() ? "" : folder.file(name), 0, 0, 24, 50, true));
    source.play(0, n);
    movie.stopRecording();
  }
  void expectMeans(CZZMovie& movie) {
    for (const auto& [first, last] : {std::pair{-1, -1}, {1, 4}}) {
      const CZZMovie::Range range = movie.clamped(first, last);
      const CZZMovie::Extents extents = movie.frameExtents(first, last);
      const Point corner{static_cast<int32_t>(extents.x), static_cast<int32_t>(extents.y)};
      for (const int threads : {1, 2, 3}) {
        setParallelThreads(threads);
        CZZimage mean;
        ASSERT_TRUE(movie.averageInto(mean, first, last)) << movie.failure();
        EXPECT_EQ(mean.frameOrigin(), corner);
        expectMean(movie, mean, span(range.first, range.last), corner);
      }
    }
  }
};

TEST_F(MovieStatistics, TheExtentsHoldEveryFrame) {
  CZZMovie movie;
  make(movie, "", kMoved);
  const struct {
    int32_t first, last;
    int64_t width, height, x, y;
  } cases[] = {{-1, -1, 67, 60, -3, -6}, {0, 2, 29, 54, 0, 0}, {4, 5, 24, 50, 40, -6}, {3, 3, 0, 0, 0, 0}};
  for (const auto& c : cases) {
    const CZZMovie::Extents extents = movie.frameExtents(c.first, c.last);
    EXPECT_EQ(extents.width, c.width);
    EXPECT_EQ(extents.height, c.height);
    EXPECT_EQ(extents.x, c.x);
    EXPECT_EQ(extents.y, c.y);
  }
  CZZimage image;
  EXPECT_FALSE(movie.averageInto(image, 3, 3));
  CZZMovie own;  // each frame's header is read for it
  ASSERT_TRUE(own.open(built(-22, 3, {3, 3}, true)));
  EXPECT_EQ(own.frameExtents(-1, -1).width, kWidth + 2);
  EXPECT_EQ(own.frameExtents(-1, -1).y, -2);
}

TEST_F(MovieStatistics, TheMeanIsThatOfThePlainLoop) {
  for (const int32_t colours : {kGrey, kColour, kBayer})
    for (const bool progressive : {true, false})
      for (const char* name : {"", "a.mve"}) {
        source.colours = colours;
        source.progressive = progressive;
        CZZMovie movie;
        make(movie, name, kMoved);
        expectMeans(movie);
      }
}

TEST_F(MovieStatistics, TheMeanOfOtherFilesIsTheSame) {
  CZZMovie headers;
  ASSERT_TRUE(headers.open(built(-22, 5, {5, 2}, true)));
  expectMeans(headers);
  std::string report;
  CZZMovie movie;
  make(movie, "", Origins(6));
  ASSERT_TRUE(movie.saveAVI(folder.file("a.avi"), 25, 0, 6, 1, false, report));
  ASSERT_TRUE(movie.open(folder.file("a.avi")));
  for (int32_t i = 0; i < 6; ++i) movie.setOrigin(i, kMoved[static_cast<size_t>(i)]);
  expectMeans(movie);
}

TEST(ByteSums, WideVectorsAddAsThePlainLoopDoes) {
  std::mt19937 random(5);
  for (size_t count = 0; count < 140; ++count) {
    Bytes bytes(count + 1);
    std::vector<uint16_t> wide(count + 2, 65000), plain = wide;
    for (uint8_t& byte : bytes) byte = static_cast<uint8_t>(random());
    for (int times = 0; times < 3; ++times) {
      kernels::addBytes(bytes.data() + 1, count, wide.data() + 1);
      kernels::plain::addBytes(bytes.data() + 1, count, plain.data() + 1);
    }
    ASSERT_EQ(wide, plain) << count;
  }
}

TEST_F(MovieStatistics, ManyBrightFramesDontOverflow) {
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    source.draw = [](CZZimage& image, int32_t number) { image.fill(number % 100 ? 255 : 254); };
    fill(movie, name, 700, 700);
    CZZimage mean;
    ASSERT_TRUE(movie.averageInto(mean, -1, -1));
    EXPECT_EQ(mean.countValue(254), kFrame);  // 255 * 700 less 7, by 700
  }
}

TEST_F(MovieStatistics, FramesFarApartGiveNoImageAndAVastCanvasTheRightOne) {
  CZZMovie movie;
  make(movie, "", Origins(2));
  CZZimage mean;
  movie.setOrigin(0, {INT32_MIN, INT32_MIN});
  movie.setOrigin(1, {INT32_MAX, INT32_MAX});
  EXPECT_FALSE(movie.averageInto(mean, -1, -1));
  EXPECT_FALSE(movie.failure().empty());
  const auto sharpness = [](const CZZimage&) { return 1.0; };
  EXPECT_FALSE(movie.bestFocusInto(mean, sharpness, 2, -1, -1));
  movie.setOrigin(1, {INT32_MIN, INT32_MIN});
  EXPECT_TRUE(movie.bestFocusInto(mean, sharpness, 2, -1, -1));  // at once, however far out
  movie.setOrigin(0, {0, 0});
  movie.setOrigin(1, {4976, 4950});  // summed in bands
  ASSERT_TRUE(movie.averageInto(mean, -1, -1));
  EXPECT_EQ(mean.width, 5000);
  CZZimage corner;
  movie.getImage(1, corner);
  for (int32_t y = 0; y < 50; ++y)
    ASSERT_TRUE(std::equal(corner.row(y), corner.row(y) + 24, mean.row(4950 + y) + 4976));
  EXPECT_EQ(mean.row(2500)[2500], 0);
}

TEST_F(MovieStatistics, TheDeviationIsTheRootOfTheMeanSquare) {
  const struct {
    Bytes levels;
    uint8_t deviation;
  } cases[] = {{{10, 20}, 5}, {{10, 10, 10, 30}, 8}, {{0, 255}, 127}, {{7}, 0}};  // 8.66 is cut
  for (const auto& c : cases) {
    source.draw = [&](CZZimage& image, int32_t number) { image.fill(c.levels[static_cast<size_t>(number)]); };
    const auto n = static_cast<int32_t>(c.levels.size());
    CZZMovie movie;
    fill(movie, "a.mve", n, n);
    CZZimage image;
    ASSERT_TRUE(movie.deviationInto(image, -1, -1));
    EXPECT_EQ(image.countValue(c.deviation), kFrame);
  }
}

TEST_F(MovieStatistics, EachCellTakesItsSharpestFrame) {
  // Cells of 12 by 25 from the corner on.
  const Origins origins = {{0, 0}, {1, 1}, {11, 24}, {13, 5}, {12, 7}, {26, 26}, {9, 3}, {30, 40}};
  const std::vector<double> focus = {90, 2, 9, 1, 80, 0, 9, 0.5};
  const auto measure = [&](const CZZimage& image) {
    return focus[static_cast<size_t>(image.frameNumber / 2)];
  };
  for (const auto& [shift, sharpest] : std::vector<std::pair<int32_t, std::vector<int32_t>>>{
           {0, {2, 3, 7}}, {-5, {2, 3, 7}}, {20, {2}}, {40, {}}}) {
    // 0 lies on a corner and 4 on an edge; 1 is less sharp than 2, 6 as sharp but later; 5 has no focus at
    // all. The walk ends below the room for movement (30, 40), wherever the corner lies: a required oddity.
    Origins moved = origins;
    for (Point& at : moved) at = {at.x + shift, at.y + shift};
    CZZMovie movie;
    make(movie, "", moved);
    CZZimage image;
    ASSERT_TRUE(movie.bestFocusInto(image, measure, 2, -1, -1));
    EXPECT_EQ(image.width, 54);
    EXPECT_EQ(image.height, 90);
    EXPECT_EQ(image.frameOrigin(), (Point{shift, shift}));
    expectMean(movie, image, sharpest, {shift, shift});
  }
}

}  // namespace
}  // namespace tarnvisor
