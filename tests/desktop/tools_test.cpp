// The tools of the image window, by mouse: each shape drawn, picked, dragged and deleted, and a whole session
// that is saved and comes back.
#include <QMdiSubWindow>

#include "desktop/walktest.h"
#include "synth/nailfold.h"

namespace tarnvisor {
namespace {

class MouseTools : public WalkTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(WalkTest::SetUp());
    NailfoldStill still = goodNailfold();
    still.width = 800;
    still.height = 640;
    still.rows = 3;
    still.capillariesPerRow = 6;
    NailfoldTruth truth;
    const auto picture = renderNailfold(still, truth);
    ASSERT_TRUE(picture);
    ASSERT_TRUE(picture->save(folder.file("still.bmp")));
    window().openFiles({folder.file("still.bmp")});
    settle();
    ASSERT_NE(image(), nullptr);
    showWhole();
  }
  // Each pixel of the image is one of the window.
  void showWhole() {
    window().documentWindows().windowOf(*image())->showMaximized();
    press(Qt::Key_1, Qt::ControlModifier);
    ASSERT_GE(view().windowSize().height, 640);
  }
  void chooseTool(const QString& words) { choose({"Measure", "Tools", words}); }

  struct Shape {
    const char* tool;
    const char* kind;
    std::vector<Point> points;
    void (MouseTools::*draw)(const std::vector<Point>&);
  };
  void clicks(const std::vector<Point>& points) {
    for (const Point& p : points) click(p);
  }
  void clicksAndDouble(const std::vector<Point>& points) {
    clicks({points.begin(), points.end() - 1});
    doubleClick(points.back());
  }
  static std::vector<Shape> shapes() {
    using T = MouseTools;
    return {{"Counting", "CDimLine", {{40, 50}}, &T::clicks},
            {"Lines", "CDimLine", {{30, 600}, {130, 600}}, &T::clicks},
            {"Polyline", "CDimLine", {{200, 560}, {240, 590}, {280, 560}, {300, 600}}, &T::clicksAndDouble},
            {"Freehand line", "CDimLine", {{330, 560}, {335, 570}, {345, 572}, {360, 560}}, &T::drag},
            {"Circle", "CDimCircle", {{400, 600}, {440, 600}}, &T::clicks},
            {"Polygon", "CDimPolygon", {{470, 560}, {520, 565}, {500, 610}}, &T::clicksAndDouble},
            {"Freehand area", "CDimPolygon", {{560, 560}, {600, 570}, {610, 600}, {570, 605}}, &T::drag}};
  }
  void draw(const Shape& shape) {
    SCOPED_TRACE(shape.tool);
    chooseTool(shape.tool);
    (this->*shape.draw)(shape.points);
    chooseTool(shape.tool);
    const CDim& drawn = *image()->currentDims().items.back();
    EXPECT_STREQ(drawn.classRecord().name, shape.kind);
    std::vector<Point> expected = shape.points;
    if (std::string_view(shape.kind) == "CDimPolygon")
      expected.push_back(expected.front());  // where it began
    EXPECT_EQ(drawn.points, expected);
  }
  int32_t count() { return image()->currentDims().size(); }
};

