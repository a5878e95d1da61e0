#include <filesystem>

#include "assembly/assembly.h"
#include "exams/resultfigures.h"
#include "frame/mainframe.h"
#include "imagedoc/resulttables.h"
#include "imagedoc/zbasicdoc.h"
#include "report/examreport.h"
#include "results/studysummary.h"
#include "support/apptest.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;

class Reports : public AppTest {
 protected:
  void SetUp() override {
    registerStoredClasses();
    options.documentTable = documentTable();
    ASSERT_TRUE(startWithData());
    ASSERT_TRUE(app->db->newSubject("S-1"));
    ASSERT_TRUE(app->db->updateSubject("S-1", "Ann", "Lee", ""));
    theExams().selectSubject("S-1", "Ann Lee");
    host.printJob = &job;
  }
  int32_t select(const std::string& site, const std::string& folderName) {
    const int32_t exam = app->db->newExam("S-1", site, "", folderName);
    makeFolderPath(app->dataFolder + folderName);
    theExams().selectExam(exam, folderName);
    return exam;
  }
  ZBasicDoc& saveImage(const std::string& folderName, const std::string& result) {
    auto* image = dynamic_cast<ZBasicDoc*>(process.imageTemplate->newDocument());
    auto pixels = std::make_unique<CZZimage>();
    EXPECT_TRUE(pixels->resizedata(64, 48, 1));
    image->takeImage(std::move(pixels));
    image->resultText = result;
    image->setPathName(app->dataFolder + folderName + "/hand.tv1");
    EXPECT_TRUE(image->save());
    return *image;
  }
  std::vector<std::string> left() {
    std::vector<std::string> lines;
    const Outcome done = writeExamReport(folder.file("r.pdf"), "S-1", app->db->examsOf("S-1"), lines);
    EXPECT_TRUE(done) << done.why();
    return lines;
  }
  std::string text() const {
    std::string all;
    for (const RecordingCanvas& page : job.pages)
      for (const std::string& call : page.calls) all += call + "\n";
    return all;
  }
  RecordingJob job{{1800, 2600}};
};

TEST_F(Reports, TellOfAnImageWithoutScaleThatItHasNone) {
  select("left ring", "e1");
  saveImage("e1", "12.5, capillary density");
  EXPECT_THAT(left(), ElementsAre());
  EXPECT_THAT(text(), HasSubstr("Ann Lee"));
  EXPECT_THAT(text(), HasSubstr("12.5, capillary density"));
  EXPECT_THAT(text(), HasSubstr("not calibrated"));
  EXPECT_THAT(text(), Not(HasSubstr("um\"")));
}

TEST_F(Reports, SayOnEachPageWhoseItIs) {
  select("left ring", "e1");
  ZBasicDoc& image = saveImage("e1", "");
  for (int i = 0; i < 200; ++i) image.notes += "a line\r\n";
  ASSERT_TRUE(image.save());
  EXPECT_THAT(left(), ElementsAre());
  ASSERT_GE(job.pages.size(), 2U);
  for (size_t i = 1; i < job.pages.size(); ++i)
    EXPECT_THAT(job.pages[i].calls, ::testing::Contains(HasSubstr("S-1, Ann Lee, left ring, 20")));
}

TEST_F(Reports, GoOnWithoutADocumentThatCantBeOpenedAndSaySo) {
  const int32_t exam = select("left ring", "e1");
  saveImage("e1", "1, mark");
  ASSERT_TRUE(app->db->insertResult(exam, "gone.tv1", ""));
  EXPECT_THAT(left(), ElementsAre("gone.tv1 could not be opened: the file is not there"));
  EXPECT_THAT(text(), HasSubstr("gone.tv1 could not be opened"));
  EXPECT_THAT(text(), HasSubstr("1, mark"));
  CDocument& chart = *process.xyChartTemplate->newDocument();
  const std::string path = app->dataFolder + "e1/c.zz1";
  ASSERT_TRUE(dynamic_cast<CourseTaker&>(chart).takeCourse(
      {"width", "um", "S-1", "left ring", "2025-01-01", std::vector<Course::Value>(400)}));
  chart.setPathName(path);
  ASSERT_TRUE(chart.save());
  std::filesystem::resize_file(path, std::filesystem::file_size(path) * 3 / 4);
  EXPECT_THAT(left(), ::testing::Contains(HasSubstr("Only a part of c.")));
}

