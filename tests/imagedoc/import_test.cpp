#include "dicom/dicomreader.h"
#include "dicom/dicomwriter.h"
#include "image/palette.h"
#include "image/stillimport.h"
#include "imagedoc/otherpictures.h"
#include "support/imagedoctest.h"
#include "support/tifffile.h"

namespace tarnvisor {
namespace {

class ImportedStills : public ImageDocument {
 protected:
  static std::string still(const std::string& name) { return std::string(STILLS_FOLDER) + name; }
  // A TIFF file of a row a page, one pixel more than on the page before, each filled with its value.
  std::string writePages(const std::vector<uint8_t>& levels) {
    std::vector<TiffPage> pages;
    for (const uint8_t level : levels) {
      const auto width = static_cast<uint32_t>(pages.size() + 1);
      pages.push_back({.width = width, .height = 1, .lines = {Bytes(width, level)}});
    }
    return writeTiff(folder.file("stack.tif"), pages);
  }
};

TEST_F(ImportedStills, BecomeDocumentsWhosePixelsAreSavedApart) {
  ASSERT_NE(app->openDocumentFile(still("colour.png")), nullptr);
  ASSERT_NE(image(), nullptr);
  EXPECT_EQ(image()->title(), "colour");
  EXPECT_EQ(image()->notes, "Import colour.png\r\n");
  EXPECT_TRUE(image()->isModified());
  EXPECT_EQ(image()->imagefile, "");
  const std::vector<uint8_t> pixels = pixelsOf(*image()->theImage());
  reopen("hand.tv1");
  EXPECT_EQ(image()->imagefile, "hand.bmp");
  EXPECT_EQ(image()->theImage()->colourset, kColour);
  EXPECT_EQ(pixelsOf(*image()->theImage()), pixels);
}

TEST_F(ImportedStills, SayWhereTheirFileWasCutOff) {
  const auto whole = readWholeFile(still("colour.jpg"));
  ASSERT_TRUE(whole);
  ASSERT_TRUE(replaceFile(folder.file("cut.jpg"), std::span(*whole)));
  ASSERT_NE(app->openDocumentFile(folder.file("cut.jpg")), nullptr);
  EXPECT_THAT(image()->notes, Not(HasSubstr("damaged")));
  ASSERT_TRUE(replaceFile(folder.file("cut.jpg"), std::span(*whole).first(whole->size() - 4)));
  ASSERT_NE(app->openDocumentFile(folder.file("cut.jpg")), nullptr);
  EXPECT_THAT(host.messages, Contains(HasSubstr("damaged")));
  EXPECT_THAT(image()->notes, HasSubstr("damaged"));
}

TEST_F(ImportedStills, OfAMovingPictureTellWhatIsNotShown) {
  using namespace std::string_literals;
  const std::string each = ",\0\0\0\0\1\0\1\0\0\2\2D\1\0"s;
  const std::string gif = "GIF89a\1\0\1\0\x80\0\0\xff\xff\xff\0\0\0"s + each + each + ";";
  ASSERT_TRUE(replaceFile(folder.file("a.gif"), gif));
  ASSERT_NE(app->openDocumentFile(folder.file("a.gif")), nullptr);
  EXPECT_THAT(image()->notes, HasSubstr("a.gif: It holds 2 images; only the first is shown."));
}

TEST_F(ImportedStills, OfPagesOfSeveralSizesAskForOne) {
  const std::string path = writePages({10, 20, 30});
  host.fill({{"Page", "3"}});
  ASSERT_NE(app->openDocumentFile(path), nullptr);
  EXPECT_EQ(image()->title(), "stack page 3");
  EXPECT_EQ(pixelsOf(*image()->theImage()), (std::vector<uint8_t>{30, 30, 30}));
  host.fills.push_back([](Form& form) {
    EXPECT_NE(form.find("Page")->take("4"), "");
    return false;
  });
  EXPECT_EQ(app->openDocumentFile(path), nullptr);  // cancelled
  EXPECT_EQ(app->documents.documents().size(), 1u);
}

TEST_F(ImportedStills, HaveTheScaleThatTheirFileTells) {
  TiffPage page{.width = 2, .height = 1, .lines = {{1, 2}}};
  page.resolution = 4000;
  page.resolutionUnit = RESUNIT_CENTIMETER;
  ASSERT_NE(app->openDocumentFile(writeTiff(folder.file("a.tif"), {page})), nullptr);
  EXPECT_DOUBLE_EQ(image()->scale().x, 2.5);
  EXPECT_EQ(image()->unitName(), "um");
  EXPECT_THAT(image()->notes, HasSubstr("scale 2.5 x 2.5 um/pixel by the TIFF resolution"));
  EXPECT_EQ(settings.getInt("settings", "calibrated", 0), 0);
  page.bits = 16;
  page.lines = {{1, 0, 2, 0}};
  page.resolution = 300;
  page.resolutionUnit = RESUNIT_INCH;
  ASSERT_NE(app->openDocumentFile(writeTiff(folder.file("b.tif"), {page})), nullptr);
  EXPECT_EQ(image()->unitName(), "pixel");
}

TEST_F(ImportedStills, OfDicomNameTheirPatientAndAreNobodyElsesUnasked) {
  const DicomFacts facts{
      .subjectId = "S-1", .surname = "Doe", .name = "Ann", .pixelWidth = 2, .pixelHeight = 3};
  CZZimage picture(3, 2);
  ASSERT_TRUE(exportDicom(picture, facts, folder.file("a.dcm")));
  ASSERT_NE(app->openDocumentFile(folder.file("a.dcm")), nullptr);
  EXPECT_THAT(image()->notes, HasSubstr("DICOM patient: S-1 Doe Ann"));
  EXPECT_DOUBLE_EQ(image()->scale().x, 2);
  EXPECT_DOUBLE_EQ(image()->scale().y, 3);
  ASSERT_TRUE(app->db->newSubject("S-2"));
  theExams().selectSubject("S-2", "Another");
  EXPECT_EQ(image()->measuredFor().subject, "S-1");
  host.answers = {Answer::No};
  EXPECT_FALSE(image()->onSaveDocument(folder.file("a.tv1")));
  EXPECT_THAT(host.messages.back(), HasSubstr("names the subject S-1"));
  EXPECT_FALSE(fileExists(folder.file("a.tv1")));
  host.answers = {Answer::Yes};
  EXPECT_TRUE(image()->onSaveDocument(folder.file("a.tv1")));
  EXPECT_TRUE(image()->onSaveDocument(folder.file("a.tv1")));  // asked once
  EXPECT_EQ(image()->measuredFor().subject, "S-2");
}

TEST_F(ImportedStills, OfAnotherPatientComeIntoNoOpenDocumentUnasked) {
  ASSERT_TRUE(exportDicom(CZZimage(3, 2), {.subjectId = "S-1"}, folder.file("a.dcm")));
  ASSERT_TRUE(app->db->newSubject("S-2"));
  theExams().selectSubject("S-2", "Another");
  ZBasicDoc& d = makeImage(5, 3);
  EXPECT_TRUE(d.agreesToSubject("a.dcm", "S-2"));
  host.answers = {Answer::No};
  EXPECT_FALSE(d.mayTakeFrom(folder.file("a.dcm")));
  EXPECT_THAT(host.messages.back(), HasSubstr("a.dcm names the subject S-1"));
}

TEST_F(ImportedStills, KeepTheirScaleInATiffThatGoesOut) {
  ZBasicDoc& d = makeImage(5, 3);
  ASSERT_TRUE(d.setScale(0.5, 0.25, "", 1, false, false));
  d.userunits = "um";
  ASSERT_TRUE(d.exportImage(folder.file("out.tif")));
  const ToldScale told = stillScale(folder.file("out.tif"), 0);
  EXPECT_DOUBLE_EQ(told.x, 0.5);
  EXPECT_DOUBLE_EQ(told.y, 0.25);
  if (std::system("tiffinfo -h > /dev/null 2>&1") / 256 == 127) GTEST_SKIP() << "libtiff's tools are missing";
  const std::string text = folder.file("out.txt");
  EXPECT_EQ(std::system(("tiffinfo " + folder.file("out.tif") + " > " + text).c_str()), 0);
  EXPECT_THAT(readWholeText(text).value_or(""), HasSubstr("Resolution: 20000, 40000 pixels/cm"));
}

TEST_F(ImportedStills, TellOfAScaleThatIsNotTaken) {
  ZBasicDoc& d = makeImage(5, 3);
  ASSERT_TRUE(d.setScale(2, 2, "", 1, false, false));
  d.userunits = "um";
  d.tellOfOtherScale("a.tif", {.x = 2.0001, .y = 2, .source = "OME-XML"});
  EXPECT_TRUE(host.messages.empty());
  d.tellOfOtherScale("a.tif", {.x = 0.5, .y = 0.5, .source = "OME-XML"});
  EXPECT_THAT(host.messages.back(), HasSubstr("a.tif tells 0.5 x 0.5 um/pixel by OME-XML"));
  EXPECT_THAT(d.notes, HasSubstr("the scale of this document stays"));
}

TEST_F(ImportedStills, GoOutAsDicomWithTheirSubjectExamAndScale) {
  ASSERT_TRUE(app->db->newSubject("S-1"));
  ASSERT_TRUE(app->db->updateSubject("S-1", "Ann", "Doe", ""));
  const int32_t exam = app->db->newExam("S-1", "left ring", "cold", "e1");
  theExams().selectSubject("S-1", "Ann Doe");
  theExams().selectExam(exam, "e1");
  ZBasicDoc& d = makeImage(5, 3);
  ASSERT_TRUE(d.setScale(0.5, 0.25, "mm now", 1, false, false));
  d.userunits = "mm";
  host.paths = {folder.file("a.dcm")};
  host.fill({{"Series", "after cold"}});
  run("Export DICOM...");
  std::string why;
  const auto back = openDicom(folder.file("a.dcm"), why);
  ASSERT_NE(back, nullptr) << why;
  EXPECT_EQ(back->subject(), "S-1");
  EXPECT_EQ(folderOf(d.exportPath(".png")), app->dataFolder + "e1/") << "it lies nowhere yet";
  EXPECT_THAT(dicomFactsOf(d).study, HasSubstr("S-1"));
  EXPECT_FALSE(dicomFactsOf(d).isCalibrated);
  EXPECT_DOUBLE_EQ(back->scale().x, 500);
  EXPECT_DOUBLE_EQ(back->scale().y, 250);
  EXPECT_THAT(back->remarks(), ::testing::Contains(HasSubstr("left ring, cold")));
  EXPECT_THAT(back->remarks(), ::testing::Contains("DICOM series: after cold"));
  d.setPathName(folder.file("a.tv1"));
  EXPECT_EQ(d.exportPath(".png"), folder.file("a.png"));
  d.noteFetched();
  EXPECT_EQ(folderOf(d.exportPath(".png")), app->dataFolder + "e1/");
  CZZimage pixels;
  ASSERT_TRUE(back->read(0, pixels));
  EXPECT_EQ(pixelsOf(pixels), pixelsOf(*d.theImage()));
}

TEST_F(ImportedStills, ComeInThroughImportBesideWhatIsOpen) {
  host.paths = {still("colour.png"), still("grey16.png")};
  app->onFileImport();
  EXPECT_EQ(app->documents.documents().size(), 2u);
  // Of an image in front, Import replaces the pixels by those of a file that the buffer loads, and opens
  // others.
  ZBasicDoc& present = makeImage(4, 4);
  host.paths = {still("grey16.png")};
  run("Import...");
  EXPECT_EQ(app->documents.documents().size(), 4u);
  EXPECT_EQ(present.theImage()->width, 4);
  EXPECT_EQ(image()->title(), "grey16");
  // A picture that can't be read leaves no empty window.
  EXPECT_EQ(app->openDocumentFile(still("huge.png")), nullptr);
  EXPECT_EQ(app->documents.documents().size(), 4u);
  EXPECT_NE(host.messages.back().find("huge.png can't be read"), std::string::npos);
}

}  // namespace
}  // namespace tarnvisor
