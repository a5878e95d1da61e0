// Finding capillaries as a user does, on the simulated finger, whose number of capillaries is known.

#include "imagedoc/processing.h"
#include "measure/tortuosity.h"
#include "support/imagedoctest.h"
#include "synth/nailfold.h"

namespace tarnvisor {
namespace {

class Capillaries : public ImageDocument {
 protected:
  ZBasicDoc& makeFinger(const NailfoldStill& still) {
    auto* d = static_cast<ZBasicDoc*>(process.imageTemplate->newDocument());
    d->image = renderNailfold(still, truth);
    d->imagedirty = 1;
    return *d;
  }
  NailfoldTruth truth;
};

TEST_F(Capillaries, AreFoundCountedAndRecountedByASecondPress) {
  ZBasicDoc& d = makeFinger(sparseNailfold());
  const auto before = pixelsOf(*d.theImage());
  const auto count = static_cast<int32_t>(truth.capillaries.size());
  run("Find Capillaries");
  EXPECT_EQ(d.currentDims().size(), count);
  EXPECT_EQ(pixelsOf(*d.theImage()), before) << "the document's pixels stay";
  const double area = 1280.0 * 1024 * 1e-6;
  const std::string text = format("%7.3f, capillary density, %7.3f, area", count / area, area);
  EXPECT_EQ(d.resultText, text);
  const std::string counted = format("%i counted in list 0, per million pixel2", count);
  EXPECT_EQ(host.messages.back(),
            text + "\n" + format("%i counted in list 0, per megapixel, not calibrated", count));
  EXPECT_EQ(d.notes, text + ", " + counted + "\r\n");
  EXPECT_STREQ(d.currentDims().at(0).classRecord().name, "CDimCircle");

  d.deleteDimension(0);
  d.addDimension({5, 5}, 0);
  d.addDimension({6, 6}, 0);
  d.calibrated = 1;
  d.magx = d.magy = 2.0;
  run("Find Capillaries");
  EXPECT_EQ(d.currentDims().size(), count + 1) << "no mark changes";
  EXPECT_EQ(d.resultText,
            format("%7.3f, capillary density, %7.3f, area", (count + 1) / (4 * area), 4 * area));
  EXPECT_THAT(
      d.tell("result").text,
      EndsWith(format("\n%i counted in list 0 (%i circles, 2 points), per mm2\n", count + 1, count - 1)));
  d.userunits = "mm";
  EXPECT_THAT(d.tell("result").text, EndsWith("per million mm2\n"));
}

TEST_F(Capillaries, AreNoLinesThatCalibratedTheImage) {
  ZBasicDoc& d = makeFinger(sparseNailfold());
  d.addPointToDimension(d.addDimension({10, 10}, 1), {60, 10});
  host.fill({{"X true length", "100"}});
  run("Calibrate magnification");
  reopen("a.tv1");
  run("Find Capillaries");
  const auto count = static_cast<int32_t>(truth.capillaries.size());
  EXPECT_EQ(image()->currentDims().size(), 1 + count) << "the line alone is nothing to recount";
  const std::string found = image()->resultText;
  run("Find Capillaries");
  EXPECT_EQ(image()->resultText, found);
}

TEST_F(Capillaries, OfAnImageWithoutScaleArePerMegapixelWhereverTheyAreShown) {
  ZBasicDoc& d = makeFinger(sparseNailfold());
  run("Find Capillaries");
  EXPECT_THAT(d.densityFacts().at(1).value, EndsWith(" per megapixel, not calibrated"));
  EXPECT_THAT(d.tell("result").text, EndsWith("per million pixel2\n")) << "scripts read what they read";
}

TEST_F(Capillaries, KnowTheWindowsOfTheFinderAsLengths) {
  ZBasicDoc& d = makeFinger(sparseNailfold());
  const auto shown = [&] {
    std::string sizes;
    host.fills.emplace_back([&](Form& form) {
      sizes = form.find("window sizes")->value();
      return true;
    });
    run("Processing");
    return sizes;
  };
  host.fill({{"window 1", "31"}, {"window 2", "0"}});
  run("Processing");
  EXPECT_EQ(shown(), "31 pixels");
  d.setScale(1.5, 1.5, "", 0, false, false);
  EXPECT_EQ(shown(), "31 (46.5 um)");
  d.setRoi({10, 10, 30, 30});
  EXPECT_THAT(shown(), EndsWith("31 is too large for the region of 20 x 20 pixels"));
  EXPECT_THAT(host.messages.back(), HasSubstr("(window 31): too large"));
}

TEST_F(Capillaries, CalibrateNothing) {
  ZBasicDoc& d = makeFinger(sparseNailfold());
  d.addPointToDimension(d.addDimension({100, 100}, CDimList::kCircle), {110, 100});
  d.addPointToDimension(d.addDimension({10, 10}, CDimList::kLine), {60, 10});
  host.fill({{"X true length", "100"}, {"Y true length", "100"}});
  run("Calibrate magnification");
  EXPECT_EQ(d.magx, 2) << "the line is offered, whatever was drawn before";
  host.fill({{"X line", "1"}, {"X true length", "100"}});
  run("Calibrate magnification");
  EXPECT_THAT(host.messages.back(), HasSubstr("is no line"));
}

TEST_F(Capillaries, LoseTheirDensityWithWhatItWasCountedFrom) {
  CZZimage other(1280, 1024);
  ASSERT_TRUE(other.save(folder.file("other.bmp")));
  const std::pair<const char*, std::function<void(ZBasicDoc&)>> changes[] = {
      {"marks", [&](ZBasicDoc&) { run("Clear all dimensions"); }},
      {"a mark", [](ZBasicDoc& d) { d.deleteDimension(0); }},
      {"scale",
       [&](ZBasicDoc&) {
         host.fill({{"x scale", "3"}, {"y scale", "3"}});
         run("Magnification");
       }},
      {"region",
       [](ZBasicDoc& d) {
         d.setRoi({100, 100, 600, 600});
       }},
      {"pixels",
       [&](ZBasicDoc& d) {
         process.quietMode = 1;
         host.paths = {folder.file("other.bmp")};
         run("Import");
         EXPECT_THAT(d.notes, HasSubstr("pixels imported from other.bmp"));
         EXPECT_GT(d.currentDims().size(), 0) << "the marks stay";
       }},
  };
  for (const auto& [what, change] : changes)
    for (const bool stored : {false, true}) {
      SCOPED_TRACE(what);
      makeFinger(sparseNailfold()).keepwhole = 1;
      run("Find Capillaries");
      const std::string found = image()->resultText;
      if (stored) reopen("a.tv1");
      image()->keepwhole = 1;
      EXPECT_EQ(image()->tell("result").values.front().second, found);
      change(*image());
      EXPECT_EQ(image()->tell("result").values.front().second, "");
      process.imageTemplate->discard(*image());
      settings.setInt("settings", "calibrated", 0);
    }
}

TEST_F(Capillaries, GetTheirDensityBackByUndo) {
  makeFinger(sparseNailfold());
  run("Find Capillaries");
  const std::string found = image()->resultText;
  run("Clear all dimensions");
  EXPECT_EQ(image()->resultText, "");
  run("Undo");
  EXPECT_EQ(image()->resultText, found);
}

TEST_F(Capillaries, AreSoughtInTheRoiOnly) {
  ZBasicDoc& d = makeFinger(goodNailfold());
  d.roi = {200, 100, 900, 800};
  run("Find Capillaries");
  ASSERT_GT(d.currentDims().size(), 5);
  for (const auto& mark : d.currentDims().items) EXPECT_TRUE(mark->Overlaps(d.roi, false));
  EXPECT_THAT(d.resultText, EndsWith(format("%7.3f, area", 700 * 700 * 1e-6)));
}

TEST_F(Capillaries, OfACircularRoiGiveOneDensityAtEachPressAndInTheResults) {
  ZBasicDoc& d = makeFinger(goodNailfold());
  d.roi = {200, 100, 900, 800};
  d.makeRoiCircular();
  d.setTitle("round");
  run("Find Capillaries");
  const int32_t count = d.currentDims().size();
  ASSERT_GT(count, 5);
  EXPECT_EQ(d.currentDims().countIn(d.roi, true), count);
  const std::string first = d.resultText;
  const double area = 350.0 * 350 * std::numbers::pi * 1e-6;
  EXPECT_EQ(first, format("%7.3f, capillary density, %7.3f, area", count / area, area));
  run("Find Capillaries");
  EXPECT_EQ(d.resultText, first);
  run("Calculate average of selection");
  EXPECT_THAT(resultCells(0, 4, 5), ElementsAre(format("%.0f", area * 1e6)));
  EXPECT_THAT(resultCells(0, 16, 17), ElementsAre(format("%.3f", count / area)));
}

TEST_F(Capillaries, TellOfTheWindowsThatTheRegionIsTooSmallFor) {
  ZBasicDoc& d = makeFinger(goodNailfold());
  const std::string told =
      "finder without its background step (window 101): too large for the region of 700 x 101 pixels";
  d.roi = {200, 300, 900, 401};
  run("Find Capillaries");
  EXPECT_THAT(host.messages, Contains("The " + told + "."));
  EXPECT_THAT(d.notes, StartsWith(told + "\r\n"));
  d.notes.clear();
  d.currentDims().removeAll();
  d.roi = {200, 300, 900, 402};
  run("Find Capillaries");
  EXPECT_THAT(d.notes, Not(HasSubstr("finder")));
}

TEST_F(Capillaries, OfAFieldOrAShiftedImageAreRecountedAsTheyWereFound) {
  for (const bool field : {true, false}) {
    ZBasicDoc& d = makeFinger(field ? fieldNailfold() : sparseNailfold());
    d.theImage()->xOrigin = field ? 0 : 700;
    for (const bool region : {false, true}) {
      d.currentDims().removeAll();
      d.roi = region ? Rect{800, 300, 1200, 800} : Rect{};
      run("Find Capillaries");
      const std::string found = d.resultText;
      const int32_t marks = d.currentDims().size();
      run("Find Capillaries");
      EXPECT_GT(marks, 0);
      EXPECT_EQ(d.currentDims().size(), marks);
      EXPECT_EQ(d.resultText, found) << field << region;
    }
  }
}

TEST_F(Capillaries, OfAFieldAreMarkedInFrameRows) {
  ZBasicDoc& d = makeFinger(fieldNailfold());
  run("Find Capillaries");
  ASSERT_EQ(d.currentDims().size(), static_cast<int32_t>(truth.capillaries.size()));
  for (const auto& mark : d.currentDims().items) {
    Point at;
    mark->Anchor(at);
    const auto holds = [&](const TrueCapillary& c) {
      return at.x >= c.left && at.x <= c.right && at.y >= 2 * c.top && at.y <= 2 * c.bottom;
    };
    EXPECT_TRUE(std::any_of(truth.capillaries.begin(), truth.capillaries.end(), holds))
        << at.x << "," << at.y;
  }
  const double area = d.theImage()->width * d.theImage()->frameHeight() * 1e-6;
  EXPECT_THAT(d.resultText, EndsWith(format("%7.3f, area", area)));
}

TEST_F(Capillaries, NothingFoundIsADensityToo) {
  ZBasicDoc& d = makeImage(300, 300);
  d.theImage()->fill(90);
  d.resultText = "before";
  run("Find Capillaries");
  EXPECT_EQ(d.currentDims().size(), 0);
  EXPECT_THAT(host.messages.back(), StartsWith("  0.000, capillary density,   0.090, area\n0 counted"))
      << "not that of before";
}

TEST_F(Capillaries, TheResultReachesTheDatabase) {
  const int32_t subject = app->db->newSubject("A-1");
  ASSERT_TRUE(subject);
  exams->selectSubject("A-1", "");
  ASSERT_TRUE(startNewExamination("finger", ""));
  ZBasicDoc& d = makeFinger(sparseNailfold());
  run("Find Capillaries");
  ASSERT_TRUE(d.onSaveDocument(app->dataFolder + exams->examFolder() + "/shot.tv1"));
  const auto rows = app->db->resultsOf(exams->examId());
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].filename, "shot.tv1");
  EXPECT_EQ(rows[0].result, d.resultText);

