// Metafiles put together by hand, whole and damaged, and the Chalkley drawing that is shipped.
#include "drawing/metafile.h"

#include "base/bytes.h"
#include "base/files.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

void word(Bytes& to, int32_t value) {
  to.push_back(static_cast<uint8_t>(value));
  to.push_back(static_cast<uint8_t>(value >> 8));
}

Bytes record(int32_t function, std::initializer_list<int32_t> words, int32_t length = -1) {
  Bytes bytes;
  const int32_t size = length >= 0 ? length : static_cast<int32_t>(words.size()) + 3;
  word(bytes, size & 0xffff);
  word(bytes, size >> 16);
  word(bytes, function);
  for (const int32_t w : words) word(bytes, w);
  return bytes;
}

Bytes metafile(std::initializer_list<Bytes> records) {
  Bytes bytes(18, 0);
  bytes[0] = 1;
  bytes[2] = 9;
  for (const Bytes& r : records) bytes.insert(bytes.end(), r.begin(), r.end());
  putLittle(bytes.data() + 6, static_cast<uint32_t>(bytes.size() / 2));
  return bytes;
}

std::vector<std::string> played(const Bytes& file) {
  RecordingCanvas canvas;
  playMetafile(file, canvas, {100, 200, 300, 400}, 0xabc);
  return canvas.calls;
}

// A window of 0..100 both ways, on a target of twice that size.
const Bytes kExtent = record(0x20c, {100, 100});

TEST(Metafile, PlaysEachKindOfDrawingRecord) {
  EXPECT_THAT(
      played(metafile({kExtent, record(0x214, {20, 10}), record(0x213, {40, 30}), record(0x213, {50, 5}),
                       record(0x41b, {40, 30, 20, 10}), record(0x418, {40, 30, 20, 10}),
                       record(0x324, {3, 0, 0, 9, 0, 9, 9}), record(0x325, {2, 1, 2, 3, 4}),
                       record(0x538, {2, 2, 2, 0, 0, 1, 1, 5, 5, 6, 6}), record(0x41f, {0x44, 0, 7, 8}),
                       record(0x209, {0x55, 0}), record(0x521, {3, 0x4241, 0x43, 10, 20}), record(0, {})})),
      ElementsAre("pen abc width 1", "polyline 120,240 160,280", "pen abc width 1",
                  "polyline 160,280 110,300", "pen abc width 1", "rectangle 120,240-160,280",
                  "pen abc width 1", "ellipse 120,240-160,280", "pen abc width 1",
                  "polygon 100,200 118,200 118,218", "pen abc width 1", "polyline 102,204 106,208",
                  "pen abc width 1", "polygon 100,200 102,202", "pen abc width 1", "polygon 110,210 112,212",
                  "pen 44 width 1", "point 116,214", "text 140,220 55 \"ABC\""));
}

TEST(Metafile, CountsObjectsOfAllKindsInTheLowestFreePlace) {
  const Bytes line = record(0x325, {2, 0, 0, 1, 1});
  const auto pens = [&](std::initializer_list<Bytes> records) {
    std::vector<std::string> found;
    for (const std::string& call : played(metafile(records)))
      if (call.starts_with("pen")) found.push_back(call);
    return found;
  };
  const Bytes brush = record(0x2fc, {0, 0, 0, 0}), red = record(0x2fa, {0, 1, 0, 0xff, 0}),
              blue = record(0x2fa, {1, 1, 0, 0, 0xff}), none = record(0x2fa, {5, 1, 0, 0, 0});
  const auto select = [](int32_t i) { return record(0x12d, {i}); };
  const auto remove = [](int32_t i) { return record(0x1f0, {i}); };
  EXPECT_THAT(pens({kExtent, brush, red, select(1), line, select(0), line}),
              ElementsAre("pen ff width 1", "pen ff width 1"));
  EXPECT_THAT(pens({kExtent, brush, red, remove(0), blue, select(0), line, select(1), line}),
              ElementsAre("pen ff0000 width 1 dashed", "pen ff width 1"));
  EXPECT_THAT(pens({kExtent, none, select(0), line}), IsEmpty());
  EXPECT_THAT(pens({kExtent, select(7), remove(9), line}), ElementsAre("pen abc width 1"));
}

TEST(Metafile, MapsTheWindowWithItsOriginAndItsDirection) {
  // The origin at the lower left, y upward.
  EXPECT_THAT(played(metafile(
                  {record(0x20b, {50, -50}), record(0x20c, {-100, 100}), record(0x325, {2, -50, 50, 0, 0})})),
              ElementsAre("pen abc width 1", "polyline 100,200 200,300"));
}

