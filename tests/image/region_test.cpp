// Operations on masks.

#include "image/testimages.h"

namespace tarnvisor {
namespace {

// One character a pixel: '.' is 0, a digit its tenfold.
void draw(CZZimage& image, const std::vector<std::string>& rows) {
  image.resizedata(static_cast<int32_t>(rows[0].size()), static_cast<int32_t>(rows.size()), 1);
  fillWith(image, [&](int x, int y) {
    const char c = rows[static_cast<size_t>(y)][static_cast<size_t>(x)];
    return c == '.' ? 0 : (c - '0') * 10;
  });
}

std::vector<std::string> drawn(const CZZimage& image) {
  std::vector<std::string> rows;
  for (int y = 0; y < image.height; ++y) {
    rows.emplace_back();
    for (int x = 0; x < image.width; ++x)
      rows.back() += image.row(y)[x] ? static_cast<char>('0' + image.row(y)[x] / 10) : '.';
  }
  return rows;
}

TEST(Masks, ValuesAreReplacedCountedAndFramed) {
  CZZimage image;
  draw(image, {"....", ".12.", ".1.."});
  Point origin, corner;
  double x = 0, y = 0;
  EXPECT_EQ(image.countValue(10), 2);
  ASSERT_TRUE(image.boundingBox(10, origin, corner));
  EXPECT_EQ(origin, (Point{1, 1}));
  EXPECT_EQ(corner, (Point{1, 2}));
  ASSERT_TRUE(image.centroid(10, x, y));
  EXPECT_EQ(std::pair(x, y), std::pair(1.0, 1.5));
  EXPECT_FALSE(image.boundingBox(99, origin, corner));
  EXPECT_FALSE(image.centroid(99, x, y));
  image.replaceValue(10, 30);
  EXPECT_EQ(drawn(image), (std::vector<std::string>{"....", ".32.", ".3.."}));
  image.binarise(30, 10, 50);
  EXPECT_EQ(drawn(image), (std::vector<std::string>{"1111", "1511", "1511"}));
}

TEST(FloodFill, FillsOneRegionAndLeavesNoPathBehind) {
  CZZimage image;
  draw(image, {"1111111", "1..1..1", "1.1.1.1", "1.....1", "1111111"});
  image.floodFill(40, 1, 1);
  EXPECT_EQ(drawn(image), (std::vector<std::string>{"1111111", "1441441", "1414141", "1444441", "1111111"}));
}

TEST(FloodFill, NeverMovesUpIntoTheFirstRow) {
  CZZimage image;
  draw(image, {"...", "...", "..."});
  image.floodFill(50, 1, 2);
  EXPECT_EQ(drawn(image), (std::vector<std::string>{"...", "555", "555"}));
  image.floodFill(60, 0, 0);  // reached when it starts there
  EXPECT_EQ(drawn(image)[0], "666");
  ASSERT_FALSE(image.fillFirstZero(70));
}

TEST(FloodFill, WorksForEveryPairOfValues) {
  for (int old = 0; old < 256; old += 5)
    for (int fresh = 0; fresh < 256; fresh += 3) {
      CZZimage image(9, 7);
      image.fill(static_cast<uint8_t>(old));
      image.floodFill(static_cast<uint8_t>(fresh), 4, 0);
      EXPECT_EQ(image.countValue(static_cast<uint8_t>(fresh)), 63) << old << " " << fresh;
    }
}

TEST(FloodFill, TheFirstZeroInRasterOrderIsFilled) {
  CZZimage image;
  draw(image, {"11111", "11.1.", "11.1."});
  ASSERT_TRUE(image.fillFirstZero(20));
  EXPECT_EQ(drawn(image)[2], "1121.");
  ASSERT_TRUE(image.fillFirstZero(30));
  EXPECT_EQ(drawn(image)[2], "11213");
  EXPECT_FALSE(image.fillFirstZero(30));
}

}  // namespace
}  // namespace tarnvisor