  process.imageTemplate->discard(d);
  settings.setInt("settings", "postprocess", 1);
  runProcessResults();
  ASSERT_NE(image(), nullptr);
  EXPECT_EQ(image()->dimlists[kPlainList].size(), static_cast<int32_t>(truth.capillaries.size()));
}

TEST_F(Capillaries, ThresholdAndPreprocessWindowsKeepTheOriginal) {
  ZBasicDoc& d = makeFinger(sparseNailfold());
  const auto before = pixelsOf(*d.theImage());
  d.roi = {100, 100, 1000, 900};
  d.addPointToDimension(d.addDimension({300, 300}, CDimList::kCircle), {303, 300});
  run("Threshold Capillaries");
  ZBasicDoc& binary = *image();
  ASSERT_NE(&binary, &d);
  EXPECT_TRUE(std::ranges::none_of(binary.currentDims().items, [&](const auto& mark) {
    return mark->isSame(d.currentDims().at(0));
  })) << "what was marked before is not counted again";
  d.currentDims().removeAll();
  EXPECT_GT(binary.theImage()->countValue(0) + binary.theImage()->countValue(255), 900 * 800 * 9 / 10);
  EXPECT_THAT(binary.resultText, HasSubstr("capillary density"));
  EXPECT_EQ(d.resultText, "");
  app->documents.activate(d);
  run("Threshold preprocess check");
  ZBasicDoc& prepared = *image();
  EXPECT_EQ(prepared.currentDims().size(), 0);
  EXPECT_THAT(prepared.notes, HasSubstr("filter apex  ROI (100,100)-(1000,900).\r\n"));
  EXPECT_EQ(pixelsOf(*d.theImage()), before);
}

