// Voronoi regions, Krogh circles and neighbours of the marks: with output of qvoronoi made by hand, and with
// the program itself where it is installed.

#include "support/imagedoctest.h"

namespace tarnvisor {
namespace {

constexpr const char* kCommand = "Calculate Voronoi regions";

// Sites 0 and 1 have regions of 80 x 80 and 90 x 80, that of site 2 leaves the image, that of site 3 goes to
// infinity, as do the regions of the four bounding sites.
constexpr const char* kOutput =
    "3\n0 1 3 \n0 3 2 \n2 3 4 \n"
    "2\n9 8 1\n-10.101 -10.101 \n20 20\n100.5 20\n100 100\n20 100.9\n190 20\n190 100\n20 200\n100 200\n"
    "4 1 2 3 4\n4 2 5 6 3\n4 4 3 8 7\n3 3 6 0\n2 0 5\n2 0 6\n2 0 7\n0\n";

class VoronoiRegions : public ImageDocument {
 protected:
  ZBasicDoc& makeMarked() {
    ZBasicDoc& d = makeImage(201, 200);
    for (const Point mark : {Point{50, 50}, {150, 50}, {50, 150}, {150, 150}}) d.addDimension(mark, 0);
    return d;
  }
  void answerWith(const std::string& output, int32_t code = 0) {
    host.program = [=, this](const std::vector<std::string>& words) {
      started = words;
      EXPECT_FALSE(fileExists(words.back())) << "a folder of its own";
      if (!output.empty()) {
        EXPECT_TRUE(replaceFile(words.back(), std::string_view(output)));
      }
      return code;
    };
  }
  static std::vector<std::string> row(size_t index) {
    const CResultDoc* table = findResultDocument("Voronoi-Results");
    EXPECT_EQ(index + 1, table ? table->rowCount() : 0);
    return resultCells(index, 0, 12, "Voronoi-Results");
  }
  static std::vector<std::string> labels(const CDimList& list) {
    std::vector<std::string> all;
    for (const auto& item : list.items) all.push_back(item->label);
    return all;
  }
  std::vector<std::string> started;
};

TEST_F(VoronoiRegions, FillTheListsAndARow) {
  ZBasicDoc& d = makeMarked();
  d.setTitle("hand");
  d.calibrated = 1;
  d.magx = 2;
  d.magy = 3;
  for (auto& list : d.dimlists) list.hidden = true;
  d.setModified(false);
  d.roi = {0, 0, 200, 200};
  answerWith(kOutput);
  run(kCommand);

  const CDimList& regions = d.dimlists[kVoronoiList];
  EXPECT_THAT(labels(regions), ElementsAre("1", "2"));
  EXPECT_STREQ(regions.at(0).classRecord().name, "CDimPolygon");
  EXPECT_THAT(regions.at(0).points,
              ElementsAre(Point{20, 20}, Point{100, 20}, Point{100, 100}, Point{20, 100}, Point{20, 20}));
  const CDimList& circles = d.dimlists[kKroghList];
  EXPECT_THAT(labels(circles), ElementsAre("1", "2"));
  EXPECT_STREQ(circles.at(0).classRecord().name, "CDimCircle");
  EXPECT_THAT(circles.at(0).points, ElementsAre(Point{5, 50}, Point{95, 50})) << "radius 45.14";
  EXPECT_THAT(circles.at(1).points, ElementsAre(Point{102, 50}, Point{198, 50})) << "radius 47.87";
  // 4 and 3 are neighbours too, but neither has a region.
  const CDimList& links = d.dimlists[kNearestList];
  EXPECT_THAT(labels(links), ElementsAre("1 2", "2 4", "4 1", "3 1"));
  EXPECT_THAT(links.at(2).points, ElementsAre(Point{150, 150}, Point{50, 50}));
  EXPECT_FALSE(links.hidden);
  EXPECT_FALSE(regions.hidden);
  EXPECT_TRUE(circles.hidden);
  EXPECT_TRUE(d.isModified());
  // Krogh: (90 + 96) / 2 in the scale of x alone.
  EXPECT_THAT(row(0), ElementsAre("hand", "um", "400.0", "600.0", "240000", "4", "16.67", "2", "40800.0", "4",
                                  "290.1", "186.0"));
}

TEST_F(VoronoiRegions, StartTheProgramWithPlainArguments) {
  makeMarked().roi = {10, 20, 190, 200};
  answerWith(kOutput);
  run(kCommand);
  ASSERT_EQ(started.size(), 8u);
  const std::string sites = started[5];
  const std::string output = started[7];
  EXPECT_THAT(started, ElementsAre("qvoronoi", "Pp", "i", "o", "TI", sites, "TO", output));
  EXPECT_THAT(log(), HasSubstr("\n\"qvoronoi\" Pp i o TI \"" + sites + "\" TO \"" + output + "\"\n"));
  EXPECT_FALSE(folderExists(folderOf(output))) << "goes with the run";
  EXPECT_EQ(readWholeText(folder.file("cappts.txt")).value_or(""),
            "2\n8\n50.000000 50.000000\n150.000000 50.000000\n50.000000 150.000000\n150.000000 150.000000\n"
            "-90 -80\n290 -80\n290 300\n-90 300\n");
  EXPECT_EQ(readWholeText(folder.file("voronoi.txt")).value_or(""), kOutput) << "left for people";

  ASSERT_TRUE(replaceFile(folder.file("qvoronoi"), std::string_view("beside the program")));
  run(kCommand);
  EXPECT_EQ(started[0], folder.file("qvoronoi"));
  EXPECT_THAT(log(), HasSubstr("\n\"" + started[0] + "\" Pp i o TI \""));
}

TEST_F(VoronoiRegions, ThatLeaveTheRoiAreDroppedAndTheirNeighboursStayLinked) {
  ZBasicDoc& d = makeMarked();
  d.roi = {0, 0, 190, 200};  // the second region's right side is just outside
  answerWith(kOutput);
  run(kCommand);
  EXPECT_THAT(labels(d.dimlists[kVoronoiList]), ElementsAre("1"));
  EXPECT_THAT(labels(d.dimlists[kKroghList]), ElementsAre("1"));
  EXPECT_THAT(labels(d.dimlists[kNearestList]), ElementsAre("1 2", "4 1", "3 1"));

  d.roi = {0, 0, 200, 200};
  d.makeRoiCircular();
  d.calibrated = 0;
  run(kCommand);
  EXPECT_THAT(d.dimlists[kVoronoiList].items, IsEmpty());
  EXPECT_THAT(d.dimlists[kNearestList].items, IsEmpty());
  EXPECT_THAT(host.messages, ElementsAre(HasSubstr("No mark has neighbours and a whole Voronoi region")));
  EXPECT_EQ(findResultDocument("Voronoi-Results")->rowCount(), 1u) << "no row without means";
}

TEST_F(VoronoiRegions, OfARunBesideAnotherAreItsOwn) {
  const ZBasicDoc& d = makeMarked();
  host.program = [&](const std::vector<std::string>& words) {
    EXPECT_TRUE(replaceFile(words.back(), std::string_view(kOutput)));
    EXPECT_TRUE(replaceFile(folder.file("voronoi.txt"), std::string_view("another patient's")));
    return 0;
  };
  run(kCommand);
  EXPECT_THAT(labels(d.dimlists[kVoronoiList]), ElementsAre("1", "2"));
}

TEST_F(VoronoiRegions, OfFewerThanFourMarksInTheRoiAreRefused) {
  ZBasicDoc& d = makeMarked();
  d.dimlists[kKroghList].add({1, 1}, 1);
  d.roi = {0, 0, 140, 200};
  answerWith(kOutput);
  run(kCommand);
  EXPECT_THAT(host.messages, ElementsAre(HasSubstr("fewer than four marks")));
  EXPECT_THAT(started, IsEmpty());
  EXPECT_EQ(d.dimlists[kKroghList].size(), 1) << "as they were";
}

TEST_F(VoronoiRegions, OfAFieldCountFrameRows) {
  ZBasicDoc& d = makeMarked();
  d.image = std::make_unique<CZZimage>(201, 200, -1, 2);
  d.image->xOrigin = 1;
  answerWith(kOutput);
  run(kCommand);
  EXPECT_THAT(labels(d.dimlists[kVoronoiList]), ElementsAre("1", "2"));
  EXPECT_THAT(readWholeText(folder.file("cappts.txt")).value_or(""),
              HasSubstr("\n-99 -100\n302 -100\n302 300\n"));
}

TEST_F(VoronoiRegions, TakeThePlainListInsteadOfTheListsTheyFill) {
  ZBasicDoc& d = makeMarked();
  answerWith(kOutput);
  for (const int32_t list : {kNearestList, kVoronoiList, kKroghList}) {
    d.setCurrentList(list);
    for (int32_t i = 0; i < 9; ++i) d.addDimension({i, i}, 0);
    run(kCommand);
    EXPECT_EQ(d.currentlist, kPlainList);
    EXPECT_EQ(d.dimlists[kNearestList].size(), 4) << "replaced";
    EXPECT_EQ(d.dimlists[kKroghList].size(), 2);
  }
  EXPECT_EQ(row(2)[5], "4");
  d.setCurrentList(kAmberList);
  for (int32_t i = 0; i < 5; ++i) d.addDimension({90, 90}, 0);
  run(kCommand);
  EXPECT_EQ(d.currentlist, kAmberList);
  EXPECT_EQ(row(3)[5], "5");
}

TEST_F(VoronoiRegions, NeedAnImageAndFourMarks) {
  ZBasicDoc& d = makeMarked();
  EXPECT_TRUE(isEnabled(kCommand));
  d.image.reset();
  EXPECT_FALSE(isEnabled(kCommand));
  makeMarked().deleteDimension(0);
  EXPECT_FALSE(isEnabled(kCommand));
}

TEST_F(VoronoiRegions, WithoutOutputTheListsAreEmptyAndThereIsNoRow) {
  const struct {
    const char* what;
    std::string output;
    int32_t code;
    const char* told;
  } cases[] = {
      {"the program can't be started", "", -1, "Unable run qvoronoi"},
      {"it fails", "", 4, "qvoronoi gave no Voronoi regions"},
      {"its output is cut off", std::string(kOutput).substr(0, 90), 0, "qvoronoi gave no Voronoi regions"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ZBasicDoc& d = makeMarked();
    for (const int32_t list : {kNearestList, kVoronoiList, kKroghList})
      d.dimlists[static_cast<size_t>(list)].add({1, 1}, 1);
    ASSERT_TRUE(replaceFile(folder.file("voronoi.txt"), std::string_view(kOutput)));
    host.messages.clear();
    answerWith(c.output, c.code);
    run(kCommand);
    EXPECT_THAT(host.messages, ElementsAre(HasSubstr(c.told)));
    for (const int32_t list : {kNearestList, kVoronoiList, kKroghList})
      EXPECT_THAT(d.dimlists[static_cast<size_t>(list)].items, IsEmpty());
    EXPECT_EQ(findResultDocument("Voronoi-Results"), nullptr);
    EXPECT_NE(readWholeText(folder.file("voronoi.txt")).value_or(""), kOutput) << "an earlier run's is gone";
  }
}

TEST_F(VoronoiRegions, NeedNoFilesInTheProgramsFolder) {
  const ZBasicDoc& d = makeMarked();
  std::filesystem::create_directories(folder.file("cappts.txt"));
  answerWith(kOutput);
  run(kCommand);
  EXPECT_THAT(labels(d.dimlists[kVoronoiList]), ElementsAre("1", "2"));
  EXPECT_THAT(host.messages, IsEmpty());
}

TEST_F(VoronoiRegions, AFileThatCanNotBeWrittenEndsTheCommand) {
  ZBasicDoc& d = makeMarked();
  d.dimlists[kKroghList].add({1, 1}, 1);
  answerWith(kOutput);
  const char* usual = std::getenv("TMPDIR");
  const std::string before = usual ? usual : "";
  ::setenv("TMPDIR", folder.file("missing").c_str(), 1);
  run(kCommand);
  usual ? ::setenv("TMPDIR", before.c_str(), 1) : ::unsetenv("TMPDIR");
  EXPECT_THAT(host.messages, ElementsAre("Unable to create pts file"));
  EXPECT_THAT(started, IsEmpty());
  EXPECT_THAT(d.dimlists[kKroghList].items, IsEmpty());
  EXPECT_EQ(findResultDocument("Voronoi-Results"), nullptr);
}

TEST_F(VoronoiRegions, OfARegularGridAreItsCells) {
  SystemProcesses programs;
  if (programs.run({"qvoronoi", "-V"}) != 0) GTEST_SKIP() << "qvoronoi is not installed";
  host.program = [&](const std::vector<std::string>& words) { return programs.run(words); };
  ZBasicDoc& d = makeImage(246, 246);
  for (int32_t i = 0; i < 25; ++i) d.addDimension({41 + i % 5 * 41, 41 + i / 5 * 41}, 0);
  run(kCommand);
  // The nine inner marks have cells of 41 x 41; their 24 links go along the grid, never across.
  EXPECT_EQ(labels(d.dimlists[kVoronoiList]).front(), "7");
  for (const auto& link : d.dimlists[kNearestList].items) EXPECT_EQ(link->Length(1, 1), 41.0);
  const auto cells = row(0);
  EXPECT_THAT(std::vector<std::string>(cells.begin() + 5, cells.end()),
              ElementsAre("25", "413.11", "9", "1681.0", "24", "41.0", "46.0"));
}

}  // namespace
}  // namespace tarnvisor
