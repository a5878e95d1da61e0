// A drawing as a metafile, played again by the reader and looked at byte by byte.
#include "drawing/metafilecanvas.h"

#include "base/bytes.h"
#include "drawing/metafile.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes drawn(const std::function<void(Canvas&)>& draw) {
  RecordingCanvas ruler;
  MetafileCanvas canvas(ruler, {200, 100});
  draw(canvas);
  return canvas.file();
}

std::vector<std::string> played(const Bytes& file) {
  RecordingCanvas canvas;
  playMetafile(metafileOf(file), canvas, {0, 0, 200, 100}, 0);
  return canvas.calls;
}

// Where the parameters of the first record of a function begin; 0 for none.
size_t find(const Bytes& file, uint16_t function) {
  for (size_t at = 40; at + 6 <= file.size(); at += size_t{2} * getLittle<uint32_t>(&file[at]))
    if (getLittle<uint16_t>(&file[at + 4]) == function) return at + 6;
  return 0;
}

TEST(MetafileCanvas, WritesStrokesAndLettersThatAreReadAgain) {
  const Bytes file = drawn([](Canvas& canvas) {
    canvas.setPen({0x0000ff, 1, true});
    const Point points[] = {{1, 2}, {30, 40}, {5, 6}};
    canvas.polyline(points);
    canvas.fill({0, 0, 10, 10}, 0x123456);
    canvas.setPen({0x00ff00});
    canvas.rectangle({10, 20, 30, 40});
    canvas.setClip({0, 0, 50, 50});
    canvas.ellipse({1, 2, 3, 4});
    canvas.setClip({});
    canvas.polygon(points);
    canvas.text({7, 8}, "5 \u00b5m \u03b1", 0xff0000);
  });
  EXPECT_THAT(played(file),
              ElementsAre("pen ff width 1 dashed", "polyline 1,2 30,40 5,6", "pen ff00 width 1",
                          "rectangle 10,20-30,40", "pen ff00 width 1", "ellipse 1,2-3,4", "pen ff00 width 1",
                          "polygon 1,2 30,40 5,6", "text 7,8 ff0000 \"5 \xb5m ?\""));
}

TEST(MetafileCanvas, TellsItsPlaceAndItsLongestRecord) {
  const Bytes file = drawn([](Canvas& canvas) { canvas.fill({2, 3, 12, 23}, 0xabcdef); });
  uint16_t sum = 0;
  for (size_t at = 0; at < 20; at += 2) sum ^= getLittle<uint16_t>(&file[at]);
  EXPECT_EQ(getLittle<uint32_t>(&file[0]), 0x9ac6cdd7u);
  EXPECT_EQ(getLittle<uint16_t>(&file[10]), 200);
  EXPECT_EQ(getLittle<uint16_t>(&file[20]), sum);
  EXPECT_EQ(getLittle<uint32_t>(&file[28]) * 2, file.size() - 22);
  EXPECT_EQ(getLittle<uint16_t>(&file[32]), 2) << "pen and brush";
  EXPECT_EQ(getLittle<uint32_t>(&file[34]), 9u) << "the rectangle's 3 + 6 words";
  const size_t fill = find(file, 0x061d);
  ASSERT_NE(fill, 0u);
  for (const auto& [word, value] : {std::pair{2, 20}, {3, 10}, {4, 3}, {5, 2}})
    EXPECT_EQ(getLittle<uint16_t>(&file[fill + 2 * word]), value);
}

TEST(MetafileCanvas, KeepsPicturesAsPixelsFromTheBottom) {
  const uint32_t block[] = {0xff010203, 0xff040506, 0, 0xff070809, 0xff0a0b0c, 0};
  const Bytes file = drawn([&](Canvas& canvas) { canvas.pixels({block, 2, 2, 3}, {4, 5, 24, 35}); });
  const size_t at = find(file, 0x0f43);
  ASSERT_NE(at, 0u);
  for (const auto& [word, value] : {std::pair{3, 2}, {4, 2}, {7, 30}, {8, 20}, {9, 5}, {10, 4}})
    EXPECT_EQ(getLittle<uint16_t>(&file[at + 2 * word]), value) << word;
  const Bytes rows(file.begin() + at + 22 + 40, file.begin() + at + 22 + 40 + 16);
  EXPECT_EQ(rows, (Bytes{9, 8, 7, 12, 11, 10, 0, 0, 3, 2, 1, 6, 5, 4, 0, 0}));
}

}  // namespace
}  // namespace tarnvisor