TEST_F(ImageDocument, MinimaLandAtFullImagePositions) {
  ZBasicDoc& d = makeImage(60, 50);
  d.theImage()->fill(200);
  for (const Point p : {Point{20, 20}, Point{40, 30}}) d.theImage()->setPixel(p.x, p.y, 50);
  d.theImage()->setPixel(5, 5, 10);  // outside the ROI
  d.theImage()->xOrigin = 100;       // a part of a larger frame
  d.theImage()->yOrigin = 200;
  d.roi = {110, 210, 155, 245};
  d.addDimension({1, 1}, 0);  // cleared first
  host.fill({{"threshold", "100"}});
  host.fill({{"window width", "9"}});
  host.fill({{"window height", "9"}});
  run("find minima within window");
  ASSERT_EQ(d.currentDims().size(), 2);
  EXPECT_EQ(d.currentDims().at(0).points[0], (Point{120, 220}));
  EXPECT_EQ(d.currentDims().at(1).points[0], (Point{140, 230}));
  EXPECT_EQ(d.notes, " found 2 minima. w=9 h=9, t=100 ROI (110,210)-(155,245).\r\n");
  EXPECT_EQ(settings.getString("minima", "width", ""), "9");

  d.notes.clear();
  host.fill({{"threshold", "100"}});
  host.fills.push_back([](Form&) { return false; });
  run("find minima within tolerance");
  EXPECT_EQ(d.notes, "") << "cancelled";
  host.fill({{"threshold", "100"}});
  host.fill({{"tolerance", "50"}});
  run("find minima within tolerance");
  ASSERT_EQ(d.currentDims().size(), 2);
  EXPECT_EQ(d.currentDims().at(0).label, "50");
  EXPECT_EQ(d.notes, " found 2 minima. t=100, tol=50 ROI (110,210)-(155,245).\r\n");

  d.theImage()->setPixel(17, 12, 50);  // in a corner of the circle's square
  d.makeRoiCircular();
  process.quietMode = 1;
  run("find minima within tolerance");
  EXPECT_EQ(d.currentDims().size(), 2);
  EXPECT_THAT(d.notes, HasSubstr(" found 2 minima. t=100, tol=50 ROI (115,210)-(149,244)"));
  d.roi = {};
  run("find minima within tolerance");
  EXPECT_EQ(d.currentDims().at(0).points[0], (Point{105, 205}));
}

