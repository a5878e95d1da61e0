// The canvas, held to single pixels.

#include "desktop/paintercanvas.h"
#include "desktop/picturefile.h"
#include "desktop/qttext.h"
#include "framework/document.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

constexpr Colour kRed = 0x0000ff;  // blue is the high byte
constexpr QRgb kRedPixel = 0xffff0000;

// Rows of the drawing, "#" for each pixel that is not white.
std::vector<std::string> drawn(Size size, double ratio, const std::function<void(Canvas&)>& draw) {
  QImage picture(static_cast<int>(size.width * ratio), static_cast<int>(size.height * ratio),
                 QImage::Format_RGB32);
  picture.setDevicePixelRatio(ratio);
  picture.fill(Qt::white);
  {
    QPainter painter(&picture);
    PainterCanvas canvas(painter);
    canvas.setPen({kRed, 1, false});
    draw(canvas);
  }
  std::vector<std::string> rows;
  for (int y = 0; y < picture.height(); ++y) {
    std::string row;
    for (int x = 0; x < picture.width(); ++x) row += picture.pixel(x, y) == 0xffffffff ? '.' : '#';
    rows.push_back(row);
  }
  return rows;
}

using Rows = std::vector<std::string>;
const std::array<Point, 2> kAcross{Point{1, 1}, Point{4, 1}};

TEST(PainterCanvas, LinesCoverBothTheirEndsAndNothingElse) {
  const auto line = [](Canvas& c) { c.polyline(kAcross); };
  EXPECT_EQ(drawn({6, 3}, 1, line), (Rows{"......", ".####.", "......"}));
  EXPECT_EQ(drawn({6, 3}, 2, line), (Rows{"............", "............", "..########..", "..########..",
                                          "............", "............"}));
  const auto diagonal = [](Canvas& c) { c.polyline(std::array<Point, 2>{Point{0, 0}, Point{3, 3}}); };
  EXPECT_EQ(drawn({4, 4}, 1, diagonal), (Rows{"#...", ".#..", "..#.", "...#"}));
  const auto dot = [](Canvas& c) { c.point({1, 1}); };
  EXPECT_EQ(drawn({3, 3}, 1, dot), (Rows{"...", ".#.", "..."}));
  EXPECT_EQ(drawn({2, 2}, 2, dot), (Rows{"....", "....", "..##", "..##"}));
}

TEST(PainterCanvas, OnADarkDesktopGroundsAreDarkAndEveryInkIsReadable) {
  const auto shown = [](const std::function<void(Canvas&)>& draw) {
    QImage picture(8, 4, QImage::Format_RGB32);
    QPainter painter(&picture);
    PainterCanvas canvas(painter);
    canvas.showDark();
    draw(canvas);
    return picture.pixelColor(2, 1);
  };
  const auto ink = [&](Colour colour) {
    return shown([&](Canvas& canvas) {
      canvas.setPen({colour, 1, false});
      canvas.polyline(kAcross);
    });
  };
  EXPECT_LT(shown([](Canvas& canvas) { canvas.fill({0, 0, 8, 4}, 0xffffff); }).lightness(), 40);
  for (const Colour each : {0x000000, 0xff0000, 0x0000ff, 0x800000, 0x303030, 0xffffff})
    EXPECT_GT(qGray(ink(each).rgb()), 90) << each;
  EXPECT_EQ(ink(0x00ff00).rgb(), 0xff00ff00u) << "what is readable keeps its colour";
  EXPECT_EQ(ink(0x800000).hslHue(), QColor(0, 0, 128).hslHue());
}

TEST(PainterCanvas, TextsThatAreKeptLaidOutLookLikeFreshOnes) {
  LaidOutTexts kept;
  const auto picture = [](double ratio, int32_t size, LaidOutTexts* texts) {
    QImage image(static_cast<int>(160 * ratio), static_cast<int>(80 * ratio), QImage::Format_RGB32);
    image.setDevicePixelRatio(ratio);
    image.fill(Qt::gray);
    QPainter painter(&image);
    PainterCanvas canvas(painter, false, texts);
    if (size > 0) canvas.setFont("", size);
    canvas.text({3, 2}, "12 AVo fi", kRed);
    canvas.text({3, 22}, "\xc2\xb5m \xe4\xb8\xad", 0xffffff);
    canvas.text({3, 42}, "a\tb", kRed);
    canvas.text({3, 62}, "", kRed);
    return image;
  };
  // One after the other with the same texts: a window may move to another screen, a label change its font.
  for (const double ratio : {1.0, 2.0, 1.0})
    for (const int32_t size : {0, 90, 90, 0})
      EXPECT_EQ(picture(ratio, size, &kept), picture(ratio, size, nullptr)) << ratio << " " << size;
  EXPECT_EQ(kept.find("12 AVo fi"), kept.find("12 AVo fi"));
  EXPECT_EQ(kept.find("a\tb"), nullptr);
}

