// Undo and Redo of the image document: all that a command changed.

#include "support/imagedoctest.h"

namespace tarnvisor {
namespace {

class Undo : public ImageDocument {
 protected:
  // What a command may change, in words.
  std::string all() {
    ZBasicDoc& d = *image();
    std::string text =
        format("%ix%i roi %i,%i,%i,%i circle %i scale %g calibrated %i %s dirty %i changed %i dust %i ",
               d.theImage()->width, d.theImage()->height, d.roi.left, d.roi.top, d.roi.right, d.roi.bottom,
               d.hasCircularRoi() ? 1 : 0, d.magx, d.calibrated, d.userunits.c_str(), d.imagedirty,
               d.isModified() ? 1 : 0, process.dustMaskEnabled);
    for (const CDimList& list : d.dimlists) {
      text += format("%i:", list.size());
      for (const auto& item : list.items)
        for (const Point& p : item->points) text += format("%i,%i ", p.x, p.y);
    }
    const std::vector<uint8_t> pixels = pixelsOf(*d.theImage());
    return text +
           format("%zx ", std::hash<std::string_view>()(
                              {reinterpret_cast<const char*>(pixels.data()), pixels.size()})) +
           d.resultText;
  }
  ZBasicDoc& makeMarked() {
    ZBasicDoc& d = makeImage(60, 50);
    d.roi = {5, 5, 40, 31};
    d.addPointToDimension(d.addDimension({10, 10}, CDimList::kLine), {51, 43});
    d.addPointToDimension(d.addDimension({21, 21}, CDimList::kCircle), {45, 21});
    for (const Point p : {Point{30, 7}, Point{35, 9}, Point{1, 1}}) d.addDimension(p, CDimList::kPoint);
    d.theImage()->setPixel(20, 20, 0);
    d.notes = "before\r\n";
    d.imagedirty = 0;
    d.setModified(false);
    return d;
  }
};

TEST_F(Undo, BringsBackAllThatACommandChanged) {
  ASSERT_TRUE(replaceFile(folder.file("points.txt"), std::string_view("1\n3 4\n")));
  const std::pair<const char*, std::vector<std::pair<std::string, std::string>>> commands[] = {
      {"Clear all dimensions", {}},
      {"Trim to ROI", {}},
      {"Import Dimensions", {}},
      {"Bin", {}},
      {"Negative", {}},
      {"Make ROI circular", {}},
      {"find minima within window", {}},
      {"Calibrate magnification", {{"X true length", "7"}, {"Y true length", "6"}}},
      {"Magnification", {{"x scale", "3"}, {"y scale", "3"}}},
      {"Units", {{"Name", "mm"}}},
      {"Notes", {{"Notes", "others"}}},
  };
  for (const auto& [command, answers] : commands) {
    ZBasicDoc& d = makeMarked();
    if (std::string(command) == "Import Dimensions") host.paths = {folder.file("points.txt")};
    const std::string before = all();
    if (!answers.empty()) host.fill(answers);
    process.quietMode = std::string(command) == "find minima within window";
    run(command);
    const std::string after = all();
    const std::string notes = d.notes;
    EXPECT_NE(before, after) << command;
    run("Undo");
    EXPECT_EQ(all(), before) << command;
    const std::string told = notes == "before\r\n" ? "" : "undo\r\n";
    EXPECT_EQ(d.notes, "before\r\n" + told) << command;
    run("Redo");
    EXPECT_EQ(all(), after) << command;
    EXPECT_EQ(d.notes, notes + told + told) << command;
    process.imageTemplate->discard(d);
    settings.setInt("settings", "calibrated", 0);
  }
}

TEST_F(Undo, AndASaveKeepEveryMeasureInEveryRegion) {
  process.quietMode = 1;
  const Rect regions[] = {{}, {5, 5, 40, 31}, {30, 20, 60, 50}, {21, 21, 22, 22}, {0, 0, 60, 50}};
  const auto measures = [&] {
    run("Calculate average of selection");
    const CResultDoc* table = findResultDocument("Image Results");
    std::string text;
    for (size_t place = 1; place < 21; ++place) text += table->cell(table->rowCount() - 1, place) + " ";
    return text;
  };
  for (const char* command :
       {"Equalise", "Negative", "High pass filter", "Low pass filter", "Blur", "Laplacian filter", "Min3x3",
        "Sum Modified Lapalacian", "Threshold", "apex filter", "Bin", "Clear all dimensions", "Trim to ROI",
        "find minima within window", "find minima within tolerance", "Find Capillaries"})
    for (const Rect& region : regions)
      for (const bool round : {false, true}) {
        ZBasicDoc& d = makeMarked();
        d.setRoi(region);
        if (round) d.makeRoiCircular();
        SCOPED_TRACE(format("%s %i,%i %i", command, region.left, region.top, round ? 1 : 0));
        if (!isEnabled(command)) continue;
        const std::string before = all(), measuredBefore = measures();
        run(command);
        const std::string after = all(), measuredAfter = measures();
        if (d.canUndo()) {
          run("Undo");
          EXPECT_EQ(all(), before);
          EXPECT_EQ(measures(), measuredBefore);
          run("Redo");
          EXPECT_EQ(all(), after);
        } else {
          EXPECT_EQ(measuredAfter, measuredBefore);
        }
        d.keepwhole = 1;
        reopen("a.tv1");
        EXPECT_EQ(measures(), measuredAfter);
        process.imageTemplate->discard(*image());
      }
}

TEST_F(Undo, WalksThroughAllChangesThereAndBack) {
  ZBasicDoc& d = makeMarked();
  d.keepwhole = 1;
  const char* commands[] = {"Negative", "Make ROI circular", "L3", "Clear all dimensions", "Equalise"};
  std::vector<std::string> states{all()};
  for (const char* command : commands) {
    run(command);
    if (states.size() == 3) {
      ASSERT_TRUE(d.onSaveDocument(folder.file("a.tv1")));
      d.setModified(false);
    }
    states.push_back(all());
  }
  // What was before the save differs from the file now.
  for (const size_t at : {0, 1, 2}) {
    states[at].replace(states[at].find("changed ") + 8, 1, "1");
    states[at].replace(states[at].find("dirty ") + 6, 1, "1");
  }
  for (size_t at = 5; at-- > 0;) {
    run("Undo");
    EXPECT_EQ(all(), states[at]) << at;
  }
  EXPECT_FALSE(isEnabled("Undo"));
  for (size_t at = 1; at < 6; ++at) {
    run("Redo");
    EXPECT_EQ(all(), states[at]) << at;
  }
  EXPECT_FALSE(isEnabled("Redo"));
  run("Undo");
  run("Negative");
  EXPECT_FALSE(isEnabled("Redo")) << "what was taken back has no place any more";
}

TEST_F(Undo, TakesAChangeWithinAChangeForAPartOfIt) {
  ZBasicDoc& d = makeMarked();
  const std::string before = all();
  {
    const ZBasicDoc::Change gesture(d);
    d.target = {3, 3};
    run("Negative");
    EXPECT_FALSE(d.canUndo()) << "it is not through";
    run("Clear all dimensions");
  }
  run("Undo");
  EXPECT_EQ(all(), before);
  run("Undo");
  EXPECT_EQ(d.currentDims().size(), 0) << "the only change goes there and back";
}

TEST_F(Undo, LeavesWhatWasDoneSinceAndWhatWasNotChanged) {
  ZBasicDoc& d = makeMarked();
  run("Negative");
  d.addDimension({2, 2}, CDimList::kPoint);
  d.roi = {1, 1, 9, 9};
  run("Undo");
  EXPECT_EQ(d.currentDims().size(), 6);
  EXPECT_EQ(d.roi, (Rect{1, 1, 9, 9}));
  EXPECT_TRUE(d.isModified()) << "the mark is not saved";
  EXPECT_EQ(d.imagedirty, 0);
}

TEST_F(Undo, AfterASaveIsAChange) {
  makeMarked().keepwhole = 1;
  run("Negative");
  ASSERT_TRUE(image()->onSaveDocument(folder.file("a.tv1")));
  image()->setModified(false);
  run("Undo");
  EXPECT_EQ(image()->imagedirty, 1);
  EXPECT_TRUE(image()->isModified());
}

TEST_F(Undo, OfTheDustFilterBringsBackPixelsMarksAndTheSwitch) {
  ZBasicDoc& d = makeMarked();
  run("Edit dust mask");
  d.addPointToDimension(d.addDimension({18, 18}, CDimList::kRect), {23, 23});
  host.paths = {folder.file("mine.dm")};
  run("Save Dust Mask");
  d.dimlists[kDustList].removeAll();
  d.addPointToDimension(d.addDimension({1, 1}, CDimList::kRect), {4, 4});
  d.setModified(false);
  const std::string off = all();
  run("Use Dust Mask filter");
  const std::string on = all();
  run("Undo");
  EXPECT_EQ(all(), off);
  EXPECT_EQ(settings.getInt("settings", "dustmask", 1), 0);
  run("Redo");
  EXPECT_EQ(all(), on);
  run("Use Dust Mask filter");
  run("Undo");
  EXPECT_EQ(all(), on);
}

TEST_F(Undo, TheDustFiltersEndPutsBackWhatItRepairedAndKeepsLaterSteps) {
  ZBasicDoc& d = makeMarked();
  d.roi = {};
  run("Edit dust mask");
  d.addPointToDimension(d.addDimension({18, 18}, CDimList::kRect), {23, 23});
  host.paths = {folder.file("mine.dm")};
  run("Save Dust Mask");
  run("Negative");
  run("L3");
  const auto without = pixelsOf(*d.theImage());
  process.imageTemplate->discard(d);
  makeMarked().roi = {};
  run("Use Dust Mask filter");
  run("Negative");
  run("L3");
  EXPECT_NE(pixelsOf(*image()->theImage()), without);
  run("Use Dust Mask filter");
  EXPECT_EQ(pixelsOf(*image()->theImage()), without);
}

}  // namespace
}  // namespace tarnvisor
