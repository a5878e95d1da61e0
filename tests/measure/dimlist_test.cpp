#include "measure/dimlist.h"

#include "measure/dimline.h"
#include "support/archivetest.h"
#include "support/recordingcanvas.h"
#include "support/tempfolder.h"

namespace tarnvisor {
namespace {

using Points = std::vector<Point>;

// A list of lines, one for each row of points.
void fill(CDimList& list, const std::vector<Points>& rows) {
  for (const Points& row : rows) {
    const int32_t index = list.add(row[0], CDimList::kLine);
    for (size_t i = 1; i < row.size(); ++i) list.addPointTo(index, row[i]);
  }
}

void load(CDimList& list, Bytes bytes) {
  registerDimensionClasses();
  (void)loadBytes(list, std::move(bytes));
}

// A count of 1 and one object of the class with the given body.
Bytes listOf(const std::string& name, const Bytes& body) {
  Bytes bytes{1, 0, 0xFF, 0xFF, 1, 0, static_cast<uint8_t>(name.size()), 0};
  for (const char c : name) bytes.push_back(static_cast<uint8_t>(c));
  bytes.insert(bytes.end(), body.begin(), body.end());
  return bytes;
}

TEST(DimensionLists, MakeTheKindThatTheTypeNames) {
  const std::pair<int32_t, const char*> cases[] = {{0, "CDimLine"},   {1, "CDimLine"},    {3, "CDimLine"},
                                                   {4, "CDimCircle"}, {5, "CDimPolygon"}, {6, "CDimRect"},
                                                   {7, "CDimLine"},   {-1, "CDimLine"}};
  CDimList list;
  list.colour = 0x80FF;
  list.width = 3;
  for (const auto& [type, name] : cases) {
    const int32_t index = list.add({1, 2}, type);
    EXPECT_STREQ(list.at(index).classRecord().name, name);
    EXPECT_EQ(list.selectedindex, index);
    EXPECT_EQ(list.at(index).colour, 0x80FFu);
    EXPECT_EQ(list.at(index).width, 3);
  }
  EXPECT_EQ(list.addPointTo(1, {3, 4}), 1);
  EXPECT_EQ(list.addPointTo(99, {3, 4}), -1);
}

TEST(DimensionLists, RemovingMovesTheSelectedIndexOnlyFromTheRemovedItem) {
  CDimList list;
  fill(list, {{{0, 0}}, {{10, 0}}, {{20, 0}}, {{30, 0}}});
  list.remove(1);
  EXPECT_EQ(list.selectedindex, 3);  // stays, though the item moved down
  list.selectedindex = 0;
  list.remove(0);
  EXPECT_EQ(list.selectedindex, -1);
  list.removeAll();
  EXPECT_EQ(list.size(), 0);
}

TEST(DimensionLists, HitsWalkOnFromAnItemAndWrapOnce) {
  CDimList list;
  fill(list, {{{10, 10}}, {{100, 100}}, {{12, 12}}, {{11, 9}}});
  const std::pair<int32_t, int32_t> fromTo[] = {{-1, 0}, {0, 2}, {1, 2}, {2, 3}, {3, 0}, {99, 0}};
  for (const auto& [from, to] : fromTo) {
    EXPECT_EQ(list.hit(10, 10, 3, from), to) << from;
    EXPECT_EQ(list.selectedindex, to);
  }
  EXPECT_EQ(list.hit(100, 100, 3, 1), 1);  // round to itself
  EXPECT_EQ(list.hit(50, 50, 3, 0), -1);
  EXPECT_EQ(list.selectedindex, -1);
  EXPECT_EQ(list.toggleSelect(11, 11, 3), 0);
  EXPECT_TRUE(list.at(0).selected);
  EXPECT_EQ(list.nearest(12, 11, 3), 2) << "the first of several alike";
  EXPECT_EQ(list.nearestSelected(12, 11, 3, -1), 0);
  EXPECT_EQ(list.nearestSelected(12, 11, 3, 2), 2);
  EXPECT_EQ(list.toggleSelect(11, 11, 3), 0);
  EXPECT_FALSE(list.at(0).selected);
  EXPECT_EQ(list.toggleSelect(60, 60, 3), -1);
}

TEST(DimensionLists, DragAndTurnTakeTheSelectedItemsAlong) {
  CDimList list;
  fill(list, {{{0, 0}, {20, 0}}, {{100, 0}, {120, 0}}, {{5, 5}, {6, 6}}});
  list.at(1).selected = true;
  list.drag(0, {3, 4});
  EXPECT_EQ(list.at(0).points, (Points{{3, 4}, {23, 4}}));
  EXPECT_EQ(list.at(1).points, (Points{{103, 4}, {123, 4}}));
  list.drag(1, {100, 0});
  EXPECT_EQ(list.at(1).points, (Points{{100, 0}, {120, 0}}));  // selected itself: moved once
  list.rotateByPoint(0, {13, 50});
  EXPECT_EQ(list.at(0).points, (Points{{13, 14}, {13, -6}}));
  EXPECT_EQ(list.at(1).points, (Points{{110, 10}, {110, -10}}));
  list.rotate(0, std::numbers::pi / 2);
  EXPECT_EQ(list.at(1).points, (Points{{120, 0}, {100, 0}}));
  EXPECT_EQ(list.at(2).points, (Points{{5, 5}, {6, 6}}));
  list.clearSelection();
  list.offset(1, -1);
  EXPECT_EQ(list.at(2).points, (Points{{6, 4}, {7, 5}}));
  list.scale(1, 2);
  EXPECT_EQ(list.at(2).points, (Points{{3, 2}, {3, 2}}));
}

TEST(DimensionLists, SumOverAllItemsHiddenOrNot) {
  CDimList list;
  fill(list, {{{-10, 5}, {30, 5}}, {{5, 5}}, {{50, 50}}});
  list.addPointTo(list.add({2, 2}, CDimList::kRect), {6, 5});
  list.hidden = true;
  const Rect rect{0, 0, 20, 20};
  EXPECT_EQ(list.countIn(rect, false), 3);
  EXPECT_EQ(list.countPointsIn(rect, true), 1);
  EXPECT_EQ(list.totalLength(1, 1), 45.0);
  EXPECT_EQ(list.totalLengthIn(rect, false, 1, 1), 25.0);
  EXPECT_EQ(list.totalArea(2, 1), 24.0);
  EXPECT_EQ(list.totalAreaIn({4, 2, 20, 20}, false, 1, 1), 6.0);
  EXPECT_EQ(list.totalTortuosity0(), 3.0);
  EXPECT_EQ(list.length(0, 2, 1), 80.0);
  EXPECT_EQ(list.lengthX(0, 1), 40.0);
  EXPECT_EQ(list.lengthY(0, 1), 0.0);
  RecordingCanvas canvas;
  list.draw(canvas, 0);
  EXPECT_TRUE(canvas.calls.empty());
  list.hidden = false;
  list.clip(rect, false);
  ASSERT_EQ(list.size(), 3);
  EXPECT_EQ(list.at(0).points, (Points{{0, 5}, {20, 5}}));
  list.at(1).label = "x";
  list.draw(canvas, 0);
  EXPECT_THAT(canvas.calls, testing::IsSupersetOf({"pen ff width 1 dashed", "text 4,5 ff \"1\"",
                                                   "text 9,5 ff \"2 x\"", "rectangle 2,2-6,5"}));
  const auto copy = list.clone();
  EXPECT_EQ(storedBytes(*copy), storedBytes(list));
  EXPECT_EQ(copy->selectedindex, list.selectedindex);
}

TEST(StoredDimensions, AreTheseBytes) {
  CDimList list;
  fill(list, {{{5, -2}}});
  list.at(0).label = "a";
  list.at(0).width = 2;
  list.add({1, 2}, CDimList::kLine);
  Bytes expected = listOf("CDimLine", {3, 0, 0, 0,    0xFF, 0,    0,    0,    2,    0, 0, 0, 1, 'a',  1, 0, 5,
                                       0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 0x01, 0x80, 3, 0, 0, 0, 0xFF, 0, 0, 0,
                                       1, 0, 0, 0,    0,    1,    0,    1,    0,    0, 0, 2, 0, 0,    0});
  expected[0] = 2;
  EXPECT_EQ(storedBytes(list), expected);
  CDimList back;
  back.selectedindex = 5;
  load(back, expected);
  ASSERT_EQ(back.size(), 2);
  EXPECT_EQ(back.selectedindex, -1);
  EXPECT_EQ(back.at(0).label, "a");
  EXPECT_EQ(storedBytes(back), expected);
}

TEST(StoredDimensions, OldFormsLackLabelAndWidth) {
  CDimList list;
  load(list, listOf("CDimLine", {255, 0, 0, 0, 1, 0, 7, 0, 0, 0, 8, 0, 0, 0}));
  EXPECT_EQ(list.at(0).colour, 255u);
  EXPECT_EQ(list.at(0).width, 1);
  EXPECT_EQ(list.at(0).label, "");
  EXPECT_EQ(list.at(0).points, (Points{{7, 8}}));
  for (const uint8_t version : {1, 2}) {
    load(list, listOf("CDimLine", {version, 0, 0, 0, 4, 3, 2, 0, 9, 0, 0, 0, 1, 0, 7, 0, 0, 0, 8, 0, 0, 0}));
    ASSERT_EQ(list.size(), 1);
    EXPECT_EQ(list.at(0).colour, 0x20304u);
    EXPECT_EQ(list.at(0).width, 9);
    EXPECT_EQ(list.at(0).points, (Points{{7, 8}}));
  }
}

TEST(StoredDimensions, AreClosedAndUpdatedOnReading) {
  const Bytes corners{1, 0, 0, 0, 0, 0, 0, 0, 4, 0, 0, 0, 3, 0, 0, 0, 0, 0, 0,
                      0, 0, 0, 9, 0, 0, 0, 0, 0, 0, 0, 9, 0, 0, 0, 9, 0, 0, 0};
  CDimList list;
  load(list, listOf("CDimPolygon", corners));
  EXPECT_EQ(list.at(0).points, (Points{{0, 0}, {9, 0}, {9, 9}, {0, 0}}));
  load(list, listOf("CDimLine", corners));
  EXPECT_EQ(static_cast<CDimLine&>(list.at(0)).outline.size(), 6u);
}

TEST(StoredDimensions, DamageIsRefused) {
  CDimList list;
  const Bytes damaged[] = {
      {},
      {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F},
      listOf("CDimList", {0, 0}),  // not a dimension
      listOf("CDimLine", {3, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 2, 0, 1, 0, 0, 0, 1, 0, 0, 0}),
      {1, 0, 1, 0},
  };
  for (const Bytes& bytes : damaged) EXPECT_THROW(load(list, bytes), ArchiveException);
}

TEST(DustMaskFiles, HoldOneListAndChangeNothingOnFailure) {
  const TempFolder folder;
  const std::string path = folder.file("dustmask.dm");
  CDimList list, back;
  list.addPointTo(list.add({2, 2}, CDimList::kRect), {6, 5});
  back.colour = 7;
  ASSERT_TRUE(saveDimList(path, list));
  EXPECT_EQ(readWholeFile(path), storedBytes(list));
  ASSERT_TRUE(loadDimList(path, back));
  EXPECT_EQ(storedBytes(back), storedBytes(list));
  EXPECT_EQ(back.colour, 7u);

  Bytes shorter = storedBytes(list);
  shorter.pop_back();
  ASSERT_TRUE(replaceFile(path, shorter));
  EXPECT_THAT(loadDimList(path, back).why(), HasSubstr("dustmask.dm: the file ends too early"));
  EXPECT_FALSE(loadDimList(folder.file("none.dm"), back));
  EXPECT_EQ(storedBytes(back), storedBytes(list));
  EXPECT_THAT(saveDimList(folder.file("none/dustmask.dm"), list).why(), HasSubstr("No such file"));
}

}  // namespace
}  // namespace tarnvisor
