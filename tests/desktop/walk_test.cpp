// A clinician's whole road through the program, with nothing but mouse and keys: a new subject, an
// examination, a still, its capillaries found and corrected, results, paper, files, and all of it again from
// the list of exams.
#include <QTreeWidget>

#include "desktop/walktest.h"
#include "imagedoc/resulttables.h"
#include "results/resultdoc.h"

namespace tarnvisor {
namespace {

// A recorded nailfold of 1000 x 750 pixels, 1.68 um each; it does not come with the sources.
std::string nailfoldStill() {
  const char* named = std::getenv("TARNVISOR_TEST_DATA");
  return withSeparator(named ? named : TEST_DATA_FOLDER) + "nailfold-still/nailfold-1000x750-grey.bmp";
}

class Road : public WalkTest {
 protected:
  void beginExamination() {
    answers.expect("Select Subject", [this](QWidget& dialog) {
      QTest::keyClicks(QApplication::focusWidget(), "WALK 7");
      click(dialog, "Add as new ID");
      type(dialog, "First name", "Ada");
      type(dialog, "Surname", "Walker");
      type(dialog, "Comment", "right handed");
      click(dialog, "Save / Update Details");
      click(dialog, "Start New Examination");
    });
    expectForm("New Examination", {{"Site", "left ring"}, {"Comment", "at rest"}}, "Start");
    choose({"Subject", "Select subject"});
  }
  // The file's name in the exam's list of results is double-clicked.
  void openFromExams(const QString& name) {
    choose({"Subject", "View exams"});
    QTreeWidget* results = nullptr;
    for (QWidget* each : QApplication::topLevelWidgets())
      if (each->isVisible() && each->windowTitle() == "Select Exam")
        results = each->findChild<QTreeWidget*>("results");
    ASSERT_NE(results, nullptr);
    const auto items = results->findItems(name, Qt::MatchExactly, 2);
    ASSERT_EQ(items.size(), 1);
    const QPoint at = results->visualItemRect(items.front()).center();
    QTest::mouseClick(results->viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(results->viewport(), Qt::LeftButton, {}, at);
    settle();
  }
  CResultDoc* table(const ResultTable& kind) { return findResultDocument(kind.title); }
};

TEST_F(Road, TheWindowMenuLeadsFromEveryKindToEveryOther) {
  std::vector<CDocument*> all;
  for (const auto& type : app->documents.types())
    if (type->canOpen()) all.push_back(type->newDocument());
  settle();
  app->liveView->stopCamera();  // its frames would be painted in between
  for (CDocument* from : all)
    for (CDocument* to : all) {
      app->documents.activate(*from);
      settle();
      QString entry;
      int number = 0;
      for (const auto& type : app->documents.types())
        for (const auto& document : type->documents())
          if (++number; document.get() == to) entry = QString("%1 %2").arg(number).arg(toQt(to->title()));
      choose({"Window", entry});
      EXPECT_EQ(app->documents.active(), to);
    }
}

TEST_F(Road, FilesAreLookedForInTheFolderOfANewExamination) {
  beginExamination();
  answers.expect("Import", [this](QWidget& dialog) {
    EXPECT_TRUE(sameFolder(fromQt(static_cast<QFileDialog&>(dialog).directory().path()), exams->folder()));
    click(dialog, "Cancel");
  });
  choose({"File", "Import"});
}

TEST_F(Road, FromANewSubjectToItsImageOpenedAgain) {
  if (!fileExists(nailfoldStill())) GTEST_SKIP() << nailfoldStill() << " is not here";
  beginExamination();
  const auto subject = app->db->readSubject("WALK_7");
  ASSERT_TRUE(subject);
  EXPECT_EQ(std::tie(subject->name, subject->surname, subject->comments),
            std::make_tuple("Ada", "Walker", "right handed"));
  const auto exam = app->db->exam("WALK_7", exams->examId());
  ASSERT_TRUE(exam);
  EXPECT_EQ(exam->site, "left ring");
  EXPECT_EQ(exam->comment, "at rest");
  const std::string examFolder = app->dataFolder + exam->folder;
  ASSERT_TRUE(folderExists(examFolder));

  expectFile("Import", nailfoldStill(), "Open");
  choose({"File", "Import"});
  ASSERT_NE(image(), nullptr);
  ASSERT_EQ(image()->theImage()->width, 1000);
  press(Qt::Key_F3);
  drag({{60, 80}, {400, 200}, {960, 340}});
  const Rect roi = image()->roi;
  EXPECT_NEAR(roi.width(), 900, 4);
  EXPECT_NEAR(roi.height(), 260, 4);
  expectForm("Magnification", {{"x scale", "1.68"}, {"y scale", "1.68"}, {"name", "x100"}});
  press(Qt::Key_M, Qt::ControlModifier);
  EXPECT_DOUBLE_EQ(image()->scale().x, 1.68);

  expectMessage();
  press(Qt::Key_F, Qt::ControlModifier);
  const int32_t found = image()->currentDims().size();
  ASSERT_GE(found, 6) << "of some 15 loops";
  click(image()->currentDims().at(0).points.front());
  press(Qt::Key_Delete);
  press(Qt::Key_F6);
  click({500, 330});
  click({640, 330});
  press(Qt::Key_F6);
  expectMessage();
  press(Qt::Key_F, Qt::ControlModifier);
  ASSERT_EQ(messages.size(), 2u);
  const double area = roi.width() * roi.height() * 1.68 * 1.68 * 1e-6;
  EXPECT_NEAR(std::strtod(messages[1].c_str(), nullptr), (found + 1) / area, 0.001);

  ZBasicDoc& still = *image();
  choose({"Analysis", "Average of selection"});
  app->documents.activate(still);
  settle();
  choose({"Analysis", "Image results"});
  ASSERT_EQ(app->documents.active(), table(kImageResults));
  expectFile("Export", examFolder + "/results.csv", "Save");
  press(Qt::Key_E, Qt::ControlModifier);
  const std::string csv = readWholeText(examFolder + "/results.csv").value_or("");
  const std::vector<std::string> lines = split(csv, '\n');
  ASSERT_GE(lines.size(), 5u);
  EXPECT_EQ(std::atoi(split(lines[1], ',').at(9).c_str()), found + 1);
  EXPECT_EQ(lines[2], "Subject ID,WALK_7");
  EXPECT_EQ(lines[3], format("Exam ID,%i", exams->examId()));
  EXPECT_EQ(lines[4], exam->folder);

  app->documents.activate(still);
  settle();
  expectPrint(examFolder + "/page.pdf");
  press(Qt::Key_P, Qt::ControlModifier);
  EXPECT_TRUE(isPdf(examFolder + "/page.pdf"));
  expectFile("Save As", "ring.tv1", "Save", examFolder);
  expectOk("ROI or whole image");
  press(Qt::Key_S, Qt::ControlModifier);
  EXPECT_FALSE(still.isModified());
  const auto stored = app->db->resultsOf(exams->examId());
  ASSERT_EQ(stored.size(), 1u);
  EXPECT_EQ(stored[0].filename, "ring.tv1");
  EXPECT_THAT(messages[1], ::testing::StartsWith(stored[0].result + "\n"));
  const std::vector<std::string> before = contentOf(still);

  // The tables have changed and ask, one after the other.
  for (size_t i = 1; i < app->documents.documents().size(); ++i)
    answers.expect(programTitle().c_str(), [](QWidget& dialog) { click(dialog, "No"); });
  choose({"Window", "Close all"});
  ASSERT_TRUE(app->documents.documents().empty());
  openFromExams("ring.tv1");
  ASSERT_NE(image(), nullptr);
  EXPECT_EQ(contentOf(*image()), before);
  EXPECT_EQ(image()->pathName(), examFolder + "/ring.tv1");
}

}  // namespace
}  // namespace tarnvisor
