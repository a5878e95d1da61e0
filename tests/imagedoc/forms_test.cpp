// What a document shows comes back whatever form its pixels are to have, and what leaves it can be read.
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include "image/stillimport.h"
#include "support/imagedoctest.h"

namespace tarnvisor {
namespace {

struct Kind {
  const char* name;
  int32_t colourset, interlace;
};
void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.name; }
constexpr Kind kKinds[] = {{"grey", kGrey, 0},        {"colour", kColour, 0}, {"mosaic", kBayer, 0},
                           {"fieldOne", kGrey, 1},    {"fieldTwo", kGrey, 2}, {"colourField", kColour, 1},
                           {"mosaicField", kBayer, 2}};

class StoredForms : public ImageDocument {
 protected:
  ZBasicDoc& makeKind(const Kind& kind, int32_t width) {
    ZBasicDoc& d = makeImage(1, 1);
    d.image = std::make_unique<CZZimage>(width, 36, -1, kind.interlace, kind.colourset);
    for (int32_t y = 0; y < d.image->height; ++y)
      for (int32_t x = 0; x < d.image->rowBytes; ++x)
        d.image->row(y)[x] = static_cast<uint8_t>((x * 7 + y * 13) % 251);
    d.calibrated = 1;
    d.magx = 1.5;
    d.magy = 2.5;
    d.addPointToDimension(d.addDimension({9, 11}, 4), {13, 11});
    d.addPointToDimension(d.addDimension({15, 17}, 1), {18, 20});
    return d;
  }
  static std::vector<Point> marksOf(const ZBasicDoc& d) {
    std::vector<Point> all;
    for (int32_t i = 0; i < d.currentDims().size(); ++i)
      for (const Point p : d.currentDims().at(i).points) all.push_back(p - d.imageOrigin());
    return all;
  }
};

class StoredForm : public StoredForms,
                   public testing::WithParamInterface<std::tuple<Kind, int32_t, std::string, bool>> {};

std::string nameOf(const testing::TestParamInfo<StoredForm::ParamType>& of) {
  const auto& [kind, width, form, trimmed] = of.param;
  return format("%s%i%s%s", kind.name, width, form.c_str() + 1, trimmed ? "Trimmed" : "");
}

INSTANTIATE_TEST_SUITE_P(Each, StoredForm,
                         testing::Combine(testing::ValuesIn(kKinds), testing::Values(40, 41, 42, 43),
                                          testing::Values<std::string>(".bmp", ".tif", ".zzg", ".tiff"),
                                          testing::Bool()),
                         nameOf);

TEST_P(StoredForm, GivesBackPixelsMarksScaleAndDensity) {
  const auto& [kind, width, form, trimmed] = GetParam();
  settings.setString("settings", "imagetype", form);
  ZBasicDoc& d = makeKind(kind, width);
  d.theImage()->xOrigin = 3;
  d.theImage()->yOrigin = 1;
  d.silent = 1;
  if (trimmed) d.roi = {8, 7, 31, 28};
  ASSERT_TRUE(d.countCapillaries());
  const std::string density = d.resultText;
  const int32_t rows = d.frameRow(1);
  // Of the trimmed picture the first pixel of a cell of the mosaic, and of a field a whole row.
  const int32_t cell = kind.colourset == kBayer ? 2 : 1;
  const int32_t top = (7 / rows - 1) / cell * cell;
  const Point corner = trimmed ? Point{(8 - 3) / cell * cell, top * rows} : Point{};
  const auto part = d.theImage()->makeChild(
      trimmed ? Rect{corner.x, corner.y, 31 - 3, 28 - rows}.offsetBy(3, rows) : Rect{});
  const std::vector<uint8_t> pixels = pixelsOf(*part);
  std::vector<Point> marks = marksOf(d);
  for (Point& mark : marks) mark = mark - corner;
  reopen("a.tv1");
  ASSERT_NE(image(), nullptr);
  ZBasicDoc& r = *image();
  EXPECT_EQ(pixelsOf(*r.theImage()), pixels);
  EXPECT_EQ(r.theImage()->colourset, kind.colourset);
  EXPECT_EQ(r.theImage()->interlace, kind.interlace);
  EXPECT_EQ(marksOf(r), marks);
  EXPECT_EQ(r.scale().y, 2.5);
  ASSERT_TRUE(r.countCapillaries());
  EXPECT_EQ(r.resultText, density);
}

TEST_F(StoredForms, TheNotesTellWhyAnotherFormWasTaken) {
  const auto notesOf = [&](const Kind& kind, const char* form) {
    settings.setString("settings", "imagetype", form);
    ZBasicDoc& d = makeKind(kind, 41);
    EXPECT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
    return d.notes;
  };
  EXPECT_EQ(notesOf(kKinds[0], ".bmp"), "");
  EXPECT_EQ(notesOf(kKinds[1], ".bmp"), "Pixels stored as .zzg: .bmp slants colours of this width.\r\n");
  EXPECT_EQ(notesOf(kKinds[3], ".bmp"), "Pixels stored as .zzg: .bmp does not keep fields.\r\n");
  EXPECT_EQ(notesOf(kKinds[2], ".tif"), "Pixels stored as .zzg: .tif does not keep a mosaic.\r\n");
  EXPECT_EQ(notesOf(kKinds[1], ".tif"), "Pixels stored as .zzg: .tif does not keep colours.\r\n");
  EXPECT_EQ(notesOf(kKinds[0], ".png"),
            "Pixels stored as .zzg: .png is no form that pixels are kept in.\r\n");
  ZBasicDoc& again = *image();
  again.imagedirty = 1;
  ASSERT_TRUE(again.onSaveDocument(folder.file("a.tv1")));
  EXPECT_EQ(again.notes.find("Pixels"), again.notes.rfind("Pixels")) << "once is enough";
}

TEST_F(StoredForms, ASaveThatFailsTakesItsNoteBack) {
  ZBasicDoc& d = makeKind(kKinds[3], 41);
  d.silent = 1;
  ASSERT_TRUE(makeFolderPath(folder.file("a.tv1")));  // the pixels can be written, the document can't
  EXPECT_FALSE(d.onSaveDocument(folder.file("a.tv1")));
  EXPECT_EQ(d.notes, "");
}

TEST_F(StoredForms, ACopyUnderAnotherNameHasPixelsOfItsOwn) {
  ZBasicDoc& d = makeKind(kKinds[0], 40);
  ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
  d.setPathName(folder.file("a.tv1"));
  ASSERT_TRUE(d.onSaveDocument(folder.file("b.tv1")));
  EXPECT_EQ(d.imagefile, "b.bmp");
  EXPECT_EQ(readWholeFile(folder.file("b.bmp")), readWholeFile(folder.file("a.bmp")));
}

TEST_F(StoredForms, AFileThatEndsEarlyIsToldOf) {
  ZBasicDoc& d = makeKind(kKinds[3], 41);
  ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
  std::filesystem::resize_file(folder.file("a.zzg"), 36 + 41 * 5 + 7);
  ASSERT_NE(app->openDocumentFile(folder.file("a.tv1")), nullptr);
  EXPECT_THAT(host.messages.back(), HasSubstr("ends after 5 of 18 rows"));
}

// Does as a user who isn't the administrator, to whom a protection means something.
class AsNobody {
 public:
  AsNobody() { changed = ::geteuid() == 0 && ::seteuid(65534) == 0; }
  ~AsNobody() {
    if (changed) changed = ::seteuid(0) != 0;
  }

