// Markers: stored form, list, placement on a chart, drawing and the editor.

#include "charts/markereditor.h"
#include "charts/markerplacement.h"
#include "support/archivetest.h"
#include "support/recordingcanvas.h"
#include "support/testhost.h"

namespace tarnvisor {

void PrintTo(const Rect& r, std::ostream* out) {
  *out << r.left << "," << r.top << "-" << r.right << "," << r.bottom;
}

namespace {

std::unique_ptr<CMarker> at(double time, const std::string& label = "") {
  auto marker = std::make_unique<CMarker>();
  marker->time = time;
  marker->SetLabel(label);
  return marker;
}

CMarkerList listOf(const std::vector<double>& times) {
  CMarkerList list;
  for (const double time : times) list.add(at(time));
  return list;
}

std::vector<double> timesOf(const CMarkerList& list) {
  std::vector<double> times;
  for (const auto& item : list.items) times.push_back(item->time);
  return times;
}

Bytes stored(const std::function<void(Archive&)>& write) {
  registerMarkers();
  return storedBy(write);
}

struct LinkLog final : MarkerLink {
  LinkLog() : before(setMarkerLink(this)) {}
  ~LinkLog() override { setMarkerLink(before); }
  bool freezeSave(const std::string& path) override { return calls.push_back("save " + path), true; }
  bool autoLoad(const std::string& path) override { return calls.push_back("load " + path), true; }
  std::vector<std::string> calls;
  MarkerLink* before;
};

// An image marker alone in a list, worked out by hand.
const Bytes kOneImageMarker = {
    1,   0,   0xff, 0xff, 1,   0,   12,  0,                                      // count, new class, schema 1
    'C', 'I', 'm',  'a',  'g', 'e', 'M', 'a',  'r', 'k', 'e', 'r', 1,  0, 7, 0,  // version, id
    0,   0,   0,    0,    0,   0,   4,   0x40, 3,   0,   2,   0,   4,  0,  // 2.5 s, 3 wide, 2 high, pole 4
    3,   'a', 'b',  'c',  4,   'n', 'o', 't',  'e', 1,   0,   1,   'f'};   // label, text, version, file name

TEST(MarkersAreStored, AsWorkedOutByHandAndReadBack) {
  CMarkerList list;
  auto image = std::make_unique<CImageMarker>();
  image->id = 7;
  image->time = 2.5;
  image->SetLabel("abc");
  image->boxheight = 2;
  image->pole = 4;
  image->text = "note";
  image->filename = "f";
  list.add(std::move(image));
  EXPECT_EQ(stored([&](Archive& a) { list.serialize(a); }), kOneImageMarker);

  MemoryStream stream(kOneImageMarker);
  Archive archive(stream, Archive::Direction::Loading);
  CMarkerList read = listOf({9.0});
  read.serialize(archive);
  ASSERT_EQ(timesOf(read), (std::vector<double>{9.0, 2.5})) << "what is read is appended";
  EXPECT_EQ(*read.items[1], *list.items[0]);
  auto* back = dynamic_cast<CImageMarker*>(read.items[1].get());
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(back->filename, "f");
}

TEST(MarkersAreStored, AndDamagedOnesEndInTheArchiveException) {
  registerMarkers();
  Bytes laterVersion = kOneImageMarker, manyItems = kOneImageMarker;
  laterVersion[20] = 2;
  manyItems[0] = 200;
  for (const Bytes& bytes :
       {laterVersion, manyItems, Bytes(kOneImageMarker.begin(), kOneImageMarker.end() - 1)}) {
    MemoryStream stream(bytes);
    Archive archive(stream, Archive::Direction::Loading);
    CMarkerList list;
    EXPECT_THROW(list.serialize(archive), ArchiveException);
  }
}

TEST(MarkerLists, CopyARangeThatHoldsItsStartAndNotItsEnd) {
  const CMarkerList list = listOf({-1.0, 1.0, 1.5, 2.0, NAN});
  const std::tuple<double, double, bool, std::vector<double>> cases[] = {
      {1.0, 2.0, false, {1.0, 1.5}}, {1.0, 2.5, true, {0.0, 0.5, 1.0}}, {3.0, 9.0, true, {}}};
  for (const auto& [from, to, rebase, times] : cases) {
    const Bytes bytes = stored([&](Archive& a) { (void)list.CopyRange(a, from, to, rebase); });
    MemoryStream stream(bytes);
    Archive archive(stream, Archive::Direction::Loading);
    const auto copy = archive.readOwned<CMarkerList>();
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(timesOf(*copy), times);
  }
  EXPECT_EQ(list.items[1]->time, 1.0) << "the list itself keeps its times";
}

TEST(MarkerLists, MergeMovesOnlyWhatTheyDoNotHave) {
  CMarkerList list = listOf({1.0, 2.0}), other = listOf({2.0, 3.0, 3.0});
  EXPECT_TRUE(list.Merge(other));
  EXPECT_THAT(timesOf(list), ElementsAre(1.0, 2.0, 3.0));
  EXPECT_THAT(timesOf(other), ElementsAre(2.0, 3.0));
  EXPECT_FALSE(list.Merge(other));
  list.add(at(NAN));  // equal to nothing, not even to itself
  EXPECT_FALSE(list.Merge(list));
  EXPECT_EQ(list.size(), 4u);
  list.Shift(0.5);
  EXPECT_EQ(list.items[0]->time, 1.5);
  list.Clear();
  EXPECT_EQ(list.size(), 0u);
}

TEST(Markers, DifferInEachFieldOfTheirOwn) {
  void (*const changes[])(CMarker&) = {[](CMarker& m) { m.time = 4; },   [](CMarker& m) { m.boxwidth = 9; },
                                       [](CMarker& m) { m.pole = 9; },   [](CMarker& m) { m.boxheight = 9; },
                                       [](CMarker& m) { m.id = 9; },     [](CMarker& m) { m.text = "x"; },
                                       [](CMarker& m) { m.label = "x"; }};
  for (const auto& change : changes) {
    CMarker changed;
    change(changed);
    EXPECT_FALSE(changed == CMarker());
  }
  EXPECT_TRUE(CMarker() == CMarker());
}

TEST(ImageMarkers, AskTheMainWindowToSaveWhenMadeAndToLoadWhenOpened) {
  LinkLog link;
  CImageMarker marker("run/7.bmp");
  EXPECT_EQ(marker.text, "filename=run/7.bmp\r\n");
  const auto copy = marker.Clone();
  copy->Open();
  CMarker().Open();
  EXPECT_THAT(link.calls, ElementsAre("save run/7.bmp", "load run/7.bmp"));
}

TEST(MarkersOnAChart, LieAboveTheirColumnRelativeToTheBottomLeftCorner) {
  const Rect area{100, 20, 500, 320};
  const TextMeasure measure{7, 16};
  const std::tuple<double, double, Rect> cases[] = {
      {1.0, 0.01, {-21, -290, 0, -274}},       // the first column
      {3.0099, 0.01, {179, -290, 200, -274}},  // cut, not rounded
      {4.995, 0.01, {378, -290, 399, -274}},
      {5.0, 0.01, {}},
      {0.99, 0.01, {}},
      {NAN, 0.01, {}},
      {2.0, 0.0, {}},
      {1e300, 1e-300, {}}};
  for (const auto& [time, secondsPerColumn, rect] : cases)
    EXPECT_EQ(MarkerPlacements::rectOf(*at(time), area, secondsPerColumn, measure), rect) << time;
  EXPECT_EQ(MarkerPlacements::rectOf(CMarker(), {-5, 0, 50, 50}, 1.0, measure), Rect{}) << "has no time yet";
}

TEST(MarkersOnAChart, AreHitWhereTheyAreDrawnAndKeepTheirSelection) {
  CMarkerList list = listOf({1.0, 1.01, 9.0});
  const Rect area{0, 0, 400, 300};
  MarkerPlacements placements;
  placements.place(list, area, 0.01, {7, 16});
  const Point origin{50, 310};
  MarkerPlacement* hit = placements.hit({140, 25}, origin);
  ASSERT_NE(hit, nullptr);
  EXPECT_EQ(hit->marker, list.items[1].get()) << "the one drawn last";
  EXPECT_EQ(placements.hit({140, 19}, origin), nullptr);
  hit->selected = true;
  RecordingCanvas canvas;
  placements.draw(canvas, origin);
  EXPECT_THAT(canvas.calls, testing::Contains("fill 130,20-151,36 e1ffff"));
  EXPECT_THAT(canvas.calls, testing::Contains("rectangle 128,18-153,38"));

  list.items.erase(list.items.begin());
  EXPECT_EQ(placements.all().size(), 2u) << "a marker that goes takes its placement along";
  placements.place(list, area, 0.03, {7, 16});
  EXPECT_TRUE(placements.find(*list.items[0])->selected);
  EXPECT_EQ(placements.find(*list.items[0])->rect, (Rect{12, -290, 33, -274}));
  list.Clear();
  EXPECT_THAT(placements.all(), IsEmpty());
}

TEST(MarkersAreDrawn, WithTheLabelCutToTheBoxOnScreensOnly) {
  CMarker marker;
  marker.label = "abcd\r\nxyz";
  RecordingCanvas screen, paper;
  paper.printer = true;
  marker.Draw(screen, 10, 30);
  EXPECT_THAT(screen.calls, ElementsAre("pen 0 width 1", "fill 10,30-31,46 e1ffff", "rectangle 10,30-31,46",
                                        "polyline 31,28 31,76", "text 10,30 0 \"ab\""));
  marker.Draw(paper, 10, 30);
  EXPECT_THAT(paper.calls, testing::IsSupersetOf({"text 10,30 0 \"abcd\"", "text 10,46 0 \"xyz\""}));
  marker.SetLabel("a\xc3\xa9");
  marker.boxwidth = 2;
  marker.Draw(screen, INT32_MAX, INT32_MIN);
  EXPECT_EQ(screen.calls.back(), "text 2147483647,-2147483648 0 \"a\"") << "no half of a character";
}

struct Editor : ::testing::Test {
  Editor() { editor.onUpdate = nullptr; }  // of a chart that is gone
  ~Editor() override {
    editor.onUpdate = nullptr;
    editor.close();
  }
  TestHost host;
  MarkerEditor& editor = MarkerEditor::shared();
};

TEST_F(Editor, GivesItsFieldsToTheMarker) {
  const std::tuple<std::vector<std::pair<const char*, const char*>>, uint16_t, uint16_t, uint16_t,
                   std::string>
      cases[] = {{{{"label", "pulse"}}, 5, 1, 3, "pulse"},
                 {{{"label", "pulse"}, {"width", "9"}, {"height", "2"}}, 9, 2, 3, "pulse"},
                 {{{"label", ""}, {"pole", "65535"}}, 2, 1, 65535, ""},
                 {{{"width", "0"}, {"text", "one\ntwo"}}, 0, 1, 3, "ab"}};
  for (const auto& [fields, width, height, pole, expectedLabel] : cases) {
    const auto marker = at(1.0, "ab");
    editor.open(*marker);
    const std::shared_ptr<ShownForm> window = host.shownForms.back();
    EXPECT_EQ(window->form.title(), "Edit Marker");
    for (const auto& [label, value] : fields) window->change(label, value);
    window->press("Update");
    EXPECT_EQ(marker->boxwidth, width);
    EXPECT_EQ(marker->boxheight, height);
    EXPECT_EQ(marker->pole, pole);
    EXPECT_EQ(marker->label, expectedLabel);
    EXPECT_EQ(editor.width, width) << "the fields show what the marker has now";
  }
  EXPECT_NE(host.shownForms.back()->form.find("width")->take("65536"), "");
}

TEST_F(Editor, ClosesWhenItsMarkerOrItsListGoes) {
  {
    CMarkerList list = listOf({1.0, 2.0, 3.0});
    editor.open(*list.items[1]);
    EXPECT_TRUE(list.remove(*list.items[0]));
    EXPECT_TRUE(editor.isOpen());
    EXPECT_TRUE(list.remove(*list.items[0]));
    EXPECT_FALSE(editor.isOpen());
    editor.update();  // there is nothing to update
    editor.open(*list.items[0]);
  }
  EXPECT_FALSE(editor.isOpen());
  ASSERT_EQ(host.shownForms.size(), 2u);
  for (const auto& window : host.shownForms) EXPECT_FALSE(window->isOpen);
}

TEST_F(Editor, ShowsOneMarkerAtATimeUntilItIsClosed) {
  const auto first = at(1.0, "a"), second = at(2.0, "b");
  editor.open(*first);
  editor.open(*second);
  ASSERT_EQ(host.shownForms.size(), 2u);
  EXPECT_FALSE(host.shownForms[0]->isOpen);
  EXPECT_EQ(host.shownForms[1]->value("label"), "b");
  host.shownForms[1]->close();
  EXPECT_EQ(editor.marker(), nullptr);
}

}  // namespace
}  // namespace tarnvisor