TEST_F(Reports, AreWrittenOverNoStoredDocument) {
  select("left ring", "e1");
  process.imageTemplate->discard(saveImage("e1", "1, mark"));
  EXPECT_THAT(app->documents.mayOutputTo(app->dataFolder + "e1/hand.bmp").why(),
              HasSubstr("belongs to the stored document hand.tv1"));
  EXPECT_TRUE(app->documents.mayOutputTo(app->dataFolder + "e1/other.bmp"));
  std::vector<std::string> lines;
  EXPECT_THAT(writeExamReport(folder.file("r.bmp"), "S-1", app->db->examsOf("S-1"), lines).why(),
              HasSubstr("written as pdf"));
}

TEST_F(Reports, LeaveOutTheDocumentOfSomebodyElse) {
  select("left ring", "e1");
  ZBasicDoc& image = saveImage("e1", "1, mark");
  image.patientId = "S-9";
  ASSERT_TRUE(image.onSaveDocument(image.pathName()));
  EXPECT_THAT(left(), ElementsAre("hand.tv1 is a document of S-9, and is left out."));
  EXPECT_THAT(text(), Not(HasSubstr("1, mark")));
}

TEST_F(Reports, TellWhatIsStoredAndNameWhatIsNot) {
  select("left ring", "e1");
  ZBasicDoc& image = saveImage("e1", "old result");
  image.resultText = "new result";
  image.setModified();
  EXPECT_THAT(left(), ElementsAre(HasSubstr("hand.tv1 is open with changes that are not saved")));
  EXPECT_THAT(text(), HasSubstr("old result"));
  EXPECT_THAT(text(), Not(HasSubstr("new result")));
}

TEST_F(Reports, ShowTheRowsOfAStoredTable) {
  const int32_t exam = select("left ring", "e1");
  CResultDoc& table = *addResultRow(
      kDiameterResults, recordOf(kDiameterResults, "f.tv1", "um", {{"line", 1}, {"width", 12.5}}));
  table.setPathName(app->dataFolder + "e1/widths.rst");
  ASSERT_TRUE(table.save());
  EXPECT_EQ(app->db->resultsOf(exam).size(), 1u);
  left();
  EXPECT_THAT(text(), HasSubstr("\"width\""));
  EXPECT_THAT(text(), HasSubstr("\"12.5\""));
}

TEST_F(Reports, GiveEachSiteAPageAndTheCourseOfEachAPart) {
  for (const std::string name : {"a1", "a2", "b1"}) {
    select(name == "a1" ? "left ring" : name == "a2" ? "Left Ring" : "right ring", name);
    saveImage(name, "4.5, loop width");
  }
  left();
  EXPECT_EQ(job.pages.size(), 4u);
  EXPECT_THAT(job.pages[2].calls, ::testing::Contains(HasSubstr("right ring, ")));
  EXPECT_THAT(job.pages[3].calls, ::testing::Contains(HasSubstr("Site: left ring")));
  EXPECT_THAT(job.pages[3].calls, Not(::testing::Contains(HasSubstr("Site: right ring"))));
}

TEST_F(Reports, OfAStudyNameOutliersCountWhatIsMissingAndCompareSites) {
  const auto add = [](double width) {
    addResultRow(kDiameterResults,
                 recordOf(kDiameterResults, "f.tv1", "um", {{"line", 1}, {"width", width}}));
  };
  select("left ring", "e1");
  for (const double width : {10.0, 11.0, 12.0, 13.0, std::nan("")}) add(width);
  const int32_t second = select("right ring", "e2");
  add(99);
  std::string unread;
  const Outcome done = writeStudySummary(folder.file("s.pdf"), {.quantities = "width"}, unread);
  ASSERT_TRUE(done) << done.why();
  EXPECT_THAT(text(), HasSubstr("\"5; 1 missing\""));
  EXPECT_THAT(text(), HasSubstr("\"99.0\""));
  EXPECT_THAT(text(), HasSubstr("\"" + std::to_string(second) + "\""));
  EXPECT_THAT(text(), HasSubstr("\"12, 11 and 13\""));
  EXPECT_THAT(text(), HasSubstr("\"By site\""));
}

}  // namespace
}  // namespace tarnvisor
