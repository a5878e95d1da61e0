#include "analysis/trace.h"

#include "analysis/finder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

using Picture = std::vector<std::string>;

// One digit a pixel, times 20.
void paint(CZZimage& image, const Picture& rows) {
  ASSERT_TRUE(image.resizedata(static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size()), 1));
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x)
      image.row(y)[x] =
          static_cast<uint8_t>(20 * (rows[static_cast<size_t>(y)][static_cast<size_t>(x)] - '0'));
}

std::vector<uint8_t> pixelsOf(const CZZimage& image) {
  std::vector<uint8_t> all;
  for (int32_t y = 0; y < image.height; ++y) all.insert(all.end(), image.row(y), image.row(y) + image.width);
  return all;
}

// The walk as it is told, with each window counted from nothing.
void plainTrace(CZZimage& c, Point at, int32_t window) {
  CZZimage s;
  s.copyImage(c);
  s.xOrigin = s.yOrigin = 0;
  std::vector<uint8_t> thresholds(static_cast<size_t>(c.width) * static_cast<size_t>(c.height));
  c.fill(255);
  c.row(at.y)[at.x] = 0;
  const int32_t dx[] = {0, 1, 1, 1, 0, -1, -1, -1};
  const int32_t dy[] = {-1, -1, 0, 1, 1, 1, 0, -1};
  for (;;) {
    uint8_t& t =
        thresholds[static_cast<size_t>(at.y) * static_cast<size_t>(c.width) + static_cast<size_t>(at.x)];
    if (t == 0) {
      const int32_t half = window / 2;
      const int32_t row = c.isField() ? 2 * at.y : at.y;
      t = static_cast<uint8_t>(
          isodata(*s.makeChild({at.x - half, row - half, at.x + half, row + half})).threshold);
    }
    int move = 0;
    for (; move < 8; ++move) {
      const int32_t x = at.x + dx[move];
      const int32_t y = at.y + dy[move];
      if (x >= 0 && x < c.width && y >= 0 && y < c.height && c.row(y)[x] == 255 && s.row(y)[x] <= t) break;
    }
    if (move < 8) {
      at = {at.x + dx[move], at.y + dy[move]};
      c.row(at.y)[at.x] = static_cast<uint8_t>(move + 1);
      continue;
    }
    uint8_t& code = c.row(at.y)[at.x];
    if (code < 1 || code > 8) break;
    at = {at.x - dx[code - 1], at.y - dy[code - 1]};
    code = 0;
  }
  c.andWith(s);
}

TEST(Trace, BlackensWhatTheSeedReachesAndKeepsTheRest) {
  // A vessel that turns and is joined over a corner; a dark spot apart from it.
  const Picture before{"9999999999", "9929999919", "9929999999", "9992999999", "9992229999"};
  const Picture vessel{"9999999999", "9909999919", "9909999999", "9990999999", "9990009999"};
  const Picture seedAlone{"9999990999", "9929999919", "9929999999", "9992999999", "9992229999"};
  for (const Point seed : {Point{2, 1}, {3, 3}, {5, 4}, {6, 0}}) {
    CZZimage image, expected;
    paint(image, before);
    paint(expected, seed.y == 0 ? seedAlone : vessel);
    ASSERT_TRUE(traceVessel(image, seed, 100));
    EXPECT_EQ(pixelsOf(image), pixelsOf(expected)) << seed.x;
  }
}

TEST(Trace, TheWindowIsSquareHalfOpenAndCutAtTheSides) {
  const CZZimage frame(200, 100);
  const CZZimage field(200, 100, -1, 1);
  const Rect whole{0, 0, 200, 100};
  const std::tuple<const CZZimage&, Point, int32_t, Rect> cases[] = {
      {frame, {60, 50}, 40, {40, 30, 80, 70}},
      {frame, {60, 50}, 41, {40, 30, 80, 70}},
      {frame, {60, 50}, -40, {40, 30, 80, 70}},
      {frame, {0, 99}, 100, {0, 49, 50, 100}},
      {frame, {60, 50}, 0, whole},
      {frame, {60, 50}, 1, whole},
      {frame, {60, 50}, INT32_MAX, whole},
      {frame, {60, 50}, INT32_MIN, whole},
      {field, {60, 25}, 40, {40, 15, 80, 35}},
  };
  for (const auto& [image, at, window, expected] : cases)
    EXPECT_EQ(traceWindow(image, at, window), expected) << window;
}

TEST(Trace, IsTheWalkWithEachWindowCountedFromNothing) {
  std::mt19937 random(5);
  for (int round = 0; round < 60; ++round) {
    const auto below = [&](int32_t n) { return static_cast<int32_t>(random() % static_cast<uint32_t>(n)); };
    CZZimage parent(40 + below(60), 40 + below(60), -1, round % 5 == 4 ? 2 : 0);
    const int32_t levels = round % 3 == 0 ? 3 : 250;
    for (int32_t y = 0; y < parent.height; ++y)
      for (int32_t x = 0; x < parent.width; ++x)
        parent.row(y)[x] = static_cast<uint8_t>(below(levels) * (x / 9 % 2 == 0 ? 1 : 0) + below(5));
    CZZimage twin;
    twin.copyImage(parent);
    const Rect part = round % 2 == 0 ? Rect{} : Rect{10, 10, 37, 39};
    const auto child = parent.makeChild(part);
    const auto twinChild = twin.makeChild(part);
    const Point seed{below(child->width), below(child->height)};
    const int32_t window = std::array{2, 7, 16, 100, 0, -9}[static_cast<size_t>(round % 6)];
    ASSERT_TRUE(traceVessel(*child, seed, window));
    plainTrace(*twinChild, seed, window);
    ASSERT_EQ(pixelsOf(parent), pixelsOf(twin)) << round;
  }
}

TEST(Trace, AnswersNoWithoutAGreyPixelUnderTheSeed) {
  CZZimage grey(10, 8);
  grey.fill(70);
  CZZimage colour(10, 8, -1, 0, kColour);
  CZZimage nothing;
  for (const Point seed : {Point{-1, 0}, {10, 0}, {0, 8}, {INT32_MIN, INT32_MAX}})
    EXPECT_FALSE(traceVessel(grey, seed, 100));
  EXPECT_EQ(grey.countValue(70), 80);
  EXPECT_FALSE(traceVessel(colour, {1, 1}, 100));
  EXPECT_FALSE(traceVessel(nothing, {0, 0}, 100));
}

}  // namespace
}  // namespace tarnvisor
