// What stands beside the windows: the patient strip, the marks and the examination.
#include <QLabel>
#include <QListWidget>
#include <QMdiArea>
#include <QMdiSubWindow>
#include <QTableView>

#include "desktop/mainwindowtest.h"

namespace tarnvisor {
namespace {

class Docks : public MainWindowTest {
 protected:
  QTableView& marks() { return *window().findChild<QTableView*>("marks"); }
  QString strip(const char* part) { return window().findChild<QLabel*>(part)->text(); }

  // Questions go to the test, windows are real.
  Host ports{host, host, host, host, windows, host, host, host, host, host};
  HostScope scope{ports};
};

TEST_F(Docks, BindTheMarksToThePicture) {
  ZBasicDoc& d = makeImage(64, 48);
  for (const int32_t x : {10, 20, 30}) d.addDimension({x, 10}, CDimList::kPoint);
  d.updateAllViews();
  settle();
  ASSERT_EQ(marks().model()->rowCount(), 3);
  auto& view = static_cast<ZBasicView&>(*d.views().front());
  marks().selectRow(1);
  EXPECT_EQ(view.selected, 1);
  view.selectMarks(std::array<size_t, 1>{2});
  settle();
  EXPECT_EQ(marks().selectionModel()->selectedRows().value(0).row(), 2);
  QTest::keyClick(&marks(), Qt::Key_Delete);
  settle();
  EXPECT_EQ(d.currentDims().size(), 2);
  app->documents.discardAll();
  settle();
  EXPECT_EQ(marks().model()->rowCount(), 0);
}

TEST_F(Docks, TellWhoseExaminationItIs) {
  EXPECT_EQ(strip("exam"), "no exam selected");
  ASSERT_TRUE(app->db->newSubject("P-104"));
  theExams().selectSubject("P-104", "Anna Berg");
  ASSERT_TRUE(makeExamination("left ring", ""));
  ZBasicDoc& d = makeImage(64, 48);
  d.calibrated = 0;
  d.resultText = "12.5, capillary density, 0.4, area";
  ASSERT_TRUE(d.onSaveDocument(theExams().folder() + "hand.tv1"));
  d.setPathName(theExams().folder() + "hand.tv1");
  settle();
  EXPECT_EQ(strip("patient"), "P-104  Anna Berg");
  EXPECT_EQ(strip("holdings"), "1 document, 1 result");
  EXPECT_EQ(strip("document"), "hand.tv1: saved");
  EXPECT_EQ(strip("caution"), "not calibrated");
  auto& documents = *window().findChild<QListWidget*>("documents");
  ASSERT_EQ(documents.count(), 1);
  EXPECT_EQ(documents.item(0)->text(),
            "hand.tv1\nopen\ncapillary density 12.5 per megapixel, not calibrated, area 0.4 megapixel");
  ZBasicDoc& other = makeImage(32, 32);
  settle();
  ASSERT_EQ(app->documents.active(), &other);
  QTest::mouseClick(documents.viewport(), Qt::LeftButton, {},
                    documents.visualItemRect(documents.item(0)).center());
  settle();
  EXPECT_EQ(app->documents.active(), &d);
}

TEST_F(Docks, LeaveTheWindowsInSight) {
  ZBasicDoc& d = makeImage(64, 48);
  settle();
  QMdiSubWindow& shown = windowOf(d);
  const QWidget* room = shown.mdiArea()->viewport();
  shown.showNormal();
  const QRect place(room->width() - 320, 10, 320, 240);
  shown.setGeometry(place);
  window().resize(window().width() - 150, window().height());
  settle();
  EXPECT_TRUE(room->rect().contains(shown.geometry()));
  window().resize(window().width() + 150, window().height());
  settle();
  EXPECT_EQ(shown.geometry(), place);
}

}  // namespace
}  // namespace tarnvisor