TEST(Metafile, WithoutAnExtentCoversTheTargetWithWhatItDraws) {
  EXPECT_THAT(played(metafile({record(0x20b, {9, 9}), record(0x325, {2, -10, 5, 10, 45})})),
              ElementsAre("pen abc width 1", "polyline 100,200 300,400"));
  EXPECT_THAT(played(metafile({record(0x325, {2, 5, 5, 5, 9})})), IsEmpty());
}

TEST(Metafile, DrawsAnArcAnticlockwiseFromItsStartToItsEnd) {
  // The upper right quarter, from three o'clock to twelve.
  const auto calls = played(metafile({kExtent, record(0x817, {0, 50, 50, 100, 100, 100, 0, 0})}));
  ASSERT_THAT(calls, SizeIs(2));
  EXPECT_THAT(calls[1], StartsWith("polyline 300,300 "));
  EXPECT_TRUE(calls[1].ends_with(" 200,200")) << calls[1];
  for (const int32_t function : {0x81a, 0x830})
    EXPECT_THAT(played(metafile({kExtent, record(function, {0, 50, 50, 100, 100, 100, 0, 0})}))[1],
                StartsWith("polygon 300,300 "));
}

TEST(Metafile, PrecededByItsPlaceIsReadFromItsHeaderOn) {
  const Bytes plain = metafile({kExtent, record(0x325, {2, 0, 0, 1, 1})});
  Bytes placed(22, 0);
  putLittle(placed.data(), 0x9ac6cdd7u);
  placed.insert(placed.end(), plain.begin(), plain.end());
  EXPECT_EQ(played(placed), played(plain));
  EXPECT_THAT(played(plain), SizeIs(2));
}

TEST(Metafile, OfAShorterFileThanItSaysIsNone) {
  Bytes file = metafile({kExtent, record(0x325, {2, 0, 0, 1, 1})});
  EXPECT_EQ(metafileOf(file).size(), file.size());
  file.push_back(0);
  EXPECT_EQ(metafileOf(file).size(), file.size() - 1);
  for (size_t length = 0; length + 1 < file.size(); ++length)
    EXPECT_TRUE(metafileOf(std::span(file).first(length)).empty()) << length;
  putLittle(file.data() + 6, 8u);
  EXPECT_TRUE(metafileOf(file).empty());
}

TEST(Metafile, StopsAtTheFirstDamagedRecord) {
  const Bytes line = record(0x325, {2, 0, 0, 1, 1});
  const Bytes damaged[] = {record(0x325, {3, 0, 0, 1, 1}),
                           record(0x324, {-1}),
                           record(0x538, {2, 2, 9, 0, 0, 1, 1}),
                           record(0x538, {-1, 2}),
                           record(0x213, {1}),
                           record(0x41b, {1, 2, 3}),
                           record(0x817, {1, 2, 3}),
                           record(0x521, {9, 65, 0, 0}),
                           record(0x2fa, {0, 1}),
                           record(0x12d, {}),
                           record(0x999, {1}, 2),
                           record(0x999, {1}, 0x7fffffff),
                           record(0, {})};
  for (const Bytes& bad : damaged) {
    const auto calls = played(metafile({kExtent, line, bad, line}));
    EXPECT_LE(calls.size(), 4u);
    ASSERT_GE(calls.size(), 2u);
    EXPECT_NE(calls.back(), calls.size() > 2 ? calls[1] : "");
  }
}

TEST(Metafile, BoundsWhatItDraws) {
  Bytes many = metafile({kExtent});
  const Bytes line = record(0x213, {1, 1});
  for (int i = 0; i < 300'000; ++i) many.insert(many.end(), line.begin(), line.end());
  putLittle(many.data() + 6, static_cast<uint32_t>(many.size() / 2));
  EXPECT_THAT(played(many), SizeIs(200'000));  // a pen and a line of two points each
}

TEST(Chalkley, HasTwentyFivePointsInItsCircle) {
  const auto file = readWholeFile(std::string(TARNVISOR_PROFILE) + "/chalkley.wmf");
  ASSERT_TRUE(file);
  RecordingCanvas canvas;
  playMetafile(*file, canvas, {0, 0, 2000, 2000}, 0xabc);
  int crosses = 0, circles = 0;
  for (const std::string& call : canvas.calls) {
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
    circles += call == "ellipse 20,20-1980,1980";
    if (std::sscanf(call.c_str(), "polyline %d,%d %d,%d", &x1, &y1, &x2, &y2) != 4 || y1 != y2) continue;
    ++crosses;
    EXPECT_LT(std::hypot((x1 + x2) / 2 - 1000, y1 - 1000), 980);
  }
  EXPECT_EQ(crosses, 25);
  EXPECT_EQ(circles, 1);
}

}  // namespace
}  // namespace tarnvisor
