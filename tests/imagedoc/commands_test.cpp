// The commands of the image document: what they change, and the words they leave in the notes.

#include "base/clock.h"
#include "image/palette.h"
#include "imagedoc/magnification.h"
#include "imagedoc/magnificationdialog.h"
#include "imagedoc/processing.h"
#include "imagedoc/zbasicview.h"
#include "measure/dimlist.h"
#include "support/imagedoctest.h"

namespace tarnvisor {
namespace {

TEST_F(ImageDocument, EachProcessingStepLeavesItsWordsAnUndoCopyAndAChangedDocument) {
  const std::tuple<const char*, std::vector<std::pair<std::string, std::string>>, const char*> cases[] = {
      {"Equalise", {}, "Equalise"},
      {"Negative", {}, "Invert"},
      {"High pass filter", {{"window", "9"}}, "High pass (9x9)"},
      {"Low pass filter", {{"window", "5"}}, "High pass (5x5)"},  // the high pass's words
      {"Blur", {{"sigma", "1.5"}}, "blur sigma 1.5"},
      {"Laplacian filter", {}, "Laplacian"},
      {"Custom Filter", {{"custom4", "3"}, {"factor", "0.5"}}, "custom filter"},
      {"Modified Laplacian", {}, "ML"},
      {"Sum Modified Lapalacian", {{"window", "3"}}, "SML w=3\r\n"},
      {"L3", {}, "L3"},
      {"U3", {}, "U3"},
      {"MLULU", {}, "MLULU"},
      {"Min3x3", {}, "min3x3"},
      {"Adjust brightness/contrast", {{"gain", "20"}}, "(x 1.00 +   0.0)"},
      {"Threshold", {{"threshold", "100"}}, "simple threshold"},
      {"apex filter", {}, "filter apex "}};
  for (const auto& [command, answers, words] : cases) {
    for (const bool region : {false, true}) {
      ZBasicDoc& d = makeImage(40, 32);
      if (region) d.roi = {8, 8, 32, 30};
      d.imagedirty = 0;
      d.setModified(false);
      d.notes = "+";
      const std::vector<uint8_t> before = pixelsOf(*d.theImage());
      if (!answers.empty()) host.fill(answers);
      run(command);
      EXPECT_EQ(d.notes, std::string("+") + words + (region ? " ROI (8,8)-(32,30).\r\n" : "\r\n")) << command;
      EXPECT_EQ(d.imagedirty, 1) << command;
      EXPECT_TRUE(d.isModified()) << command;
      EXPECT_EQ(pixelsOf(*d.undoimage()), before) << command;
      const bool changes = std::string(command) != "MLULU" && std::string(words).rfind("(x", 0) != 0;
      EXPECT_EQ(pixelsOf(*d.theImage()) != before, changes) << command;
      EXPECT_EQ(d.theImage()->pixelAt(2, 2), region ? before[2 * 40 + 2] : d.theImage()->pixelAt(2, 2))
          << command << " works outside the ROI";
      const std::vector<uint8_t> after = pixelsOf(*d.theImage());
      run("Undo");
      EXPECT_EQ(pixelsOf(*d.theImage()), before) << command;
      run("Redo");
      EXPECT_EQ(pixelsOf(*d.theImage()), after) << command;
      EXPECT_THAT(d.notes, EndsWith("undo\r\nundo\r\n"));
      process.imageTemplate->discard(d);
    }
  }
  EXPECT_EQ(settings.getInt("WINDOWSZ", "whpf", 0), 9);
  EXPECT_EQ(settings.getInt("WINDOWSZ", "wlpf", 0), 5);
  EXPECT_EQ(settings.getInt("WINDOWSZ", "wsml", 0), 3);
  EXPECT_EQ(settings.getString("blur", "sigma", ""), "1.5");
  EXPECT_EQ(settings.getInt("ProcessingArgs", "custom4", 0), 3);
  EXPECT_EQ(settings.getDouble("ProcessingArgs", "customfactor", 0), 0.5);
  EXPECT_EQ(settings.getInt("settings", "simpleimagethreshold", 0), 100);
}

TEST_F(ImageDocument, CancelAbandonsAFilterAndQuietModeAsksNothing) {
  ZBasicDoc& d = makeImage(40, 32);
  const auto before = pixelsOf(*d.theImage());
  const auto cancel = [](Form&) { return false; };
  for (const char* command : {"High pass filter", "Low pass filter", "Blur", "Custom Filter",
                              "Adjust brightness/contrast", "Threshold"}) {
    host.fills.push_back(cancel);
    run(command);
    EXPECT_EQ(pixelsOf(*d.theImage()), before) << command;
    EXPECT_EQ(d.notes, "") << command;
  }
  // A live form that is cancelled puts the old picture back.
  host.fills.push_back([&](Form& form) {
    EXPECT_EQ(form.find("gain")->take("0"), "");
    form.changed();
    EXPECT_NE(pixelsOf(*d.theImage()), before);
    return false;
  });
  run("Adjust brightness/contrast");
  EXPECT_EQ(pixelsOf(*d.theImage()), before);
  process.quietMode = 1;
  settings.setInt("WINDOWSZ", "whpf", 31);
  run("High pass filter");
  EXPECT_EQ(d.notes, "High pass (31x31)\r\n");
}

TEST_F(ImageDocument, AWindowTooLargeForTheRegionIsToldAndChangesNothing) {
  ZBasicDoc& d = makeImage(60, 40);
  const auto before = pixelsOf(*d.theImage());
  d.roi = {0, 0, 30, 20};
  for (const char* command : {"High pass filter", "Low pass filter", "Sum Modified Lapalacian"}) {
    d.notes.clear();
    host.fill({{"window", "20"}});
    run(command);
    EXPECT_THAT(d.notes,
                HasSubstr(" not done: the window of 20 does not fit into the region of 30 x 20 pixels"));
    EXPECT_THAT(host.messages.back(), HasSubstr("not done")) << command;
    EXPECT_EQ(pixelsOf(*d.theImage()), before) << command;
    EXPECT_EQ(d.imagedirty, 1);
    EXPECT_FALSE(d.canUndo()) << command;
  }
  host.fill({{"sigma", "9"}});
  run("Blur");
  EXPECT_THAT(d.notes, HasSubstr("blur sigma 9.0 not done: "));
  EXPECT_EQ(pixelsOf(*d.theImage()), before);
  host.fill({{"sigma", "3.5"}});
  run("Blur");
  EXPECT_THAT(d.notes, HasSubstr("blur sigma 3.5 along rows only ROI"));
  EXPECT_THAT(host.messages.back(), HasSubstr("blurred along rows only"));
}

TEST_F(ImageDocument, AdjustKeepsTheMeanAsTheGainChanges) {
  ZBasicDoc& d = makeImage(50, 50);
  const double mean = d.theImage()->meanLevel({});
  const int32_t before = d.theImage()->pixelAt(10, 10);
  host.fill({{"gain", "26"}});  // 0.1 * 10 ^ 0.7 = 0.501
  run("Adjust brightness/contrast");
  const double gain = 0.1 * std::pow(10.0, 14 * 0.05);
  EXPECT_EQ(d.theImage()->pixelAt(10, 10), static_cast<int>(before * gain + (1 - gain) * mean));
}

TEST_F(ImageDocument, BinHalvesTheScaleAndTheListsToo) {
  ZBasicDoc& d = makeImage(10, 8);
  d.magx = 1.5;
  d.addDimension({5, 7}, 0);
  run("Bin");
  EXPECT_EQ(d.theImage()->width, 5);
  EXPECT_EQ(d.theImage()->height, 4);
  EXPECT_EQ(d.magx, 3.0);
  EXPECT_EQ(d.currentDims().at(0).points[0], (Point{2, 3}));
  EXPECT_EQ(d.undoimage()->width, 10);
}

TEST_F(ImageDocument, BinTakesTheRegionAlong) {
  for (const auto& [whole, half] :
       {std::pair{Rect{2, 3, 9, 7}, Rect{1, 1, 4, 3}}, std::pair{Rect{10, 7, 11, 8}, Rect{4, 3, 5, 4}}}) {
    ZBasicDoc& d = makeImage(11, 8);
    d.roi = whole;
    run("Bin");
    EXPECT_EQ(d.roi, half);
  }
}

TEST_F(ImageDocument, SubtractsOnlyAnImageOfEqualSize) {
  ZBasicDoc& d = makeImage(10, 8);
  const auto before = pixelsOf(*d.theImage());
  d.roi = {0, 0, 2, 2};
  for (const int32_t width : {9, 10}) {
    CZZimage other(width, 8);
    other.fill(250);  // above all that is there
    ASSERT_TRUE(other.save(folder.file("other.zzg")));
    host.paths = {folder.file("other.zzg")};
    run("Subtract image");
    EXPECT_EQ(pixelsOf(*d.theImage()), width == 9 ? before : Bytes(80));
  }
  EXPECT_EQ(d.notes, " subracted other.zzg\r\n") << "without the ROI's text";
}

TEST_F(ImageDocument, ConvertToGreyIsForColouredImages) {
  ZBasicDoc& d = makeImage(4, 4);
  EXPECT_FALSE(isEnabled("Convert to grey"));
  EXPECT_FALSE(isEnabled("Remove single dust mark")) << "without a ROI it would rebuild the whole picture";
  ASSERT_TRUE(d.theImage()->setColourset(kColour));
  EXPECT_FALSE(isEnabled("Blur"));
  EXPECT_FALSE(isEnabled("Bin"));
  run("Convert to grey");
  EXPECT_EQ(d.theImage()->colourset, kGrey);
  EXPECT_THAT(d.notes, HasSubstr("convert to grey\r\n"));
}

TEST_F(ImageDocument, SwitchListGoesRoundWithoutTheDustMarks) {
  ZBasicDoc& d = makeImage(4, 4);
  for (const int expected : {1, 2, 3, 4, 5, 6, 7, 0}) {
    run("Switch List");
    EXPECT_EQ(d.currentlist, expected);
  }
  run("Edit dust mask");
  EXPECT_EQ(d.currentlist, 8);
  EXPECT_FALSE(d.dimlists[kDustList].hidden);
  run("Switch List");
  EXPECT_EQ(d.currentlist, 0);
  for (const size_t list : {kAmcList, kDustList}) EXPECT_TRUE(d.dimlists[list].hidden) << list;
}

TEST_F(ImageDocument, AnAreaForMovementCorrectionIsAtLeast64PixelsWide) {
  ZBasicDoc& d = makeImage(4, 4);
  d.setCurrentList(kAmcList);
  const std::pair<Point, Point> cases[] = {
      {{110, 90}, {164, 36}}, {{100, 100}, {164, 164}}, {{300, 20}, {300, 20}}};
  for (const auto& [given, pushed] : cases) {
    const int32_t index = d.addDimension({100, 100}, 6);
    EXPECT_EQ(d.addPointToDimension(index, given), 1);
    EXPECT_EQ(d.currentDims().at(index).points[1], pushed);
  }
  EXPECT_EQ(d.addPointToDimension(9, {0, 0}), -1);
  EXPECT_EQ(d.addPointToDimension(-1, {0, 0}), -1);
}

TEST_F(ImageDocument, DimensionsAreImportedTrimmedAndCleared) {
  ZBasicDoc& d = makeImage(100, 100);
  EXPECT_EQ(d.nextDimensionIndex(3), -1);
  EXPECT_FALSE(isEnabled("Clear all dimensions"));
  ASSERT_TRUE(replaceFile(folder.file("points.txt"), std::string_view("2\n1.9 2.9\n-3.5 40\n")));
  host.paths = {folder.file("points.txt")};
  run("Import Dimensions");
  ASSERT_EQ(d.currentDims().size(), 2);
  EXPECT_EQ(d.currentDims().at(1).points[0], (Point{-3, 40}));
  EXPECT_EQ(d.currentDims().at(1).label, "2");
  EXPECT_EQ(d.nextDimensionIndex(-1), 1);
  EXPECT_EQ(d.nextDimensionIndex(2), 0);
  ASSERT_TRUE(replaceFile(folder.file("points.txt"), std::string_view("3\n1 2\n")));
  host.paths = {folder.file("points.txt")};
  run("Import Dimensions");
  EXPECT_THAT(host.messages.back(), HasSubstr("ends after 1 of 3 points"));
  EXPECT_FALSE(isEnabled("Trim to ROI"));
  d.roi = {0, 0, 10, 10};
  run("Trim to ROI");
  EXPECT_EQ(d.currentDims().size(), 2);
  EXPECT_TRUE(d.deleteDimension(0));
  EXPECT_FALSE(d.deleteDimension(5));
  run("Clear all dimensions");
  EXPECT_EQ(d.currentDims().size(), 0);
}

TEST_F(ImageDocument, AreasThatAreTrimmedMeasureTheSameWhenReopened) {
  ZBasicDoc& d = makeImage(200, 200);
  for (const Point p : {Point{0, 0}, Point{100, 0}, Point{100, 70}, Point{0, 70}, Point{0, 0}})
    d.currentDims().size() ? d.addPointToDimension(0, p) : d.addDimension(p, CDimList::kPolygon);
  d.addPointToDimension(d.addDimension({80, 150}, CDimList::kCircle), {120, 150});
  d.roi = {0, 0, 100, 150};
  d.keepwhole = 1;
  run("Trim to ROI");
  const double area = d.currentDims().totalArea(1, 1);
  EXPECT_NEAR(area, 7000 + 100 * std::numbers::pi, 10);
  run("Trim to ROI");
  EXPECT_EQ(d.currentDims().totalArea(1, 1), area);
  reopen("trimmed.tv1");
  EXPECT_EQ(image()->currentDims().totalArea(1, 1), area);
}

TEST_F(ImageDocument, DisplayLimitsStayApartAndInRange) {
  makeImage(8, 8);
  for (int i = 0; i < 60; ++i) run("display brightness up");
  EXPECT_EQ(adjustpallight, 255);
  for (int i = 0; i < 60; ++i) run("display darkness down");
  EXPECT_EQ(adjustpaldark, 245);
  for (int i = 0; i < 60; ++i) run("display darkeness up");
  EXPECT_EQ(adjustpaldark, 1);
  for (int i = 0; i < 60; ++i) run("display brightness down");
  EXPECT_EQ(adjustpallight, 11);
  run("Contour8");
  EXPECT_EQ(image()->colourset, 8);
  EXPECT_EQ(image()->theImage()->paletteIndex, 8);
  resetPaletteSettings();
}

TEST_F(ImageDocument, NotesCanBeEditedAndRenameThePixelFile) {
  ZBasicDoc& d = makeImage(8, 8);
  d.imagedirty = 0;
  host.fill({{"Notes", "new words"}});
  run("Notes");
  EXPECT_EQ(d.notes, "new words");
  EXPECT_EQ(d.imagedirty, 0);
  host.fill({{"Image file", "other.bmp"}});
  run("Notes");
  EXPECT_EQ(d.imagefile, "other.bmp");
  EXPECT_EQ(d.imagedirty, 1);
}

TEST_F(ImageDocument, DustMarksAreKeptBesideTheProfileAndRepaired) {
  ZBasicDoc& d = makeImage(40, 40);
  d.theImage()->fill(100);
  d.theImage()->setPixel(20, 20, 0);
  run("Edit dust mask");
  d.addPointToDimension(d.addDimension({18, 18}, 6), {23, 23});
  host.paths = {folder.file("mine.dm")};
  run("Save Dust Mask");
  EXPECT_EQ(settings.getString("dustmask", "filename", ""), "mine.dm") << "by name only beside the profile";
  d.dimlists[kDustList].removeAll();
  run("Save Dust Mask");
  EXPECT_THAT(host.messages, ElementsAre("There are no dust marks to save."));
  run("Use Dust Mask filter");
  EXPECT_EQ(d.theImage()->pixelAt(20, 20), 100);
  EXPECT_THAT(d.notes, HasSubstr("Remove Dust\r\n"));
  EXPECT_EQ(settings.getInt("settings", "dustmask", 0), 1);
  d.imagedirty = 0;
  reopen("dusty.tv1");
  EXPECT_EQ(process.dustMaskEnabled, 1);
  image()->theImage()->setPixel(3, 3, 7);
  run("Use Dust Mask filter");
  EXPECT_EQ(process.dustMaskEnabled, 0);
  EXPECT_EQ(image()->theImage()->pixelAt(3, 3), 100) << "the image comes from its file again";
  image()->theImage()->setPixel(30, 30, 7);
  image()->roi = {28, 28, 33, 33};
  run("Remove single dust mark");
  EXPECT_EQ(image()->theImage()->pixelAt(30, 30), 100);
}

TEST_F(ImageDocument, AScaleOfOneDirectionAloneIsAskedAbout) {
  ZBasicDoc& d = makeImage(40, 32);
  host.answers = {Answer::No};
  host.fill({{"x scale", "1.68"}});
  run("Magnification");
  EXPECT_THAT(host.messages, testing::Contains(HasSubstr("x is 1.68, y is 1.")));
  EXPECT_EQ(d.magx, 1);
  host.fill({{"x scale", "1.68"}, {"y scale", "1.68"}});
  run("Magnification");
  EXPECT_EQ(d.magx, 1.68);
}

TEST_F(ImageDocument, MagnificationTableCountsLiveEntriesOnly) {
  for (const char* name : {"a", "b", "c"}) addMagnification({1.0, 2.0, name, 10});
  EXPECT_TRUE(removeMagnification(1));
  EXPECT_EQ(magnificationCount(), 2);
  EXPECT_EQ(settings.getInt("settings", "nextmag", 0), 3);
  MagnificationEntry entry;
  ASSERT_TRUE(readMagnification(1, entry));
  EXPECT_EQ(entry.magname, "c");
  EXPECT_FALSE(readMagnification(2, entry));
  EXPECT_THAT(log(), HasSubstr("not found:bad index >= nmags"));
  EXPECT_FALSE(readMagnification(500, entry));
  EXPECT_THAT(log(), EndsWith("not found:bad index >= MAXMAGS\n"));
  EXPECT_EQ(entry.magname, "c");
  addMagnification({3.25, 4.5, "d", 795184889});
  EXPECT_NE(profile().find("[mag3]"), std::string::npos);
  ASSERT_TRUE(readMagnification(2, entry));
  EXPECT_EQ(magnificationLine(entry),
            "   3.250    4.500 d                         Tuesday, March 14, 1995, 12:41:29");
}

TEST_F(ImageDocument, CalibratesFromDrawnLines) {
  const FixedClock clock(1000);
  using Lines = std::vector<std::pair<Point, Point>>;
  const Lines slope{{{0, 0}, {30, 40}}}, two{{{0, 0}, {30, 40}}, {{0, 0}, {0, 20}}};
  struct Case {
    Lines lines;
    std::vector<std::pair<std::string, std::string>> answers;
    double x, y;
    int32_t before = 0;  // whether there was a scale
    bool taken = true;
    bool asked = false;  // about pixels far from square
  };
  const Case cases[] = {
      {slope, {{"X true length", "60"}, {"Y true length", "20"}}, 2.0, 0.5, 0, true, true},
      {{{{0, 0}, {10, 0}}}, {{"X true length", "5"}}, 0.5, 0.5},  // no height: square pixels
      {{{{0, 0}, {0, 20}}}, {{"Y true length", "5"}}, 0.25, 0.25},
      {{{{0, 0}, {0, 20}}}, {{"Y true length", "5"}}, 1.5, 0.25, 1, true, true},
      {two, {{"X true length", "100"}, {"Y true length", "10"}}, 2.0, 0.5, 0, true, true},
      {slope, {}, 1.5, 2.5, 1},  // the lengths offered are those in the present scale
      {two, {}, 1.5, 2.5, 1},
      {slope, {}, 1.5, 2.5, 0, false},  // nobody measured
      {two, {}, 1.5, 2.5, 0, false},
      {slope, {{"X true length", "60"}}, 1.5, 2.5, 0, false},
      {slope, {{"X true length", "0"}}, 1.5, 2.5, 1, false},
      {slope, {{"X line", "7"}, {"Y line", "7"}, {"X true length", "9"}}, 1.5, 2.5, 0, false},
  };
  for (const Case& c : cases) {
    ZBasicDoc& d = makeImage(8, 8);
    d.magx = 1.5;
    d.magy = 2.5;
    d.magindex = 0;
    d.calibrated = c.before;
    for (const auto& [from, to] : c.lines) d.addPointToDimension(d.addDimension(from, 1), to);
    const int32_t before = magnificationCount();
    host.messages.clear();
    host.fill(c.answers);
    if (c.asked) host.answers = {Answer::Yes};
    run("Calibrate magnification");
    EXPECT_DOUBLE_EQ(d.magx, c.x);
    EXPECT_DOUBLE_EQ(d.magy, c.y);
    EXPECT_EQ(d.calibrated, c.taken ? 1 : c.before);
    EXPECT_EQ(d.magindex, c.taken ? 1000 : 0);
    EXPECT_EQ(magnificationCount(), before + (c.taken ? 1 : 0));
    EXPECT_EQ(host.messages.empty(), c.taken && !c.asked);
  }
}

TEST_F(ImageDocument, OneKnownLengthOfTheSelectedLineCalibratesBothAxes) {
  ZBasicDoc& d = makeImage(80, 80);
  auto* view = dynamic_cast<ZBasicView*>(d.views().at(0).get());
  ASSERT_NE(view, nullptr);
  d.addPointToDimension(d.addDimension({0, 0}, CDimList::kLine), {10, 0});
  d.addPointToDimension(d.addDimension({0, 0}, CDimList::kLine), {30, 40});
  view->selected = 1;
  host.fill({{"Known length", "0.1"}, {"Unit", "mm"}});
  run("Calibrate magnification");
  EXPECT_DOUBLE_EQ(d.magx, 2);
  EXPECT_DOUBLE_EQ(d.magy, 2);
  EXPECT_EQ(d.unitName(), "um");
  host.fill({{"Known length", "7"}, {"Unit", "furlong"}});
  run("Calibrate magnification");
  EXPECT_THAT(host.messages.back(), testing::HasSubstr("none in um"));
  EXPECT_DOUBLE_EQ(d.magx, 2);
  host.fill({{"Size of a pixel", "0.00084"}, {"Unit", "mm"}});
  run("Calibrate magnification");
  EXPECT_DOUBLE_EQ(d.magy, 0.84);
}

TEST_F(ImageDocument, ACalibrationToPixelsFarFromSquareIsAskedAbout) {
  ZBasicDoc& d = makeImage(80, 80);
  d.addPointToDimension(d.addDimension({0, 0}, CDimList::kLine), {30, 40});
  for (const auto& [answer, taken] : {std::pair{Answer::No, 0}, {Answer::Yes, 1}}) {
    host.answers = {answer};
    host.fill({{"Both axes at once", "0"}, {"X true length", "30"}, {"Y true length", "50"}});
    run("Calibrate magnification");
    EXPECT_EQ(d.calibrated, taken);
  }
  host.answers.clear();
  host.fill({{"Both axes at once", "0"}, {"X true length", "30"}, {"Y true length", "46"}});
  run("Calibrate magnification");
  EXPECT_DOUBLE_EQ(d.magy, 1.15) << "not asked";
}

TEST_F(ImageDocument, AScaleIsAboveZeroThroughEveryDoor) {
  ZBasicDoc& d = makeImage(8, 8);
  for (const double bad : {0.0, -2.0, std::nan(""), HUGE_VAL}) {
    EXPECT_FALSE(d.setScale(bad, 1, "bad", 0, true, true)) << bad;
    EXPECT_FALSE(d.setScale(1, bad, "bad", 0, true, true)) << bad;
  }
  EXPECT_EQ(d.calibrated, 0);
  EXPECT_EQ(magnificationCount(), 0);
  for (const char* action : {"none", "Add to list", "Set as default", "Remove"}) {
    host.fill({{"action", action}});
    run("Magnification");
    EXPECT_EQ(d.calibrated, 0) << action << " measures nothing";
  }
  writeSettings("[settings]\nmagx=0\nmagy=-1\n[mag0]\nvalid=1\nmagx=0\n");
  EXPECT_EQ(makeImage(8, 8).magx, 1.0);
  ZBasicDoc& stored = makeImage(8, 8);
  host.fill({{"Units", "user units"}});
  run("Units");
  EXPECT_EQ(stored.calibrated, 0) << "nobody measured";
  stored.calibrated = 1;
  stored.magy = 0;
  reopen("bad.tv1");
  EXPECT_EQ(image()->unitName(), "pixel");
  EXPECT_EQ(image()->magy, 1.0);
  EXPECT_THAT(host.messages.back(), HasSubstr("1 by 0 is none"));
}

TEST_F(ImageDocument, ARowThatTheTableLacksIsNoDefault) {
  makeImage(8, 8);
  host.fill({{"action", "Set as default"}});
  run("Magnification");
  EXPECT_EQ(host.messages.back(), "The table of magnifications has no row 0 to set as default.");
}

TEST_F(ImageDocument, AScaleOfOneComesBackFromPixels) {
  ZBasicDoc& d = makeImage(8, 8);
  ASSERT_TRUE(d.setScale(1.0, 1.0, "x1", 0, false, false));
  for (const char* units : {"pixels", "user units"}) {
    host.fill({{"Units", units}});
    run("Units");
  }
  EXPECT_EQ(d.unitName(), "um");
}

TEST_F(ImageDocument, UnitsAndGridAreKeptInTheSettings) {
  ZBasicDoc& d = makeImage(8, 8);
  d.magx = 2.0;
  EXPECT_EQ(d.scale().x, 1.0);
  host.fill({{"Units", "user units"}, {"Name", "mm"}});
  run("Units");
  EXPECT_EQ(d.scale().x, 2.0);
  EXPECT_EQ(settings.getString("settings", "userunits", ""), "mm");
  std::string drawing(20, '\0');
  drawing[6] = 10;  // the header counts 16-bit words
  ASSERT_TRUE(replaceFile(folder.file("u.wmf"), std::string_view(drawing + "behind")));
  host.fill({{"Style", "User"}, {"Spacing", "33.5"}, {"Metafile", folder.file("u.wmf")}});
  run("Grid...");
  EXPECT_EQ(d.gridshow, 1);
  EXPECT_EQ(d.gridmetafile.size(), 20u);
  EXPECT_EQ(settings.getDouble("grid", "grid spacing", 0), 33.5);
  run("Grid");
  EXPECT_EQ(d.gridshow, 0);
  EXPECT_EQ(settings.getInt("grid", "gridshow", 1), 0);
  drawing[6] = 100;  // more than there is
  ASSERT_TRUE(replaceFile(folder.file("u.wmf"), std::string_view(drawing)));
  EXPECT_TRUE(makeImage(8, 8).gridmetafile.empty());
}

TEST_F(ImageDocument, TheApexKeysAreReadEachTimeTheFilterRuns) {
  ZBasicDoc& d = makeImage(8, 8);
  d.theImage()->fill(100);
  settings.setInt("ProcessingArgs", "apexw", 1);  // half of each pixel, and the offset
  run("apex filter");
  EXPECT_EQ(d.theImage()->pixelAt(4, 4), 178);
  settings.setInt("ProcessingArgs", "apexoffset", 10);
  run("apex filter");
  EXPECT_EQ(d.theImage()->pixelAt(4, 4), 99);
}

TEST_F(ImageDocument, AreasFromLargestToSmallestAreRefused) {
  makeImage(8, 8);
  for (const char* smallest : {"5000", "9000"}) {
    host.fill({{"minimum capillary area (pixels)", smallest}});
    run("Processing");
    EXPECT_THAT(host.messages.back(), HasSubstr("to 5000 pixels are none"));
  }
  EXPECT_EQ(finderParameters.umin, 200);
}

TEST_F(ImageDocument, OnlyProcessingWritesTheFinderKeys) {
  makeImage(8, 8);
  host.fill({{"window 1", "-9"}, {"minimum capillary area (pixels)", "150"}});
  run("Processing");
  EXPECT_EQ(settings.getInt("ProcessingArgs", "uw1", 0), -9);
  EXPECT_EQ(settings.getInt("ProcessingArgs", "umin", 0), 150);
  EXPECT_EQ(settings.getInt("ProcessingArgs", "umax", 0), 5000);
  EXPECT_EQ(finderParameters.uw1, -9);
}

}  // namespace
}  // namespace tarnvisor