TEST_F(ImageDocument, MinimaThatAreNotThereAreToldByTheToleranceOnly) {
  ZBasicDoc& d = makeImage(20, 20);
  d.theImage()->fill(200);
  process.quietMode = 1;
  for (const bool outside : {false, true}) {
    d.roi = outside ? Rect{50, 50, 60, 60} : Rect{};
    d.notes.clear();
    d.addDimension({1, 1}, 0);
    d.setModified(false);
    run("find minima within window");
    EXPECT_EQ(d.notes, "");
    EXPECT_EQ(d.currentDims().size(), outside ? 1 : 0) << "outside the image nothing happens at all";
    run("find minima within tolerance");
    EXPECT_EQ(d.notes, outside ? "" : " found 0 minima. t=128, tol=50\r\n");
    run("apex filter");
    EXPECT_EQ(d.isModified(), !outside);
  }
}

TEST_F(ImageDocument, RegionsAndWalksOpenWindowsOfTheirOwn) {
  ZBasicDoc& d = makeImage(12, 10);
  d.theImage()->fill(50);
  d.theImage()->setPixel(5, 5, 9);
  d.setTitle("f");
  run("find 8 regions");
  EXPECT_EQ(image()->title(), "f-8region");
  EXPECT_EQ(image()->theImage()->pixelAt(5, 5), 255);
  EXPECT_EQ(image()->theImage()->pixelAt(3, 3), 128);
  EXPECT_THAT(image()->notes, EndsWith("find 8 regions\r\n"));
  app->documents.activate(d);
  d.theImage()->fill(50);
  host.fill({{"start at x=", "4"}});
  host.fill({{"start at y=", "4"}});
  run("Walk to minima");
  EXPECT_EQ(image()->title(), "f-walk2min");
  EXPECT_THAT(image()->notes, ::testing::ContainsRegex("walk2minima8 from \\(4,4\\) took [0-9]+ steps\r\n$"));
}

