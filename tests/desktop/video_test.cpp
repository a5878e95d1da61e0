// The video window, led by mouse and keys.
#include <QMdiSubWindow>
#include <QPushButton>
#include <QStatusBar>
#include <QTabBar>
#include <QTableView>
#include <QWheelEvent>

#include "desktop/timelinebar.h"
#include "support/videotest.h"
#include "walktest.h"

namespace tarnvisor {
namespace {

class VideoWindow : public WalkTest {
 protected:
  void SetUp() override {
    WalkTest::SetUp();
    const auto draw = [](CZZimage& image, int32_t k) { image.fill(static_cast<uint8_t>(3 * k)); };
    writeMovieFile(folder.file("a.mve"), 61, {320, 240}, draw);
    doc = dynamic_cast<CVivoCapDoc*>(app->openDocumentFile(folder.file("a.mve")));
    ASSERT_NE(doc, nullptr);
    settle();
    widget = window().documentWindows().widgetOf(*doc);
    for (QWidget* child : widget->findChildren<QWidget*>())
      if (auto* found = dynamic_cast<TimelineBar*>(child)) bar = found;
    ASSERT_NE(bar, nullptr);
  }
  void TearDown() override {
    process.videoTemplate->discard(*doc);
    WalkTest::TearDown();
  }
  QPoint placeOf(double part) const { return {10 + static_cast<int>((bar->width() - 20) * part), 9}; }
  int greyShown() const { return widget->viewport()->grab().toImage().pixelColor(100, 100).red(); }