TEST(PainterCanvas, RectanglesAreHalfOpenAndEmptyOnesAreNotDrawn) {
  EXPECT_EQ(drawn({5, 4}, 1,
                  [](Canvas& c) {
                    c.rectangle({0, 0, 4, 3});
                  }),
            (Rows{"####.", "#..#.", "####.", "....."}));
  EXPECT_EQ(drawn({5, 2}, 1, [](Canvas& c) { c.fill({1, 0, 3, 1}, kRed); }), (Rows{".##..", "....."}));
  EXPECT_EQ(drawn({3, 2}, 1,
                  [](Canvas& c) {
                    c.rectangle({2, 1, 2, 1});
                    c.ellipse({2, 1, 1, 1});
                    c.fill({1, 1, 1, 2}, kRed);
                    c.polyline({});
                  }),
            (Rows{"...", "..."}));
  EXPECT_EQ(drawn({4, 4}, 1,
                  [](Canvas& c) {
                    c.fillPolygon(std::array{Point{0, 0}, Point{4, 0}, Point{4, 4}, Point{0, 4}}, kRed);
                  }),
            Rows(4, "####"));
}

TEST(PainterCanvas, DashesLeaveGapsAndAClipLeavesNothingOutside) {
  const auto dashed = drawn({40, 1}, 1, [](Canvas& c) {
    c.setPen({kRed, 1, true});
    c.polyline(std::array<Point, 2>{Point{0, 0}, Point{39, 0}});
  });
  const auto marked = std::count(dashed[0].begin(), dashed[0].end(), '#');
  EXPECT_GT(marked, 12);
  EXPECT_LT(marked, 28);
  const auto clipped = drawn({6, 1}, 1, [](Canvas& c) {
    c.setClip({2, 0, 4, 1});
    c.fill({0, 0, 6, 1}, kRed);
    c.setClip({});
    c.point({0, 0});
  });
  EXPECT_EQ(clipped, (Rows{"#.##.."}));
}

TEST(PainterCanvas, CoordinatesOfDamagedDocumentsEndInAFinitePicture) {
  const std::array<Point, 3> wild{Point{INT32_MIN, INT32_MIN}, Point{INT32_MAX, INT32_MAX}, Point{0, 3}};
  const auto rows = drawn({8, 8}, 1, [&](Canvas& c) {
    c.setPen({kRed, 3, true});
    c.polyline(wild);
    c.polygon(wild);
    c.ellipse({INT32_MIN, INT32_MIN, INT32_MAX, INT32_MAX});
    c.rectangle({INT32_MIN / 2, 2, INT32_MAX / 2, 5});
  });
  EXPECT_EQ(rows.size(), 8u);
}

TEST(PainterCanvas, PixelsCoverTheirTargetBlockByBlock) {
  const std::array<uint32_t, 6> block{0xff000000, 0xff00ff00, 0xdeadbeef,  // the stride is 3
                                      0xff0000ff, 0xffff0000, 0xdeadbeef};
  for (const double ratio : {1.0, 2.0}) {
    QImage picture(static_cast<int>(4 * ratio), static_cast<int>(4 * ratio), QImage::Format_RGB32);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::white);
    QPainter painter(&picture);
    PainterCanvas canvas(painter);
    EXPECT_EQ(canvas.pixelRatio(), ratio);
    canvas.pixels({block.data(), 2, 2, 3}, {0, 0, 4, 4});
    canvas.pixels({nullptr, 2, 2, 2}, {0, 0, 4, 4});
    painter.end();
    const int last = picture.width() - 1;
    EXPECT_EQ(picture.pixel(0, 0), 0xff000000);
    EXPECT_EQ(picture.pixel(last, 0), 0xff00ff00);
    EXPECT_EQ(picture.pixel(0, last), 0xff0000ff);
    EXPECT_EQ(picture.pixel(last, last), kRedPixel);
    EXPECT_EQ(picture.pixel(last / 2, last / 2), 0xff000000);
  }
}

