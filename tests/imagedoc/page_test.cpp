// The printed page, on a job that writes down its pages.

#include "base/clock.h"
#include "exams/subjectdirectory.h"
#include "imagedoc/imageprint.h"
#include "support/imagedoctest.h"
#include "support/recordingcanvas.h"

namespace tarnvisor {
namespace {

class PrintedPage : public ImageDocument {
 protected:
  void SetUp() override {
    ImageDocument::SetUp();
    doc = &makeImage(100, 80);
    doc->setTitle("hand.tv1");
    doc->imagefile = "hand.bmp";
    doc->calibrated = 0;
  }
  std::vector<std::string> subjectLines() {
    const auto lines = printheader(*doc, 1, 254);
    return {lines.begin() + 1, std::find_if(lines.begin(), lines.end(),
                                            [](const auto& l) { return l.starts_with("Filename"); })};
  }
  ZBasicDoc* doc = nullptr;
  FixedClock clock{1'700'000'000};
};

TEST_F(PrintedPage, HeaderHasItsLinesInTheirOrder) {
  app->db->newSubject("S-1");
  app->db->updateSubject("S-1", "Ann", "Other", "left handed\r\nno medication");
  doc->patientId = "S-1";
  doc->examIdOfDoc = app->db->newExam("S-1", "left ring finger", "baseline", "f1");
  doc->saveCount = 3;
  doc->capturetime = 1'600'000'000;
  doc->stationIdFirst = "lab";
  doc->calibrated = 1;
  doc->magx = 1.68;
  doc->magy = 2;
  doc->userunits = "um";
  doc->resultText = "density 8.1\r\nspacing 120\r\n";
  EXPECT_THAT(
      printheader(*doc, 4, 254),
      ElementsAre("T a r n v i s o r", "Subject: Ann Other",
                  format("exam: %i  Site: left ring finger Copy: 3", doc->examIdOfDoc),
                  "id: S-1  exam date: " + localDay(app->db->exam(doc->examIdOfDoc)->created),
                  "Filename : hand.tv1", "Image : hand.bmp", "Captured : " + longDateTime(1'600'000'000),
                  "Captured by lab", "magnification : x,    1.68  y,    2.00 um / pixel",
                  "Print scale : x,   42.00  y,   50.00 um / cm", "Printed : " + longDateTime(1'700'000'000),
                  "Result:", "density 8.1", "spacing 120", "comments", "left handed", "no medication",
                  "baseline"));
}

TEST_F(PrintedPage, HeaderLeavesOutWhatIsNotKnown) {
  EXPECT_THAT(printheader(*doc, 1, 254),
              ElementsAre("T a r n v i s o r", "NO SUBJECT", "Filename : hand.tv1", "Image : hand.bmp",
                          "magnification : x,    1.00  y,    1.00 pixel / pixel",
                          "Print scale : x,  100.00  y,  100.00 pixel / cm",
                          "Printed : " + longDateTime(1'700'000'000), "Result:", "comments"));
}

TEST_F(PrintedPage, HeaderTellsTheStatesOfTheDatabase) {
  EXPECT_THAT(subjectLines(), ElementsAre("NO SUBJECT"));
  theExams().selectSubject("S-1", "");
  theExams().selectExam(app->db->newExam("S-1", "left", "", "e"), "e");
  EXPECT_EQ(subjectLines().back(), "not saved with this examination yet");
  doc->subjectOfFile = "S-8";
  EXPECT_THAT(subjectLines(), ElementsAre("Subject: S-8", "exam: -1  Site:  Copy: 0", "id: S-8"))
      << "the file says whose it is";
  doc->patientId = "S-9";
  doc->examIdOfDoc = 77;
  EXPECT_THAT(subjectLines(), ElementsAre("Subject: S-9", "exam: 77  Site:  Copy: 0", "id: S-9"));
  app->closeDatabase();
  EXPECT_THAT(subjectLines(), ElementsAre("NO DATABASE"));
}

TEST_F(PrintedPage, ImageHasTheLargestWholeScaleThatFitsAndIsCentred) {
  EXPECT_EQ(printScale({100, 80}, {450, 900}), 4);
  EXPECT_EQ(printScale({100, 80}, {900, 250}), 3);
  EXPECT_EQ(printScale({100, 80}, {90, 20}), 1);
  EXPECT_EQ(printScale({0, 0}, {90, 20}), 1);
  RecordingJob job({730, 620});
  doc->gridshow = 0;
  doc->notes = "seen";
  printImage(job, *doc);
  ASSERT_EQ(job.pages.size(), 1u);
  // 9 lines of 16 and an empty one leave 460: 5 times the size.
  EXPECT_THAT(job.pages[0].calls, Contains("pixels 100x80 115,160-615,560"));
  EXPECT_THAT(job.pages[0].calls, Contains("polyline 90,160 110,160"));  // the origin's left arm, 5 times
  EXPECT_THAT(job.texts(0), Contains("Print scale : x,   20.00  y,   20.00 pixel / cm"));
}

TEST_F(PrintedPage, OverlaysOfAPartOfALargerFrameStayOnTheirPixels) {
  doc->gridshow = 1;
  doc->roi = {10, 12, 60, 50};
  RecordingJob whole({730, 620}), part({730, 620});
  printImage(whole, *doc);
  doc->image->xOrigin = 1000;
  doc->image->yOrigin = 500;
  doc->move(1000, 500);
  printImage(part, *doc);
  EXPECT_THAT(whole.pages[0].calls, Contains("rectangle 165,220-415,410"));
  EXPECT_EQ(part.pages[0].calls, whole.pages[0].calls);
}

TEST_F(PrintedPage, NotesAreWrappedAndGoOnOverFurtherPages) {
  RecordingJob job({300, 400});
  std::string expected;
  for (int i = 0; i < 300; ++i) expected += format("word%i ", i);
  doc->notes = expected + "\r\n\r\n" + std::string(100, 'x');
  printImage(job, *doc);
  ASSERT_GT(job.pages.size(), 2u);
  std::string notes;
  bool within = false;
  for (size_t p = 0; p < job.pages.size(); ++p)
    for (const std::string& line : job.texts(p)) {
      EXPECT_LE(line.size() * 7, 300u);
      if (within) notes += line + (line.starts_with("xx") ? "" : " ");
      within = within || line == "Notes";
    }
  // Blanks at the ends of lines apart, nothing is lost.
  EXPECT_THAT(notes, HasSubstr("word298 word299 "));
  std::erase(notes, ' ');
  std::erase(expected, ' ');
  EXPECT_EQ(notes, expected + std::string(100, 'x'));
  job = RecordingJob({300, 400});
  job.mostPages = 1;
  printImage(job, *doc);  // ends with a printer that gives up
  EXPECT_EQ(job.pages.size(), 1u);
}

TEST_F(PrintedPage, LongHeaderSendsTheImageToTheNextPage) {
  for (int i = 0; i < 30; ++i) doc->resultText += "line\n";
  RecordingJob job({700, 640});
  printImage(job, *doc);
  ASSERT_EQ(job.pages.size(), 2u);
  EXPECT_THAT(job.pages[1].calls, Contains("pixels 100x80 300,0-400,80"));
}

TEST_F(PrintedPage, WrappedHeaderLinesLeaveTheImageLess) {
  // Narrow paper breaks three of the 9 lines in two.
  RecordingJob job({210, 420});
  printImage(job, *doc);
  ASSERT_EQ(job.pages.size(), 1u);
  const size_t lines = job.texts(0).size();
  EXPECT_EQ(lines, 12u);
  const auto top = static_cast<int32_t>(lines + 1) * 16;
  const int32_t times = std::min(210 / 100, (420 - top) / 80);
  EXPECT_THAT(job.pages[0].calls, Contains(format("pixels 100x80 %i,%i-%i,%i", 105 - 50 * times, top,
                                                  105 + 50 * times, top + 80 * times)));
}

TEST_F(PrintedPage, OfADeviceWithoutAPageIsRefusedInWords) {
  RecordingJob job({0, 0});
  printImage(job, *doc);
  EXPECT_THAT(host.messages, ElementsAre("Current printer driver does not provide necessary support."));
}

}  // namespace
}  // namespace tarnvisor
