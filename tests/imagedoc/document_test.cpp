// The document's life: stored versions, opening, saving, copies.
#include <sys/mount.h>

#include "image/palette.h"
#include "support/archivetest.h"
#include "support/imagedoctest.h"

namespace tarnvisor {
namespace {

std::string emptyLists(size_t count) { return std::string(2 * count, '\0'); }

// The fields that every version has.
FileBytes firstFields(int32_t version) {
  FileBytes b;
  b.dword(version).dword(11).dword(12).dword(0).real(1.5).real(2.5).dword(1).str("mm");
  return b.dword(3).dword(4).dword(0).dword(0).dword(0).dword(0).dword(0).dword(0).dword(1).dword(1).str("");
}

class StoredImage : public ImageDocument {
 protected:
  ZBasicDoc* openBytes(const FileBytes& b) {
    EXPECT_TRUE(replaceFile(folder.file("old.tv1"), std::span<const uint8_t>(b.bytes)));
    while (image()) process.imageTemplate->discard(*image());
    return dynamic_cast<ZBasicDoc*>(app->openDocumentFile(folder.file("old.tv1")));
  }
};

TEST_F(StoredImage, ReadsEachOldVersion) {
  for (int32_t version = 1; version <= 12; ++version) {  // one to come is read as the last
    FileBytes b = firstFields(version);
    if (version > 1) b.dword(777).str("old notes");
    if (version > 2) b.dword(1).dword(1).dword(1).real(42.5).dword(0x123456);
    if (version > 3) b.str("mine.wmf");
    if (version > 5) b.dword(9);
    if (version > 6) b.dword(3).dword(0);
    if (version > 7) b.str("x10").dword(5);
    if (version > 9) b.str("first station");
    if (version > 10) b.dword(100).dword(200);
    b.text(emptyLists(version >= 6 ? 9 : version == 5 ? 2 : 1));
    if (version > 8)
      b.dword(2).dword(8).str("S-1").dword(4).str("user").str("density").str("station").str("first station");
    makeImage(4, 4);
    ZBasicDoc* d = openBytes(b);
    ASSERT_NE(d, nullptr) << version << (host.messages.empty() ? "" : host.messages.back());
    EXPECT_EQ(d->target, (Point{11, 12}));
    EXPECT_EQ(d->showtarget, 0);
    EXPECT_EQ(d->magx, 1.5);
    EXPECT_EQ(d->magy, 2.5);
    EXPECT_EQ(d->unitName(), "mm");
    EXPECT_EQ(d->imageoffset, (Point{3, 4}));
    EXPECT_EQ(d->roicircle, (Rect{0, 0, 1, 1}));
    EXPECT_FALSE(d->hasCircularRoi()) << "without a ROI there is no circle";
    EXPECT_EQ(d->notes, version > 1 ? "old notes" : "");
    EXPECT_EQ(d->capturetime, version > 1 ? 777 : 0);
    EXPECT_EQ(d->gridspacing, version > 2 ? 42.5 : 100.0);
    EXPECT_EQ(d->gridcolour, version > 2 ? 0x123456u : 0x808080u);
    EXPECT_EQ(d->userfilename, version > 3 ? "mine.wmf" : "");
    EXPECT_EQ(d->colourset, version > 6 ? 3 : 0);
    EXPECT_EQ(d->zeroasblack, 1);
    EXPECT_EQ(d->magname, version > 7 ? "x10" : "default");
    EXPECT_EQ(d->stationIdFirst, version > 9 ? "first station" : "version <=9") << version;
    EXPECT_EQ(d->originx, version > 10 ? 100 : 0);
    EXPECT_EQ(d->patientId, version > 8 ? "S-1" : "");
    EXPECT_EQ(d->resultText, version > 8 ? "density" : "");
    for (const size_t list : {kAmcList, kDustList}) EXPECT_TRUE(d->dimlists[list].hidden) << list;
    EXPECT_EQ(d->isBound, 1);
  }
}

TEST_F(StoredImage, TakesNineListsOfAFileThatSaysMore) {
  FileBytes b = firstFields(6);
  b.dword(0).str("").dword(0).dword(0).dword(0).real(1).dword(0).str("").dword(10).text(emptyLists(10));
  makeImage(4, 4);
  ZBasicDoc* opened = openBytes(b);
  ASSERT_NE(opened, nullptr);
  EXPECT_FALSE(opened->onSaveDocument(opened->pathName())) << "the tenth stays in its file";
}

TEST_F(StoredImage, RefusesACutFile) {
  const FileBytes whole = firstFields(1).text(emptyLists(1));
  for (size_t length = 0; length < whole.bytes.size(); length += 7) {
    makeImage(4, 4);
    EXPECT_EQ(openBytes({{whole.bytes.begin(), whole.bytes.begin() + static_cast<ptrdiff_t>(length)}}),
              nullptr)
        << length;
    EXPECT_THAT(host.messages.back(), HasSubstr("the file ends too early"));
  }
}

TEST_F(ImageDocument, SavingOnceTurnsZeroAsBlackOverAndTwiceRestoresIt) {
  makeImage(8, 8);
  ASSERT_EQ(image()->zeroasblack, 1);
  for (const int expected : {0, 1}) {
    reopen("z.tv1");
    EXPECT_EQ(image()->zeroasblack, expected);
    EXPECT_EQ(image()->theImage()->blackZero, expected);
  }
}

TEST_F(ImageDocument, KeepsEverythingThroughASave) {
  ZBasicDoc& d = makeImage(33, 20);
  d.theImage()->xOrigin = 7;
  d.notes = std::string(300, 'n');
  d.setCurrentList(kFcdList);
  d.addPointToDimension(d.addDimension({1, 2}, 4), {9, 2});
  d.resultText = "a result";
  const std::vector<uint8_t> before = pixelsOf(*d.theImage());
  reopen("shot.tv1");
  ZBasicDoc& r = *image();
  EXPECT_EQ(pixelsOf(*r.theImage()), before);
  EXPECT_EQ(r.imagePath(), folder.file("shot.bmp"));
  EXPECT_EQ(r.imagefile, "shot.bmp") << "a bare name, so that both can move together";
  EXPECT_EQ(r.theImage()->xOrigin, 7);
  EXPECT_EQ(r.notes, std::string(300, 'n'));
  EXPECT_EQ(r.resultText, "a result");
  ASSERT_EQ(r.dimlists[kFcdList].size(), 1);
  EXPECT_STREQ(r.dimlists[kFcdList].at(0).classRecord().name, "CDimCircle");
  EXPECT_EQ(r.imagedirty, 0);
  EXPECT_FALSE(r.isModified());
}

TEST_F(ImageDocument, ChoosesThePixelFormat) {
  ZBasicDoc& d = makeImage(8, 8);
  settings.setString("settings", "imagetype", ".tif");
  ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
  EXPECT_TRUE(fileExists(folder.file("a.tif")));
  ASSERT_TRUE(d.theImage()->setColourset(kBayer));
  d.imagedirty = 1;
  ASSERT_TRUE(d.onSaveDocument(folder.file("b.tv1")));
  EXPECT_TRUE(fileExists(folder.file("b.zzg"))) << "only this form keeps the mosaic";
}

TEST_F(ImageDocument, FindsAMovedPixelFileBesideTheDocumentOrAsks) {
  makeImage(8, 8);
  ASSERT_TRUE(image()->onSaveDocument(folder.file("a.tv1")));
  const auto moveTo = [&](const std::string& from, const std::string& to) {
    std::filesystem::rename(folder.file(from), folder.file(to));
  };
  ASSERT_TRUE(makeFolderPath(folder.file("new")));
  image()->imagefile = "C:\\study\\a.bmp";  // as another machine stored it
  image()->imagedirty = 0;
  ASSERT_TRUE(replaceFile(folder.file("probe"), std::string_view("")));
  moveTo("a.bmp", "new/a.bmp");
  moveTo("a.tv1", "new/a.tv1");
  process.imageTemplate->discard(*image());
  ASSERT_NE(app->openDocumentFile(folder.file("new/a.tv1")), nullptr);
  process.imageTemplate->discard(*image());

  moveTo("new/a.bmp", "elsewhere.bmp");
  ZBasicDoc quiet;
  quiet.silent = 1;
  EXPECT_FALSE(quiet.onOpenDocument(folder.file("new/a.tv1"))) << "and asks nobody";
  EXPECT_TRUE(host.messages.empty());
  host.paths.push_back(std::nullopt);
  EXPECT_EQ(app->openDocumentFile(folder.file("new/a.tv1")), nullptr);
  EXPECT_EQ(host.messages.back(), "Cannot find image file a.bmp.\nPlease specify new location.");
  host.paths.push_back(folder.file("elsewhere.bmp"));
  ASSERT_NE(app->openDocumentFile(folder.file("new/a.tv1")), nullptr);
  EXPECT_EQ(image()->imagefile, folder.file("elsewhere.bmp"));
}

TEST_F(ImageDocument, ATrimmedSaveShiftsTheDocumentAndReopensIt) {
  ZBasicDoc& d = makeImage(40, 30);
  ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
  d.setPathName(folder.file("a.tv1"));
  d.addPointToDimension(d.addDimension({12, 13}, 1), {20, 21});
  d.target = {15, 16};
  d.theImage()->xOrigin = 3;
  d.roi = {10, 10, 30, 25};
  // The ROI counts in the sensor's frame, of which the image shows a part from column 3 on.
  const std::vector<uint8_t> inside = pixelsOf(*d.theImage()->makeChild(d.roi));
  host.answers = {Answer::Yes};
  ASSERT_TRUE(d.save());
  EXPECT_EQ(d.theImage()->width, 20);
  EXPECT_EQ(d.theImage()->height, 15);
  EXPECT_EQ(d.theImage()->xOrigin, 0);
  EXPECT_EQ(d.dimlists[kPlainList].at(0).points, (std::vector<Point>{{2, 3}, {10, 11}}));
  EXPECT_EQ(d.target, (Point{5, 6}));
  EXPECT_EQ(d.imageoffset, (Point{-10, -10}));
  EXPECT_EQ(d.roi, (Rect{0, 0, 20, 15}));
  EXPECT_EQ(pixelsOf(*d.theImage()), inside);
}

TEST_F(ImageDocument, AsksAboutTheRoiUnlessToldBefore) {
  ZBasicDoc& d = makeImage(40, 30);
  d.roi = {10, 10, 30, 25};
  host.fills.push_back([](Form& form) {
    EXPECT_EQ(form.title(), "ROI or whole image");
    return false;
  });
  EXPECT_FALSE(d.onSaveDocument(folder.file("a.tv1"))) << "Cancel abandons the save";
  EXPECT_FALSE(fileExists(folder.file("a.tv1")));
  d.keepwhole = 1;
  ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
  EXPECT_EQ(d.savedroi, 0);
  d.keepwhole = 0;
  d.silent = 1;
  ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
  EXPECT_EQ(d.savedroi, 1);
}

TEST_F(ImageDocument, PixelsOfItsOwnFileAreTrimmedOnlyWhenSomebodySaysSo) {
  ZBasicDoc& d = makeImage(40, 30);
  d.setPathName(folder.file("a.tv1"));
  ASSERT_TRUE(d.save());
  const auto whole = readWholeFile(folder.file("a.bmp"));
  d.roi = {10, 10, 30, 25};
  host.answers = {Answer::Cancel, Answer::No};
  EXPECT_FALSE(d.save());
  EXPECT_THAT(host.messages.back(), HasSubstr("lost for ever from " + folder.file("a.bmp")));
  EXPECT_TRUE(d.save());
  d.silent = 1;
  EXPECT_TRUE(d.save());
  d.silent = 0;
  process.quietMode = 1;
  EXPECT_TRUE(d.save());
  EXPECT_EQ(readWholeFile(folder.file("a.bmp")), whole);
}

TEST_F(ImageDocument, AWholeImageWithARoiIsWrittenForEachDocument) {
  ZBasicDoc& d = makeImage(40, 30);
  d.keepwhole = 1;
  for (const char* name : {"a", "b", "b"}) {
    ASSERT_TRUE(d.onSaveDocument(folder.file(name + std::string(".tv1"))));
    d.setPathName(folder.file(name + std::string(".tv1")));
    d.roi = {10, 10, 30, 25};
    EXPECT_EQ(d.imagefile, name + std::string(".bmp"));
  }
  EXPECT_EQ(readWholeFile(folder.file("b.bmp")), readWholeFile(folder.file("a.bmp")));
}

// The state that a kill between the document's file and the last step of its pixels leaves.
TEST_F(ImageDocument, ASaveThatWasKilledIsFinishedAtOpening) {
  const auto saveShade = [&](uint8_t shade) {
    image()->theImage()->fill(shade);
    image()->imagedirty = 1;
    ASSERT_TRUE(image()->save());
  };
  const auto reopenedShade = [&] {
    process.imageTemplate->discard(*image());
    EXPECT_NE(app->openDocumentFile(folder.file("a.tv1")), nullptr);
    return image()->theImage()->row(0)[0];
  };
  makeImage(8, 8).setPathName(folder.file("a.tv1"));
  saveShade(10);
  const auto old = readWholeFile(folder.file("a.bmp"));
  saveShade(20);
  std::filesystem::rename(folder.file("a.bmp"), folder.file("a~new2.bmp"));
  EXPECT_EQ(reopenedShade(), 20) << "without the file that was to be replaced";
  std::filesystem::rename(folder.file("a.bmp"), folder.file("a~new2.bmp"));
  ASSERT_TRUE(replaceFile(folder.file("a.bmp"), std::span<const uint8_t>(*old)));
  EXPECT_EQ(reopenedShade(), 20);
  EXPECT_EQ(image()->imagefile, "a.bmp");
  EXPECT_FALSE(fileExists(folder.file("a~new2.bmp")));

  const std::string killed = folder.file("a~new2-999999999.bmp");  // with the process that is no more
  std::filesystem::rename(folder.file("a.bmp"), killed);
  EXPECT_EQ(reopenedShade(), 20);
  EXPECT_FALSE(fileExists(killed));
  const std::string others = folder.file("a~new3-1.bmp");  // of a program that saves the same image now
  ASSERT_TRUE(replaceFile(others, std::string_view("its pixels")));
  saveShade(20);
  EXPECT_EQ(readWholeText(others), "its pixels");
  ASSERT_EQ(::unlink(others.c_str()), 0);

  // Killed before the document: those pixels are no document's, now and after a save of the marks alone.
  ASSERT_TRUE(replaceFile(folder.file("a~new4.bmp"), std::span<const uint8_t>(*old)));
  EXPECT_EQ(reopenedShade(), 20);
  ASSERT_TRUE(image()->onSaveDocument(folder.file("a.tv1")));
  EXPECT_FALSE(fileExists(folder.file("a~new4.bmp")));
  EXPECT_EQ(reopenedShade(), 20);
}

TEST_F(ImageDocument, ALinkToADocumentFindsAndKeepsThePixelsOfItsTarget) {
  for (const char* name : {"there", "links"}) ASSERT_TRUE(makeFolderPath(folder.file(name)));
  makeImage(8, 8);
  ASSERT_TRUE(image()->onSaveDocument(folder.file("there/a.tv1")));
  process.imageTemplate->discard(*image());
  std::filesystem::create_symlink("../there/a.tv1", folder.file("links/a.tv1"));
  ASSERT_NE(app->openDocumentFile(folder.file("links/a.tv1")), nullptr);
  image()->theImage()->fill(77);
  image()->imagedirty = 1;
  ASSERT_TRUE(image()->save());
  process.imageTemplate->discard(*image());
  ASSERT_NE(app->openDocumentFile(folder.file("there/a.tv1")), nullptr);
  EXPECT_EQ(image()->theImage()->pixelAt(3, 3), 77);
  EXPECT_EQ(image()->imagefile, "a.bmp");
}

TEST_F(ImageDocument, PixelsThatCantBeWrittenStayChanged) {
  ZBasicDoc& d = makeImage(8, 8);
  for (const int silent : {1, 0}) {
    d.silent = silent;
    EXPECT_FALSE(d.onSaveDocument(folder.file("missing/a.tv1")));
    EXPECT_EQ(d.imagedirty, 1);
    EXPECT_EQ(host.messages.size(), silent ? 0u : 1u);
  }
  EXPECT_THAT(host.messages.back(), HasSubstr("Error saving image."));
}

TEST_F(ImageDocument, APictureFromElsewhereIsNeverWrittenOver) {
  CZZimage shot(12, 6, -1, 0, kColour);
  ASSERT_TRUE(shot.save(folder.file("shot.bmp")));
  const auto original = readWholeFile(folder.file("shot.bmp"));
  const auto adopt = [&] {
    auto* d = static_cast<ZBasicDoc*>(process.imageTemplate->newDocument());
    EXPECT_TRUE(d->adoptImageFile(folder.file("shot.bmp")));
    return d;
  };
  ZBasicDoc* d = adopt();
  for (int save = 0; save < 3; ++save) {
    d->imagedirty = save > 0;
    ASSERT_TRUE(d->onSaveDocument(folder.file("shot.tv1")));
    d->setPathName(folder.file("shot.tv1"));
    EXPECT_EQ(d->imagefile, "shot-1.bmp") << save;
    EXPECT_EQ(readWholeFile(folder.file("shot.bmp")), original) << save;
  }
  process.imageTemplate->discard(*d);
  auto* again = static_cast<ZBasicDoc*>(app->openDocumentFile(folder.file("shot.tv1")));
  again->imagedirty = 1;
  ASSERT_TRUE(again->onSaveDocument(folder.file("shot.tv1")));
  EXPECT_EQ(again->imagefile, "shot-1.bmp") << "its own file is written over";
  again->imagedirty = 1;
  ASSERT_TRUE(replaceFile(folder.file("b.bmp"), std::string_view("somebody's")));
  ASSERT_TRUE(again->onSaveDocument(folder.file("b.tv1")));
  EXPECT_EQ(readWholeText(folder.file("b.bmp")), "somebody's");

  ASSERT_TRUE(makeFolderPath(folder.file("exam")));
  ZBasicDoc* third = adopt();
  ASSERT_TRUE(third->onSaveDocument(folder.file("exam/x.tv1")));
  EXPECT_EQ(third->imagefile, "x.bmp");
  EXPECT_EQ(readWholeFile(folder.file("exam/x.bmp")), original) << "it comes along byte for byte";
}

TEST_F(ImageDocument, PixelsThatAnotherRunPutInItsFileAreNotTakenForItsOwn) {
  ZBasicDoc& d = makeImage(40, 30);
  ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
  d.setPathName(folder.file("a.tv1"));
  CZZimage others(8, 8);
  ASSERT_TRUE(others.save(folder.file("a.bmp")));
  ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
  EXPECT_EQ(d.imagefile, "a-1.bmp");
  ASSERT_TRUE(others.save(folder.file("a-1.bmp")));
  ASSERT_TRUE(d.onSaveDocument(folder.file("b.tv1")));
  for (const auto& [file, width] : {std::pair("a.bmp", 8), {"a-1.bmp", 8}, {"b.bmp", 40}}) {
    CZZimage written;
    ASSERT_TRUE(written.load(folder.file(file))) << file;
    EXPECT_EQ(written.width, width) << file;
  }
}

TEST_F(ImageDocument, ATrimmedFirstSaveCutsTheImageInMemoryToo) {
  ZBasicDoc& d = makeImage(40, 30);
  d.roi = {10, 10, 30, 25};
  d.silent = 1;
  for (int save = 0; save < 2; ++save) {
    ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
    d.setPathName(folder.file("a.tv1"));
    EXPECT_EQ(d.theImage()->width, 20);
    EXPECT_EQ(d.roi, (Rect{0, 0, 20, 15}));
    EXPECT_EQ(d.theImage()->pixelAt(0, 0), (10 * 7 + 10 * 13) % 251);
  }
  EXPECT_EQ(d.undoimage(), nullptr) << "the whole image would lie wrong under the shifted marks";
}

TEST_F(ImageDocument, AFullDiscLosesNothing) {
  ASSERT_TRUE(makeFolderPath(folder.file("disc")));
  if (::mount("tmpfs", folder.file("disc").c_str(), "tmpfs", 0, "size=96k") != 0)
    GTEST_SKIP() << "no right to mount a small disc";
  ZBasicDoc& d = makeImage(160, 100);
  ASSERT_TRUE(d.onSaveDocument(folder.file("disc/a.tv1")));
  const auto picture = readWholeFile(folder.file("disc/a.bmp"));
  const auto document = readWholeFile(folder.file("disc/a.tv1"));
  d.theImage()->fill(9);
  d.imagedirty = 1;
  d.notes = std::string(200000, 'x');  // the pixels still fit, the document doesn't
  d.roi = {10, 10, 20, 20};
  d.silent = 1;
  EXPECT_FALSE(d.onSaveDocument(folder.file("disc/a.tv1")));
  EXPECT_EQ(readWholeFile(folder.file("disc/a.bmp")), picture);
  EXPECT_EQ(readWholeFile(folder.file("disc/a.tv1")), document);
  EXPECT_EQ(d.roi, (Rect{10, 10, 20, 20})) << "the shift of the trim is taken back";
  EXPECT_EQ(d.imagedirty, 1);
  ::umount(folder.file("disc").c_str());
}

TEST_F(ImageDocument, ACopyTakesAllButTheFile) {
  ZBasicDoc& d = makeImage(16, 12);
  d.addDimension({3, 4}, 0);
  d.notes = "was";
  d.setTitle("finger");
  run("Duplicate image in new window");
  ZBasicDoc& copy = *image();
  ASSERT_NE(&copy, &d);
  EXPECT_EQ(copy.title(), "finger-copy");
  EXPECT_EQ(copy.notes, "was Copy of finger ");
  EXPECT_EQ(copy.zeroasblack, 0) << "the stored form turns it over";
  EXPECT_EQ(copy.imagefile, "");
  EXPECT_EQ(copy.imagedirty, 1);
  EXPECT_EQ(copy.dimlists[kPlainList].size(), 1);
  EXPECT_EQ(pixelsOf(*copy.theImage()), pixelsOf(*d.theImage()));
}

TEST_F(ImageDocument, AScaleOfAnotherImageCalibratesNoNewOne) {
  ASSERT_TRUE(makeImage(4, 4).setScale(2.5, 2.5, "x20", 1, false, true));
  EXPECT_EQ(makeImage(4, 4).unitName(), "pixel") << "its own scale is not known";
  ASSERT_TRUE(image()->setScale(2.5, 2.5, "x20", 1, true, false));
  EXPECT_EQ(makeImage(4, 4).unitName(), "um");
}

TEST_F(ImageDocument, SettingsGiveNewDocumentsTheirValues) {
  writeSettings(
      "[Settings]\ntargetx=5\nshowtarget=0\ncalibrated=1\nuserunits=nm\nmagx=2.5\nmagy=3.5\nmagname=x20\n"
      "[grid]\ngridstyle=1\ngrid spacing=12.5\ngrid colour=255\nuserfielname=u.wmf\n"
      "[dimlist_N]\nwidth=3\ncolour=77\n[dimlist_D]\ncolour=99\n");
  ZBasicDoc& d = makeImage(4, 4);
  EXPECT_EQ(d.target.x, 5);
  EXPECT_EQ(d.showtarget, 0);
  EXPECT_EQ(d.unitName(), "nm");
  EXPECT_EQ(d.scale().x, 2.5);
  EXPECT_EQ(d.magname, "x20");
  EXPECT_EQ(d.gridspacing, 12.5);
  EXPECT_EQ(d.userfilename, "u.wmf");
  EXPECT_EQ(d.dimlists[kNearestList].width, 3);
  EXPECT_EQ(d.dimlists[kNearestList].colour, 77u);
  EXPECT_EQ(d.dimlists[kAmcList].colour, 99u) << "its colour stands in the dust marks' section";
  const Colour standard[] = {255, 0x80ff, 0xff00, 0xff6464, 77, 0xff0000, 0xa07878, 99, 99};
  for (size_t i = 0; i < kListCount; ++i) EXPECT_EQ(d.dimlists[i].colour, standard[i]) << i;
}

}  // namespace
}  // namespace tarnvisor
