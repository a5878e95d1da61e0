// The commands of the image view beside its tools.

#include "archive/archive.h"
#include "imagedoc/viewtest.h"
#include "results/resultdoc.h"

namespace tarnvisor {
namespace {

TEST_F(ImageView, DeletingKeepsTheOthersAndSelectionsOutOfRangeAreCleared) {
  ZBasicDoc& d = show();
  for (const Point p : {Point{10, 10}, {50, 50}, {90, 90}}) d.addDimension(p, 0);
  EXPECT_FALSE(canRun("Delete"));
  EXPECT_FALSE(play("Delete"));
  play("click 50,50");
  run("Delete");
  EXPECT_EQ(state(), "L10,10 L90,90");
  view->selected = 0;
  view->secondselected = 1;
  d.deleteDimension(1);
  EXPECT_THAT((std::array{view->selected, view->secondselected}), ElementsAre(0, -1));
  run("Switch List");
  EXPECT_EQ(view->selected, -1);
  EXPECT_EQ(d.currentlist, 1);
}

TEST_F(ImageView, ALineWidthGoesToTheDimensionItsListAndTheSectionWithTheListsNumber) {
  for (const int32_t list : {0, 4, 8}) {
    ZBasicDoc& d = show();
    d.currentlist = list;
    d.addPointToDimension(d.addDimension({10, 10}, 1), {60, 10});
    d.updateAllViews();
    EXPECT_FALSE(canRun("Set line width"));
    play("click 10,10");
    host.fills.push_back([](Form& form) {
      const FormField* field = form.find("New line width");
      for (const char* wrong : {"0", "400"}) EXPECT_NE(field->take(wrong), "");
      EXPECT_EQ(field->take("399"), "");
      return field->take("7").empty();
    });
    run("Set line width");
    EXPECT_EQ(d.currentDims().at(0).width, 7);
    EXPECT_EQ(d.currentDims().width, 7);
    EXPECT_TRUE(d.isModified());
    EXPECT_EQ(settings.getInt(format("dimlist_%i", list), "width", 0), 7);
    host.fills.push_back([](Form&) { return false; });
    d.setModified(false);
    run("Set line width");
    EXPECT_FALSE(d.isModified()) << "cancelled";
  }
}

TEST_F(ImageView, RotationTurnsEachSelectedDimensionClockwiseAboutItsOwnCentre) {
  ZBasicDoc& d = show();
  for (const int32_t x : {20, 80, 140}) d.addPointToDimension(d.addDimension({x, 50}, 1), {x + 20, 50});
  EXPECT_FALSE(canRun("Rotate selected dimensions"));
  play("click 20,50 shift 140,50");
  settings.setDouble("settings", "angle", 12.5);
  host.fills.push_back([](Form& form) {
    const FormField* field = form.find("Clockwise rotation (degrees)");
    EXPECT_EQ(field->value(), "12.50");
    return field->take("90").empty();
  });
  run("Rotate selected dimensions");
  EXPECT_EQ(settings.getDouble("settings", "angle", 0), 90);
  EXPECT_EQ(state(), "*L30,40 30,60 L80,50 100,50 +L150,40 150,60") << "the left end goes up";
}

TEST_F(ImageView, ADimensionIsCopiedAndPastedAsItsKind) {
  ZBasicDoc& from = show();
  EXPECT_FALSE(canRun("Copy"));
  from.addPointToDimension(from.addDimension({10, 10}, 4), {30, 30});
  from.currentDims().at(0).label = "loop";
  play("click 10,10");
  run("Copy");
  host.clipboardData["CDim"].resize(4096);  // blocks grow in steps
  ZBasicDoc& to = show();
  run("Paste");
  ASSERT_EQ(state(), "*C10,10 30,30");
  EXPECT_EQ(to.currentDims().at(0).label, "loop");
  EXPECT_TRUE(to.isModified());
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(ImageView, AllSelectedMarksAreDeletedAndCopied) {
  show();
  run("Counting");
  play("click 10,10 60,10 110,10 160,10");
  run("Counting");
  EXPECT_FALSE(canRun("Delete"));
  play("shift 10,10 110,10");
  ASSERT_TRUE(canRun("Copy"));
  run("Copy");
  play("Delete");
  EXPECT_EQ(state(), "L60,10 L160,10");
  run("Paste");
  EXPECT_EQ(state(), "L60,10 L160,10 +L10,10 *+L110,10");
  run("Delete");
  EXPECT_EQ(state(), "L60,10 L160,10");
}

TEST_F(ImageView, PastedMarksLieBesideTheirOriginals) {
  ZBasicDoc& d = show();
  d.addPointToDimension(d.addDimension({10, 10}, 1), {30, 30});
  play("click 10,10");
  run("Copy");
  run("Paste");
  run("Paste");
  EXPECT_EQ(state(), "L10,10 30,30 L20,20 40,40 *L30,30 50,50");
  const Point corner = Point{d.theImage()->width, d.theImage()->frameHeight()} - Point{1, 1};
  d.currentDims().removeAll();
  d.addPointToDimension(d.addDimension(corner - Point{5, 5}, 1), corner);
  view->selected = 0;
  run("Copy");
  run("Paste");
  EXPECT_EQ(d.currentDims().at(1).points.back(), corner - Point(10, 10)) << "within the image";
}

TEST_F(ImageView, AClipboardThatRefusesIsReported) {
  ZBasicDoc& d = show();
  d.addDimension({10, 10}, 0);
  play("click 10,10");
  host.clipboardResult = ClipboardResult::CannotOpen;
  run("Copy");
  host.clipboardResult = ClipboardResult::CannotRegister;
  run("Copy");
  EXPECT_THAT(host.messages, ElementsAre("Cannot Open Clipboard", "Cannot Register Clipboard"));
}

TEST_F(ImageView, ForeignOrDamagedDataIsNotPasted) {
  ZBasicDoc& d = show();
  d.addDimension({10, 10}, 1);
  play("click 10,10");
  run("Copy");
  const std::vector<uint8_t> good = host.clipboardData["CDim"];
  std::vector<std::vector<uint8_t>> bad{{}, {0, 0}, {'n', 'o', 't', ' ', 'a', ' ', 'd', 'i', 'm'}};
  for (size_t length = 1; length < good.size(); length += 3)
    bad.emplace_back(good.begin(), good.begin() + static_cast<ptrdiff_t>(length));
  MemoryStream memory;
  Archive archive(memory, Archive::Direction::Storing);
  CDimList list;  // stored whole, it is an object of another class
  archive.writeObject(&list);
  archive.close();
  bad.push_back(memory.bytes());
  d.setModified(false);
  for (const auto& bytes : bad) {
    host.clipboardData["CDim"] = bytes;
    host.messages.clear();
    run("Paste");
    EXPECT_EQ(host.messages.size(), 1u) << bytes.size();
    EXPECT_EQ(d.currentDims().size(), 1) << bytes.size();
  }
  EXPECT_FALSE(d.isModified());
  host.clipboardData.clear();
  host.messages.clear();
  run("Paste");
  EXPECT_THAT(host.messages, ElementsAre(HasSubstr("nothing that can be pasted")));
}

TEST_F(ImageView, TheAutocalTestTakesTheRowUnderTheMouseAndOpensTheNotesOnce) {
  ZBasicDoc& d = show({64, 20}, {64, 20});
  for (int32_t x = 0; x < 64; ++x) d.image->setPixel(x, 9, x % 8 < 4 ? 200 : 50);
  d.image->xOrigin = 300;
  d.image->yOrigin = 400;
  play("move 310,409");
  host.fill({});
  run("Autocal test");
  EXPECT_EQ(state(), "L304,409 360,409");
}

TEST_F(ImageView, ImageResultsComeForwardOnceThereAreAny) {
  show();
  EXPECT_FALSE(canRun("Image Results"));
  const int32_t before = site.drawings;
  run("Calculate average of selection");
  EXPECT_GT(site.drawings, before) << "the breaks of the curves are shown at once";
  run("Image Results");
  EXPECT_EQ(app->documents.active(), findResultDocument("Image Results"));
}

TEST_F(ImageView, WindowsOfTheImageAreOffered) {
  show();
  EXPECT_FALSE(canRun("Measuring line")) << "a still is no video";
  run("Show scale bar");
  EXPECT_TRUE(view->showsScaleBar);
  EXPECT_TRUE(isTicked("Show scale bar"));
  EXPECT_FALSE(canRun("Grey level")) << "without a line";
  for (const char* command : {"Histogram", "Vignette test", "Autocal test", "Print...", "Print Preview"})
    EXPECT_TRUE(canRun(command)) << command;
}

}  // namespace
}  // namespace tarnvisor