TEST_F(MouseTools, ASessionByMouseComesBackWhole) {
  for (const Shape& shape : shapes()) draw(shape);
  choose({"Image", "Dust", "Edit dust mask"});
  drag({{700, 20}, {730, 45}});
  choose({"Image", "Dust", "Edit dust mask"});
  choose({"Measure", "Switch list"});
  ASSERT_EQ(image()->currentlist, kPlainList);

  // The second shape is a level line of 100 pixels.
  expectForm("Calibrate", {{"X line", "2"}, {"X true length", "150"}, {"Y line", "2"}, {"Name", "by line"}});
  choose({"Measure", "Calibrate"});
  EXPECT_DOUBLE_EQ(image()->scale().x, 1.5);
  EXPECT_DOUBLE_EQ(image()->scale().y, 1.5);

  press(Qt::Key_F3);
  drag({{100, 60}, {300, 200}, {740, 540}});
  EXPECT_EQ(image()->roi, (Rect{100, 60, 740, 540}));
  choose({"Image", "Circular region"});
  EXPECT_TRUE(image()->hasCircularRoi());
  EXPECT_EQ(image()->roi, (Rect{180, 60, 660, 540})) << "the square in the middle";
  choose({"Image", "Circular region"});
  EXPECT_FALSE(image()->hasCircularRoi());

  choose({"Measure", "Switch list"});
  expectMessage();
  choose({"Analysis", "Find capillaries"});
  EXPECT_GE(count(), 6);
  choose({"Image", "Circular region"});
  expectFile("Save As", folder.file("session.tv1"), "Save");
  expectOk("ROI or whole image");
  press(Qt::Key_S, Qt::ControlModifier);
  EXPECT_FALSE(image()->isModified());
  const std::vector<std::string> before = contentOf(*image());
  const std::vector<uint8_t> pixels = pixelsOf(*image()->theImage());
  press(Qt::Key_W, Qt::ControlModifier);
  ASSERT_TRUE(process.imageTemplate->documents().empty());

  expectFile("Open", folder.file("session.tv1"), "Open");
  press(Qt::Key_O, Qt::ControlModifier);
  ASSERT_NE(image(), nullptr);
  EXPECT_EQ(contentOf(*image()), before);
  EXPECT_EQ(pixelsOf(*image()->theImage()), pixels);
  EXPECT_FALSE(image()->isModified());
}

TEST_F(MouseTools, MarksAndTheRegionAreCorrectedByMouseAndKeys) {
  using Points = std::vector<Point>;
  draw(shapes()[1]);  // (30, 600) to (130, 600)
  draw(shapes()[0]);
  click({80, 600});
  drag({{130, 600}, {140, 590}, {150, 580}});
  EXPECT_EQ(image()->currentDims().at(0).points, (Points{{30, 600}, {150, 580}}));
  drag({{20, 20}, {40, 100}, {200, 500}});
  press(Qt::Key_Left, Qt::ShiftModifier);
  EXPECT_EQ(image()->currentDims().at(1).points, (Points{{30, 50}}));
  press(Qt::Key_A, Qt::ControlModifier);
  press(Qt::Key_Delete);
  EXPECT_EQ(count(), 0);
  press(Qt::Key_Z, Qt::ControlModifier);
  EXPECT_EQ(count(), 2);
  press(Qt::Key_F3);
  drag({{100, 60}, {300, 200}, {740, 540}});
  drag({{740, 540}, {700, 510}, {700, 500}});
  EXPECT_EQ(image()->roi, (Rect{100, 60, 700, 500}));
  choose({"Image", "Clear ROI"});
  EXPECT_TRUE(image()->roi.isEmpty());
}

TEST_F(MouseTools, WhatWasFoundIsReviewedByClicksAndFoundAgain) {
  answers.answerAll([](QWidget& box) { click(box, "OK"); });
  choose({"Analysis", "Find capillaries"});
  const int32_t found = count();
  ASSERT_GT(found, 2);
  Point middle;
  double x = 0, y = 0;
  image()->currentDims().at(0).Centre(middle, x, y);
  press(Qt::Key_F9, Qt::ShiftModifier);
  click({static_cast<int32_t>(x), static_cast<int32_t>(y)});
  EXPECT_EQ(count(), found - 1);
  click({6, 630});
  EXPECT_EQ(image()->reviewWords(), "1 rejected, 1 added or moved");
  CDocument& reviewedPicture = *app->documents.active();
  CDocument* const other = process.imageTemplate->newDocument();
  settle();
  EXPECT_EQ(tool, kToolNone) << "a click in another picture would be no correction";
  process.imageTemplate->discard(*other);
  app->documents.activate(reviewedPicture);
  settle();
  choose({"Analysis", "Find again"});
  EXPECT_EQ(count(), found);
}

}  // namespace
}  // namespace tarnvisor