TEST(PainterCanvas, TextStaysInTheBoxThatWasMeasured) {
  Size size;
  const auto rows = drawn({200, 60}, 1, [&](Canvas& c) {
    c.setFont("", 120);
    const Size small = c.textSize("W\xc3\xa4 12");
    c.setFont("", 240);
    size = c.textSize("W\xc3\xa4 12");
    EXPECT_GT(size.height, small.height * 3 / 2);
    EXPECT_EQ(c.textSize("W\xe4 12"), size) << "Latin-1 counts as such";
    c.text({10, 5}, "W\xc3\xa4 12", kRed);
  });
  int marked = 0;
  for (int y = 0; y < 60; ++y)
    for (int x = 0; x < 200; ++x) {
      if (rows[static_cast<size_t>(y)][static_cast<size_t>(x)] == '.') continue;
      ++marked;
      EXPECT_TRUE((Rect{9, 5, 10 + size.width + 2, 5 + size.height + 1}.contains({x, y}))) << x << "," << y;
    }
  EXPECT_GT(marked, 100);
}

TEST(RenderView, GivesTheViewAWindowOfThatSizeAndDrawsAtTheScreensDensity) {
  struct Probe final : CView {
    using CView::CView;
    void draw(Canvas& canvas) override {
      canvas.fill({0, 0, windowSize().width / 2, windowSize().height}, kRed);
    }
  };
  struct Nothing final : CDocument {
    void serialize(Archive&) override {}
  } document;
  Probe view(document);
  const QImage picture = renderView(view, {10, 6}, 2.0);
  EXPECT_EQ(view.windowSize(), (Size{10, 6}));
  EXPECT_EQ(picture.size(), QSize(20, 12));
  EXPECT_EQ(picture.pixel(9, 11), kRedPixel);
  EXPECT_EQ(picture.pixel(10, 11), 0xffffffff);
  EXPECT_EQ(renderView(view, {0, -3}).size(), QSize(1, 1));
}

TEST(PictureFile, IsWrittenInTheFormatOfItsEndingOrNotAtAll) {
  const TempFolder folder;
  QtPictureWriter writer;
  const auto draw = [](Canvas& canvas) {
    canvas.fill({0, 0, 40, 30}, 0xffffff);
    canvas.setPen({kRed, 1, false});
    canvas.polyline(std::array<Point, 2>{Point{2, 3}, Point{30, 3}});
    canvas.text({5, 10}, "mm/s", 0);
  };
  const auto bytesOf = [&](const char* name) { return readWholeText(folder.file(name)).value_or(""); };
  for (const auto& [name, start] : {std::pair{"a.png", "\x89PNG"},
                                    {"a.svg", "<?xml"},
                                    {"a.pdf", "%PDF"},
                                    {"a.jpg", "\xff\xd8"},
                                    {"a.tif", "II*"}}) {
    ASSERT_TRUE(writer.write(folder.file(name), {40, 30}, draw)) << name;
    EXPECT_THAT(bytesOf(name), testing::StartsWith(start));
  }
  const QImage read(toQt(folder.file("a.png")));
  EXPECT_EQ(read.size(), QSize(40, 30));
  EXPECT_EQ(read.pixel(10, 3), kRedPixel);
  EXPECT_THAT(bytesOf("a.svg"),
              testing::AllOf(testing::HasSubstr("viewBox=\"0 0 40 30\""), testing::HasSubstr("mm/s")));
  ASSERT_TRUE(writer.write(folder.file("a.wmf"), {40, 30}, draw));
  EXPECT_THAT(bytesOf("a.wmf"), testing::HasSubstr("mm/s"));
  // Nothing that was there is lost.
  const std::string before = bytesOf("a.png");
  EXPECT_FALSE(writer.write(folder.file("a.png"), {0, 30}, draw));
  EXPECT_FALSE(writer.write(folder.file("a.png"), {40, 1 << 20}, draw));
  EXPECT_EQ(bytesOf("a.png"), before);
  EXPECT_THAT(writer.write(folder.file("a.xyz"), {40, 30}, draw).why(),
              testing::HasSubstr("png, jpg, tif, bmp, svg, pdf or wmf"));
  EXPECT_FALSE(writer.write(folder.file("none/a.svg"), {40, 30}, draw));
}

TEST(QtText, ColoursAndBytesGoBothWays) {
  EXPECT_EQ(toQt(Colour{0x112233}), QColor(0x33, 0x22, 0x11));
  EXPECT_EQ(fromQt(QColor(0x33, 0x22, 0x11)), Colour{0x112233});
  EXPECT_EQ(fromQt(toQt(std::string("\xc2\xb5m"))), "\xc2\xb5m");
  EXPECT_EQ(fromQt(toQt(std::string("\xb5m"))), "\xc2\xb5m");
}

}  // namespace
}  // namespace tarnvisor
