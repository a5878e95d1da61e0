#include "image/palette.h"
#include "support/imagedoctest.h"
#include "support/tifffile.h"

namespace tarnvisor {
namespace {

class ImportedStills : public ImageDocument {
 protected:
  static std::string still(const std::string& name) { return std::string(STILLS_FOLDER) + name; }
  // A TIFF file of 2 x 1 pixels a page, each page filled with its value.
  std::string writePages(const std::vector<uint8_t>& levels) {
    std::vector<TiffPage> pages;
    for (const uint8_t level : levels) pages.push_back({.width = 2, .height = 1, .lines = {{level, level}}});
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

TEST_F(ImportedStills, OfSeveralPagesAskForOne) {
  const std::string path = writePages({10, 20, 30});
  host.fill({{"Page", "3"}});
  ASSERT_NE(app->openDocumentFile(path), nullptr);
  EXPECT_EQ(image()->title(), "stack page 3");
  EXPECT_EQ(pixelsOf(*image()->theImage()), (std::vector<uint8_t>{30, 30}));
  host.fills.push_back([](Form& form) {
    EXPECT_NE(form.find("Page")->take("4"), "");
    return false;
  });
  EXPECT_EQ(app->openDocumentFile(path), nullptr);  // cancelled
  EXPECT_EQ(app->documents.documents().size(), 1u);
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
