// Sequences of other programs as videos.
#include "dicom/dicomreader.h"
#include "support/tifffile.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

class Sequences : public VideoTest {
 protected:
  // 2 x 1 pixels a page.
  std::string writePages(const std::vector<Bytes>& pages, uint32_t bits, const std::string& description) {
    std::vector<TiffPage> all;
    for (const Bytes& page : pages)
      all.push_back({.width = 2, .height = 1, .lines = {page}, .bits = bits, .description = description});
    return writeTiff(folder.file("stack.tif"), all);
  }
};

TEST_F(Sequences, OfTiffPagesAreVideosWithTheirRateAndScale) {
  const std::string path = writePages(
      {{1, 10}, {1, 20}, {1, 30}}, 8,
      "<OME><Image><Pixels SizeX='2' SizeY='1' PhysicalSizeX='0.5' TimeIncrement='0.1'/></Image></OME>");
  ASSERT_NE(app->openDocumentFile(path), nullptr);
  EXPECT_EQ(levels(), (std::vector<int>{10, 20, 30}));
  EXPECT_DOUBLE_EQ(video().fps, 10);
  EXPECT_DOUBLE_EQ(video().scale().x, 0.5);
  EXPECT_THAT(video().notes, HasSubstr("Import stack.tif, 3 pictures"));
  ASSERT_TRUE(video().onSaveDocument(folder.file("a.dtv")));
  app->documents.discardAll();
  std::filesystem::remove(path);
  ASSERT_NE(app->openDocumentFile(folder.file("a.dtv")), nullptr);
  EXPECT_EQ(levels(), (std::vector<int>{10, 20, 30}));
  EXPECT_DOUBLE_EQ(video().scale().x, 0.5);
}

TEST_F(Sequences, TellOfPagesThatAreAway) {
  const char* descriptions[] = {
      "<OME><Image><Pixels SizeX='2' SizeY='1' DimensionOrder='XYCZT' SizeT='5'/></Image></OME>",
      "ImageJ=1.53\nimages=5\nslices=5\n"};
  for (const char* description : descriptions) {
    ASSERT_NE(app->openDocumentFile(writePages({{1, 10}, {1, 20}, {1, 30}}, 8, description)), nullptr);
    EXPECT_EQ(levels(), (std::vector<int>{10, 20, 30}));
    EXPECT_THAT(host.messages.back(), HasSubstr("it holds 3 of the 5 pages"));
    EXPECT_THAT(video().notes, HasSubstr("it holds 3 of the 5 pages"));
  }
}

TEST_F(Sequences, OfSeveralChannelsOrLayersShowTheFirst) {
  const std::pair<const char*, std::vector<int>> cases[] = {
      {"<OME><Image><Pixels SizeX='2' SizeY='1' DimensionOrder='XYCTZ' SizeC='2' SizeZ='2' SizeT='2'/></Image></OME>",
       {1, 3}},
      {"<OME><Image><Pixels SizeX='2' SizeY='1' DimensionOrder='XYTZC' SizeC='2' SizeZ='2' SizeT='2'/></Image></OME>",
       {1, 2}},
      {"ImageJ=1.53\nimages=8\nchannels=2\nslices=2\nframes=2\n", {1, 5}}};
  for (const auto& [description, shown] : cases) {
    std::vector<Bytes> pages;
    for (uint8_t i = 1; i <= 8; ++i) pages.push_back({0, i});
    ASSERT_NE(app->openDocumentFile(writePages(pages, 8, description)), nullptr);
    EXPECT_EQ(levels(), shown) << description;
    EXPECT_THAT(video().notes, HasSubstr("of 2 channels and 2 layers at each moment the first"));
  }
}

TEST_F(Sequences, ShareOneRangeOfLevels) {
  ASSERT_NE(app->openDocumentFile(writePages({{0, 0, 0, 1}, {0, 2, 0, 4}}, 16, "")), nullptr);
  EXPECT_EQ(levels(), (std::vector<int>{64, 255}));
  EXPECT_THAT(video().notes, HasSubstr("levels 0 to 1024 became 0 to 255"));
  EXPECT_THAT(video().notes, HasSubstr("tells no rate"));
}

TEST_F(Sequences, AreAddedBehindTheImagesThereAre) {
  const std::string path = writePages({{1, 10}, {1, 20}}, 8, "");
  ASSERT_NE(app->openDocumentFile(path), nullptr);
  useWorkFolder();
  ASSERT_TRUE(video().importMovie(path, false));
  EXPECT_EQ(levels(), (std::vector<int>{10, 20, 10, 20}));
}

TEST_F(Sequences, OfAnotherPatientOrScaleAreNotAddedWithoutAWord) {
  for (const char* subject : {"S-1", "S-2"}) ASSERT_TRUE(app->db->newSubject(subject));
  theExams().selectSubject("S-1", "One");
  openMovie("a.mve", 2);
  ASSERT_TRUE(video().setScale(3, 3, "", 1, false, false));
  video().userunits = "um";
  ASSERT_TRUE(video().exportTo(folder.file("a.dcm")).ok);
  app->documents.discardAll();
  theExams().selectSubject("S-2", "Two");
  openMovie("b.mve", 2);
  ASSERT_TRUE(video().setScale(2, 2, "", 1, false, false));
  useWorkFolder();
  host.answers = {Answer::No};
  EXPECT_FALSE(video().importMovie(folder.file("a.dcm"), false));
  EXPECT_THAT(host.messages.back(), HasSubstr("a.dcm names the subject S-1"));
  host.answers = {Answer::Yes};
  EXPECT_TRUE(video().importMovie(folder.file("a.dcm"), false));
  EXPECT_EQ(video().imageCount(), 4);
  EXPECT_THAT(video().notes, HasSubstr("a.dcm tells 3 x 3 um/pixel"));
}

TEST_F(Sequences, ThatAreDamagedOpenNothing) {
  const std::string path = writePages({{1, 10}, {1, 20}}, 8, "");
  std::filesystem::resize_file(path, 60);
  EXPECT_EQ(app->openDocumentFile(path), nullptr);
  EXPECT_FALSE(host.messages.empty());
}

TEST_F(Sequences, GoOutAsDicomAndComeBack) {
  openMovie("a.mve", 5);
  video().fps = 20;
  ASSERT_TRUE(video().setScale(3, 3, "", 1, false, false));
  video().selectionFirst = 1;
  video().selectionLast = 4;
  const StepResult done = video().exportTo(folder.file("a.dcm"));
  ASSERT_TRUE(done.ok) << done.why;
  ASSERT_NE(app->openDocumentFile(folder.file("a.dcm")), nullptr);
  EXPECT_EQ(levels(), (std::vector<int>{11, 12, 13}));
  EXPECT_DOUBLE_EQ(video().fps, 20);
  EXPECT_DOUBLE_EQ(video().scale().y, 3);
}

}  // namespace
}  // namespace tarnvisor