 private:
  bool changed = false;
};

TEST_F(StoredForms, ProtectedFilesAreNotReplaced) {
  ASSERT_TRUE(makeFolderPath(folder.file("exam")));
  ZBasicDoc& d = makeKind(kKinds[0], 40);
  const auto names = {"exam/a.bmp", "exam/a.tv1", "exam/out.tif"};
  ASSERT_TRUE(d.onSaveDocument(folder.file("exam/a.tv1")));
  ASSERT_TRUE(d.exportImage(folder.file("exam/out.tif")));
  d.setPathName(folder.file("exam/a.tv1"));
  ::chmod(folder.path().c_str(), 0777);
  ::chmod(folder.file("exam").c_str(), 0777);
  for (const char* name : names) {
    const auto before = readWholeFile(folder.file(name));
    ::chmod(folder.file(name).c_str(), 0444);
    d.theImage()->fill(9);
    d.imagedirty = 1;
    {
      const AsNobody user;
      EXPECT_FALSE(name == *(names.end() - 1) ? d.exportImage(folder.file(name)) : d.save()) << name;
    }
    EXPECT_THAT(host.messages.back(), HasSubstr(name));
    EXPECT_EQ(d.imagedirty, 1);
    EXPECT_EQ(readWholeFile(folder.file(name)), before);
    ::chmod(folder.file(name).c_str(), 0666);
  }
}

TEST_F(StoredForms, AnExportToAFullDiscTellsItAndLeavesWhatWasThere) {
  ASSERT_TRUE(makeFolderPath(folder.file("disc")));
  if (::mount("tmpfs", folder.file("disc").c_str(), "tmpfs", 0, "size=64k") != 0)
    GTEST_SKIP() << "no right to mount a small disc";
  for (const char* name : {"disc/a.bmp", "disc/a.tif", "disc/a.zzg"}) {
    ASSERT_TRUE(makeKind(kKinds[0], 40).exportImage(folder.file(name)));
    const auto before = readWholeFile(folder.file(name));
    ZBasicDoc& large = makeKind(kKinds[1], 2000);
    EXPECT_FALSE(large.exportImage(folder.file(name)));
    EXPECT_THAT(host.messages.back(), HasSubstr("No space left"));
    EXPECT_EQ(readWholeFile(folder.file(name)), before);
  }
  ::umount(folder.file("disc").c_str());
}

TEST_F(StoredForms, ATrimToWhatLiesBesideTheImageIsRefusedInWords) {
  ZBasicDoc& d = makeKind(kKinds[0], 40);
  d.roi = {100, 100, 120, 120};
  host.fill({{"Save", "ROI"}});
  EXPECT_FALSE(d.onSaveDocument(folder.file("a.tv1")));
  EXPECT_THAT(host.messages.back(), HasSubstr("region of interest lies outside"));
}

TEST_F(StoredForms, ExportsAreReadAsTheyAreShown) {
  for (const char* ending : {".bmp", ".tif", ".TIFF"})
    for (const Kind& kind : kKinds) {
      ZBasicDoc& d = makeKind(kind, 41);
      const std::string path = folder.file(kind.name + std::string(ending));
      host.paths = {path};
      run("Export...");
      CZZimage back;
      ASSERT_TRUE(importStill(path, 0, back)) << path;
      EXPECT_EQ(back.colourset, kind.colourset == kGrey ? kGrey : kColour) << path;
      EXPECT_EQ(back.height, 36) << path;
      CZZimage shown(41, 36, -1, kind.interlace, back.colourset);
      ASSERT_TRUE(shown.copyPixels(*d.theImage()));
      for (int32_t y = 0; y < 36; ++y)
        ASSERT_TRUE(
            std::equal(back.row(y), back.row(y) + back.rowBytes, shown.row(kind.interlace ? y / 2 : y)))
            << path << " row " << y;
    }
}

TEST_F(StoredForms, ExportsThatCantBeTellWhy) {
  ZBasicDoc& d = makeKind(kKinds[0], 40);
  ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
  d.setPathName(folder.file("a.tv1"));
  const auto stored = readWholeFile(folder.file("a.bmp"));
  d.theImage()->fill(9);
  const std::pair<std::string, const char*> cases[] = {{"a.bmp", "in use by the open document"},
                                                       {"a.png", "exported as .bmp, .tif or .zzg"},
                                                       {"missing/a.tif", "No such file"}};
  for (const auto& [name, words] : cases) {
    EXPECT_FALSE(d.exportImage(folder.file(name)));
    EXPECT_THAT(host.messages.back(), HasSubstr(words));
  }
  EXPECT_EQ(readWholeFile(folder.file("a.bmp")), stored);
}

}  // namespace
}  // namespace tarnvisor