TEST_F(ImageDocument, ImageResultsCountTheRoiButTheTortuosityOfAllTheList) {
  ZBasicDoc& d = makeImage(100, 80);
  d.setTitle("hand");
  d.image->fill(30);
  d.image->setPixel(5, 5, 90);
  d.image->setPixel(70, 70, 200);
  d.roi = {0, 0, 50, 40};
  ASSERT_TRUE(d.setScale(2, 1, "x", 0, false, false));
  d.setCurrentList(kAmberList);
  const std::pair<int32_t, std::vector<Point>> shapes[] = {
      {0, {{10, 10}}},
      {1, {{20, 20}, {30, 20}}},
      {6, {{0, 0}, {10, 10}}},
      {1, {{60, 60}, {63, 64}, {66, 60}}},
      {1, {{60, 20}, {80, 20}, {80, 40}, {110, 40}, {110, 70}}}};
  for (const auto& [type, points] : shapes) {
    const int32_t index = d.addDimension(points.front(), type);
    for (size_t i = 1; i < points.size(); ++i) d.addPointToDimension(index, points[i]);
  }
  run("Calculate average of selection");
  EXPECT_THAT(resultCells(0), ElementsAre("hand", "um", "100.0", "40.0", "4000", "30.03", "30", "90", "1",
                                          "3", "42.4", "14.1", "200", "66.7", "5.00", "250.000", "750.000",
                                          "10.590", "5.081", "0.0023", "2.000"));
  d.image.reset();
  run("Calculate average of selection");
  const auto cells = resultCells(1);
  EXPECT_THAT((std::vector{cells[5], cells[6], cells[7], cells[9]}), ElementsAre("0.00", "0", "0", "3"));
  d.roi = {};
  run("Calculate average of selection");
  for (const size_t measure : {4u, 8u, 9u}) EXPECT_EQ(resultCells(2)[measure], "0") << "no area";
}

TEST_F(ImageDocument, TheLimitsOfTortuosityAreReadWithTheNextDocument) {
  makeImage(8, 8);
  writeSettings("[tortuosity]\nminlength=33\nmincurvelength=44\nminangle=5.5\n");
  run("Calculate average of selection");
  EXPECT_EQ(tortuositySettings.minlength, 10.0);
  makeImage(8, 8);
  EXPECT_EQ(tortuositySettings.minlength, 33.0);
  EXPECT_EQ(tortuositySettings.mincurvelength, 44.0);
  EXPECT_EQ(tortuositySettings.minangle, 5.5);
  tortuositySettings = {};
}

}  // namespace
}  // namespace tarnvisor
