// The distal row of loops as a user finds and corrects it, on simulated stills.
#include "charts/chartdoc.h"
#include "imagedoc/loopmarks.h"
#include "support/imagedoctest.h"
#include "synth/widefield.h"

namespace tarnvisor {
namespace {

class NailfoldRow : public ImageDocument {
 protected:
  ZBasicDoc& makeStill(FoldKind kind = FoldKind::Healthy) {
    auto* d = static_cast<ZBasicDoc*>(process.imageTemplate->newDocument());
    const WideField field{.kind = kind};
    d->image = renderWideField(field, truth);
    d->imagedirty = 1;
    EXPECT_TRUE(d->setScale(field.pixelSize, field.pixelSize, "x", 0, false, false));
    return *d;
  }
  static CDimList& marksOf(ZBasicDoc& d) { return d.dimlists[kNailfoldList]; }
  static std::string resultOf(ZBasicDoc& d) { return d.tell("result").values.at(0).second; }
  WideFieldTruth truth;
};

TEST_F(NailfoldRow, IsMarkedCountedAndTakenBackByUndo) {
  ZBasicDoc& d = makeStill();
  d.chooseList(kNailfoldList);
  d.addDimension({3, 3}, CDimList::kPoint);
  run("Find nailfold loops");
  const LoopMarks marks = loopMarksOf(marksOf(d));
  EXPECT_NEAR(static_cast<double>(marks.loops.size()), static_cast<double>(truth.loops.size()), 6);
  EXPECT_EQ(marks.loops[0].apex, (Point{3, 3})) << "a drawn one stays";
  EXPECT_EQ(marks.verdict, "good");
  EXPECT_THAT(d.resultText, StartsWith(format("Nailfold loops: %zu on ", marks.loops.size())));
  EXPECT_THAT(d.resultText, EndsWith(" in the central mm, reliability good"));
  EXPECT_THAT(d.notes, HasSubstr(d.resultText));
  EXPECT_EQ(host.messages.back(), d.resultText);
  const int32_t count = marksOf(d).size();
  run("Find nailfold loops");
  EXPECT_EQ(marksOf(d).size(), count);
  run("Dimension Lines");
  EXPECT_EQ(d.currentlist, kPlainList) << "measures keep apart from them";
  run("Dimension Lines");
  makeStill();
  run("Find nailfold loops");
  run("Undo");
  EXPECT_EQ(marksOf(*image()).size(), 0);
  EXPECT_EQ(image()->resultText, "");
}

TEST_F(NailfoldRow, DensityFollowsItsMarksAndASave) {
  ZBasicDoc& d = makeStill();
  run("Find nailfold loops");
  const size_t loops = loopMarksOf(marksOf(d)).loops.size();
  d.deleteDimension(marksOf(d).size() - 1);
  EXPECT_THAT(d.resultText, StartsWith(format("Nailfold loops: %zu on ", loops - 1)));
  const CDim& central = marksOf(d).at(1);
  ASSERT_EQ(central.label, "central mm");
  const std::string middle = d.resultText;
  marksOf(d).drag(1, central.points.front() + Point{-600, -600});
  d.updateAllViews();
  EXPECT_NE(d.resultText, middle);
  const std::string edited = d.resultText;
  reopen("a.tv1");
  EXPECT_EQ(image()->resultText, edited);
  EXPECT_EQ(image()->currentlist, kNailfoldList) << "which is corrected and found again";
  run("Find Capillaries");
  EXPECT_EQ(image()->resultText, edited) << "the row and its curve are no capillaries";
  image()->deleteDimension(marksOf(*image()).size() - 1);
  EXPECT_THAT(resultOf(*image()), StartsWith(format("Nailfold loops: %zu on ", loops - 2)));
  marksOf(*image()).remove(0);
  EXPECT_THAT(resultOf(*image()), HasSubstr("none without a row"));
}

TEST_F(NailfoldRow, IsRefusedInWords) {
  ZBasicDoc& d = makeStill(FoldKind::Blurred);
  run("Find nailfold loops");
  EXPECT_THAT(d.resultText, StartsWith("Nailfold loops refused: not enough loops in focus"));
  EXPECT_THAT(d.judgementOfResult(), StartsWith("refused: not enough loops in focus"));
  EXPECT_EQ(marksOf(d).size(), 0);
  d.addPointToDimension(d.addDimension({100, 500}, CDimList::kPolyline), {1100, 500});
  d.addDimension({300, 480}, CDimList::kPoint);
  EXPECT_THAT(resultOf(d), StartsWith("Nailfold loops: 1 on 2.61 mm of row, 1 clear, 0.4 +- 0.4 per mm"));
  EXPECT_THAT(resultOf(d), EndsWith("marked by hand"));
  d.reviewAt({312, 492, 5});
  EXPECT_EQ(marksOf(d).size(), 1) << "a click on the number takes the loop away, and adds none";
  d.reviewAt({300, 480, 5});
  d.userunits = "parsec";
  run("Find nailfold loops");
  EXPECT_THAT(host.messages.back(), HasSubstr("needs a scale in um or mm"));
  d.userunits = "um";
  d.magy = 1;
  run("Find nailfold loops");
  EXPECT_THAT(host.messages.back(), HasSubstr("as wide as high"));
  makeImage(100, 100);
  run("Find nailfold loops");
  EXPECT_THAT(host.messages.back(), HasSubstr("needs a colour image"));
  run("Add loops to results");
  EXPECT_THAT(host.messages.back(), HasSubstr("There is no row of loops"));
}

TEST_F(NailfoldRow, FillsItsTablesAndItsChart) {
  ZBasicDoc& d = makeStill(FoldKind::Giant);
  run("Find nailfold loops");
  d.addDimension({3, 3}, CDimList::kPoint);
  const LoopMarks marks = loopMarksOf(marksOf(d));
  ASSERT_GT(marks.giant(), 0U);
  EXPECT_THAT(d.resultText, HasSubstr("giant (apex over 50 um)"));
  host.fill({{"Measure", "apex width"}});
  run("Chart of loop measures");
  const auto& chart = dynamic_cast<ZchartDoc&>(*app->documents.active());
  EXPECT_EQ(chart.traces.items.front()->period, 5);
  app->documents.activate(d);
  run("Add loops to results");
  const auto row = resultCells(0, 1, 6, "Nailfold Loops");
  EXPECT_EQ(row[2], format("%zu", marks.loops.size()));
  const CResultDoc* loops = findResultDocument("Nailfold Loop Measures");
  ASSERT_EQ(loops->rowCount(), marks.loops.size());
  EXPECT_THAT(resultCells(marks.loops.size() - 1, 1, 6, "Nailfold Loop Measures"),
              ElementsAre("drawn", format("%zu", marks.loops.size() + 2), "3", "3", "-1.0"));
}

TEST_F(NailfoldRow, TakesTheSideOfTheNailThatIsSet) {
  ZBasicDoc& d = makeStill();
  run("Find nailfold loops");
  const std::string automatic = d.resultText;
  const char* sides[] = {"Nail at the right", "Nail at the bottom", "Nail at the left", "Nail at the top"};
  const size_t side = std::abs(truth.distal.x) > std::abs(truth.distal.y) ? (truth.distal.x > 0 ? 0 : 2)
                                                                          : (truth.distal.y > 0 ? 1 : 3);
  run(sides[(side + 2) % 4]);
  run("Find nailfold loops");
  EXPECT_NE(d.resultText, automatic);
  run(sides[side]);
  run("Find nailfold loops");
  EXPECT_THAT(d.resultText, HasSubstr(", set by hand)"));
}

}  // namespace
}  // namespace tarnvisor