  CVivoCapDoc* doc = nullptr;
  ViewWidget* widget = nullptr;
  TimelineBar* bar = nullptr;
};

TEST_F(VideoWindow, MovesAlongByTheBarOfTime) {
  EXPECT_TRUE(bar->isVisible());
  EXPECT_EQ(bar->y(), widget->viewport()->geometry().bottom() + 1);
  EXPECT_EQ(bar->width(), widget->viewport()->width());
  QTest::mouseClick(bar, Qt::LeftButton, {}, placeOf(0.5));
  EXPECT_NEAR(doc->currentIndex(), 30, 1);
  EXPECT_EQ(greyShown(), 3 * doc->currentIndex()) << "what is painted is that image";
  QTest::mousePress(bar, Qt::LeftButton, {}, placeOf(0.1));
  QMouseEvent drag(QEvent::MouseMove, placeOf(2), bar->mapToGlobal(placeOf(2)), Qt::NoButton, Qt::LeftButton,
                   {});
  QApplication::sendEvent(bar, &drag);
  EXPECT_EQ(doc->currentIndex(), 60) << "held at the end";
  for (const int eighths : {60, 60, -240}) {
    QWheelEvent turn(placeOf(0.5), bar->mapToGlobal(placeOf(0.5)), {}, {0, eighths}, {}, {},
                     Qt::NoScrollPhase, false);
    QApplication::sendEvent(bar, &turn);
  }
  EXPECT_EQ(doc->currentIndex(), 60) << "one back by two halves, then two on, as far as there are";
  QMouseEvent hover(QEvent::MouseMove, placeOf(0.25), bar->mapToGlobal(placeOf(0.25)), Qt::NoButton, {}, {});
  QApplication::sendEvent(bar, &hover);
  const auto previews = [] {
    int shown = 0;
    for (QWidget* each : QApplication::topLevelWidgets())
      shown += each->isVisible() && each->windowType() == Qt::ToolTip;
    return shown;
  };
  EXPECT_EQ(previews(), 1);
  QEvent leave(QEvent::Leave);
  QApplication::sendEvent(bar, &leave);
  EXPECT_EQ(previews(), 0);
}

TEST_F(VideoWindow, SelectsOnTheBarOfTime) {
  const auto at = [&](double part, int y) { return QPoint(placeOf(part).x(), y); };
  const auto dragTo = [&](QPoint from, QPoint to, Qt::KeyboardModifiers keys) {
    QTest::mousePress(bar, Qt::LeftButton, keys, from);
    QMouseEvent drag(QEvent::MouseMove, to, bar->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, keys);
    QApplication::sendEvent(bar, &drag);
    QTest::mouseRelease(bar, Qt::LeftButton, keys, to);
  };
  const int low = TimelineBar::kHeight - 4;
  dragTo(at(0.5, low), at(0.25, low), {});
  EXPECT_NEAR(doc->selection().first, 15, 1);
  EXPECT_NEAR(doc->selection().last, 31, 1);
  dragTo({at(doc->selection().first / 60.0, low)}, at(0.1, low), {});
  EXPECT_NEAR(doc->selection().first, 6, 1) << "by its end";
  EXPECT_NEAR(doc->selection().last, 31, 1);
  dragTo(placeOf(0.8), placeOf(0.9), Qt::ShiftModifier);
  EXPECT_NEAR(doc->selection().first, 48, 1);
  EXPECT_EQ(doc->currentIndex(), 0) << "a selection moves nothing";
  QTest::mouseClick(bar, Qt::LeftButton, {}, at(0.3, low));
  EXPECT_NEAR(doc->currentIndex(), 18, 1);
  QTest::keyClick(widget, Qt::Key_I);
  EXPECT_TRUE(QTest::qWaitFor([&] { return doc->selection().first == doc->currentIndex(); }, kLongestMs));
  QTest::keyClick(widget, Qt::Key_Right);
  QTest::keyClick(widget, Qt::Key_O);
  EXPECT_TRUE(QTest::qWaitFor([&] { return doc->selection().size() == 2; }, kLongestMs));
}

TEST_F(VideoWindow, GoesBackToAVersionInTheDock) {
  doc->processImages("Invert", [](CZZimage& each) { each.fill(200); });
  ASSERT_TRUE(QTest::qWaitFor([&] { return !doc->isBusy(); }, kLongestMs));
  settle();
  auto& tabs = *window().findChild<QTabBar*>("panels");
  ASSERT_EQ(tabs.count(), 2);
  tabs.setCurrentIndex(1);
  settle();
  auto& table = *window().findChild<QTableView*>("marks");
  ASSERT_EQ(table.model()->rowCount(), 2);
  const auto act = [&](int row, const char* words) {
    table.selectRow(row);
    click(window(), words);
    settle();
  };
  act(0, "Go to");
  EXPECT_EQ(doc->currentVersion(), 1);
  EXPECT_EQ(greyShown(), 0);
  act(1, "Compare");
  auto* beside = dynamic_cast<CVivoCapDoc*>(app->documents.active());
  ASSERT_NE(beside, doc);
  EXPECT_EQ(beside->theImage()->pixelAt(100, 100), 200) << "the other version, in a window of its own";
  process.videoTemplate->discard(*beside);
  settle();
  for (const QString answer : {"No", "Yes"}) {
    answers.expect(programTitle().c_str(), [answer](QWidget& box) { click(box, answer); });
    act(1, "Delete");
    EXPECT_EQ(table.model()->rowCount(), answer == "No" ? 2 : 1);
  }
}

TEST_F(VideoWindow, PlaysAndProcessesBeforeTheEyes) {
  QTest::keyClick(widget, Qt::Key_Right, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return doc->currentIndex() == 1; }, kLongestMs));
  QTest::keyClick(widget, Qt::Key_L, Qt::ControlModifier);
  EXPECT_TRUE(QTest::qWaitFor([&] { return doc->currentIndex() > 5; }, kLongestMs));
  QTest::keyClick(widget, Qt::Key_Escape);
  auto& view = static_cast<CVivoCapView&>(*doc->views().front());
  EXPECT_FALSE(view.isPlaying());
  std::vector<int> seen;
  EXPECT_TRUE(doc->select(10, 13));
  doc->processImages("", [&](CZZimage& each) {
    seen.push_back(greyShown());
    each.fill(200);
  });
  EXPECT_TRUE(doc->isBusy()) << "the window is in use meanwhile";
  EXPECT_TRUE(QTest::qWaitFor([&] { return !doc->isBusy(); }, kLongestMs));
  EXPECT_EQ(doc->imageCount(), 3);
  EXPECT_EQ(seen, (std::vector<int>{seen[0], 200, 200})) << "each image is drawn as soon as it is done";
  EXPECT_EQ(greyShown(), 200);
}

}  // namespace
}  // namespace tarnvisor
