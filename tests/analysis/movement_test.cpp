#include "analysis/movement.h"

#include "base/numbers.h"
#include "base/text.h"
#include "image/samplepattern.h"
#include "settings/settings.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

using Draw = std::function<double(double x, double y)>;

double skin(double x, double y) {
  return 128 + 40 * std::sin(x / 14) + 30 * std::cos(y / 16 + x / 25) + 20 * std::sin((x - y) / 9);
}
double other(double x, double y) { return 128 + 100 * std::sin(x * y / 40); }

void draw(CZZimage& image, const Draw& f, double dx = 0, double dy = 0) {
  for (int32_t y = 0; y < image.height; ++y)
    for (int32_t x = 0; x < image.width; ++x) image.row(y)[x] = truncatedToByte(f(x + dx, y + dy) + 0.5);
}

class Movement : public testing::Test {
 protected:
  // Image k shows f at its place, which is the offset that undoes it.
  struct Frame {
    Draw f;
    double x = 0, y = 0;
  };
  void make(const std::vector<Frame>& frames, Size size = {160, 160}) {
    const std::string path = folder.file("v.mve");
    ASSERT_TRUE(
        movie.record(static_cast<int32_t>(frames.size()), path, 0, 0, size.width, size.height, false));
    for (const Frame& frame : frames) {
      CZZimage image(size.width, size.height);
      draw(image, frame.f, frame.x, frame.y);
      (void)movie.addFrame(image, 0);
    }
    movie.stopRecording();
    params.start = 0;
    params.thresholdsq = 225;
  }
  void run() {
    windowFor(params, movie.frameAt(0));
    if (params.newRgnOld == kFastWhole) params.regions = {params.refRect};
    beginAMC(movie, params);
    while (stepAMC(movie, params)) {
    }
  }
  Point offset(int32_t i) { return {movie.recordOf(i).xOrigin, movie.recordOf(i).yOrigin}; }
  std::string log() { return *readWholeText(folder.file("v.mve.amclog.txt")); }
  // Which image was laid over which base, and each change of base.
  std::vector<std::string> course() {
    std::vector<std::string> lines;
    for (const std::string& line : split(log(), '\n'))
      if (line.find(",to,") != std::string::npos || line.starts_with("REBASE")) lines.push_back(line);
    return lines;
  }

  TempFolder folder;
  CZZMovie movie;
  AMCparams params;
};

// --- the error of a shift

class Errors : public testing::Test {
 protected:
  std::string text() {
    log.reset();
    return *readWholeText(folder.file("l"));
  }
  TempFolder folder;
  std::unique_ptr<AmcLog> log = AmcLog::open(folder.file("l"), false);
  int32_t flags = 0, failures = 0;
};

TEST_F(Errors, AreMeansOverTheRegionsThatStayInside) {
  CZZimage a(8, 8), b(8, 8);
  a.fill(10);
  b.fill(13);
  b.row(0)[0] = 18;
  const std::vector<Rect> regions{{0, 0, 2, 2}, {4, 4, 8, 8}, {3, 3, 3, 5}};
  EXPECT_EQ(regionError(a, b, regions, {0, 0}, flags, log.get()), (64 + 19 * 9) / 20.0);
  EXPECT_EQ(regionError(a, b, regions, {1, 0}, flags, log.get()), 9);  // the first region has left
  EXPECT_EQ(flags, 0);
  EXPECT_EQ(regionError(a, b, regions, {5, -5}, flags, log.get()), kWorstError);
  EXPECT_EQ(flags, kNoRegion);
  EXPECT_EQ(regionSquareSum(a, b, {6, 6, 9, 9}, {3, 3}).pixels, 0);  // it leaves the reference
  EXPECT_EQ(text(), "0,0,[0],22.8,[1],9.0,11.8\n1,0,[1],9.0,9.0\n5,-5,no rects\n");
}

TEST_F(Errors, WalkOverTiesUntilTheRegionsLeave) {
  CZZimage a(6, 6), b(6, 6);
  a.fill(7);
  b.fill(7);
  Point shift;
  EXPECT_EQ(descendError(a, b, std::vector<Rect>{{2, 2, 4, 4}}, shift, failures, log.get()), 0);
  EXPECT_EQ(shift, (Point{3, 3}));
  EXPECT_EQ(descendError(a, b, std::vector<Rect>{{2, 2, 4, 4}}, shift, failures, log.get()), kWorstError);
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(text(),
            "0,0,[0],0.0,0.0\n1,1,[0],0.0,0.0\n2,2,[0],0.0,0.0\n3,3,no rects\n0.0,4,3,3\n"
            "3,3,no rects\n65025.0,0,3,3\n");
}

TEST_F(Errors, OfAWalkAsLongAsTheSidesAreAFailure) {
  CZZimage a(4, 4), b(40, 40);
  a.fill(7);
  b.fill(7);
  Point shift{-30, -30};
  EXPECT_EQ(descendError(a, b, std::vector<Rect>{{0, 0, 2, 2}}, shift, failures, nullptr), kWorstError);
  EXPECT_EQ(failures, kStepLimit);
  EXPECT_EQ(shift, (Point{-23, -23}));
}

TEST_F(Errors, AreTriedInTheOrderThatResultsDependOn) {
  CZZimage a(24, 24), b(24, 24);
  draw(a, [](double x, double y) { return 10 * std::abs(x - 12) + std::abs(y - 12); });
  draw(
      b, [](double x, double y) { return 10 * std::abs(x - 12) + std::abs(y - 12); }, -1, 1);
  Point shift{0, 0};
  descendError(a, b, std::vector<Rect>{{8, 8, 16, 16}}, shift, failures, log.get());
  EXPECT_EQ(shift, (Point{-1, 1}));
  std::string shifts;
  for (const std::string& line : split(text(), '\n')) shifts += line.substr(0, line.find(",[")) + " ";
  EXPECT_EQ(
      shifts,
      "0,0 1,1 1,0 0,1 0,2 1,2 -1,2 -2,3 -1,3 -2,2 0,3 0,2 -1,1 -1,0 -2,0 0,0 -2,1 -2,2 0,2 0.0,4,-1,1  ");
}

TEST(ErrorMap, TakesTheFirstShiftOfTheLeastWholeGreyLevel) {
  AMCparams params;
  params.baseEighth = std::make_unique<CZZimage>(4, 4);
  params.baseEighth->fill(0);
  params.regions = {{8, 8, 24, 24}};
  CZZimage image(4, 4);
  image.fill(200);
  for (int32_t x = 1; x < 4; ++x) image.row(2)[x] = image.row(3)[x] = x == 3 ? 11 : 10;
  Point best;
  const auto map = fullErrorMap(params, image, best);
  EXPECT_EQ(best, (Point{-1, -1}));  // 10.5; the next one's 10 is no whole level better
  EXPECT_EQ((Rect{map->xOrigin, map->yOrigin, map->width, map->height}), (Rect{-1, -1, 2, 2}));
  EXPECT_EQ(map->row(0)[1], 10);
  const auto centre = centreErrorMap(CZZimage(11, 10), CZZimage(11, 10));
  EXPECT_EQ((Size{centre->width, centre->height}), (Size{4, 4}));
}

// --- runs

TEST_F(Movement, LaysImagesOverTheFirst) {
  make({{skin}, {skin, 4, -3}, {skin, -7, 2}, {skin, -7, 2}});
  run();
  EXPECT_EQ(offset(1), (Point{4, -3}));
  EXPECT_EQ(offset(2), (Point{-7, 2}));
  EXPECT_THAT(log(), HasSubstr("3,to,0,,-7,2\nbin3,0,0\n"));  // divided towards zero
  EXPECT_EQ(endAMC(movie, params), (Point{7, 3}));
  EXPECT_EQ(offset(1), (Point{11, 0}));
  EXPECT_EQ(params.records[3].offset, (Point{0, 5}));
  movie.frameAt(2);
  EXPECT_EQ(endAMC(movie, params), Point{});
  EXPECT_EQ(movie.current, 0);
}

TEST_F(Movement, LogsAsItAlwaysDid) {
  make({{[](double, double) { return 50.0; }}, {[](double, double) { return 50.0; }}}, {32, 32});
  params.thresholdsq = -1;
  run();
  EXPECT_EQ(log(),
            "\nmethod,0\nwidth,32\nheight,32\nstart,0\nend,2\navrms,0.0\nminrms,0.0\nmaxrms,0.0\n"
            "threshold,0.0\nthresholdsq,0.0\nlimit,50.0\nlimitx,4\nlimity,4\noffset,0,0\n8,8,24,24\n"
            "1,to,0,,0,0\nbin3,0,0\n0,0,[0],0.0,0.0\n1,1,[0],0.0,0.0\n2,2,no rects\n0.0,3,2,2\n"
            "bin2,4,4\n4,4,no rects\n65025.0,0,4,4\n!success,1\n");
}

TEST_F(Movement, TakesAnErrorAtTheThresholdForAMissAtFinerScalesAlone) {
  make({{skin}, {[](double x, double y) { return skin(x, y) + 4; }}});
  params.thresholdsq = 16;
  run();
  EXPECT_THAT(log(), Not(HasSubstr("FULL")));
  EXPECT_THAT(log(), HasSubstr("!success,1\n"));
  EXPECT_THAT(log(), Not(HasSubstr("bin1")));
  EXPECT_FALSE(params.records[1].aligned);
  EXPECT_EQ(params.records[1].rms, 4);
}

TEST_F(Movement, TriesFailedImagesOverANearerBase) {
  make({{skin}, {skin}, {other}, {other}});
  run();
  EXPECT_THAT(course(), ElementsAre("1,to,0,,0,0", "2,to,0,,0,0", "REBASE TO,1,0,0", "2,to,1,,0,0",
                                    "3,to,1,,0,0", "REBASE TO,2,0,0", "3,to,2,,0,0"));
  EXPECT_FALSE(params.records[2].aligned);
  EXPECT_TRUE(params.records[3].aligned);
  EXPECT_THAT(log(), HasSubstr("FULL,"));
}

TEST_F(Movement, MovesTheBaseBeyondTheLimit) {
  make({{skin}, {skin, 9, 0}, {skin, 9, 0}});
  params.limit = 20;
  run();
  EXPECT_THAT(course(), ElementsAre("1,to,0,,0,0", "REBASE TO,1,9,0", "2,to,1,,0,0"));
  EXPECT_EQ(offset(2), (Point{9, 0}));
}

TEST_F(Movement, KeepsTheFirstBaseOrTakesImage0) {
  make({{skin}, {skin, 9, 0}, {other}});
  params.limit = 20;
  params.basemethod = kFirstBase;
  run();
  EXPECT_THAT(course(), ElementsAre("1,to,0,,0,0", "2,to,0,,9,0"));
  EXPECT_EQ(offset(2), (Point{9, 0}));  // what failed inherits
  endAMC(movie, params);
  params.basemethod = kPreviousBase;
  params.start = 1;
  params.ref = 50;
  run();
  EXPECT_THAT(course(), ElementsAre("2,to,1,,0,0", "REBASE TO,-1,0,0"));
}

TEST_F(Movement, ComparesDrawnRegionsWithTheirOwnImages) {
  make({{skin}, {other}, {skin, 3, 2}});
  movie.setOrigin(1, {10, 0});
  params.newRgnOld = kFastRegions;
  params.regions = {{40, 48, 104, 112}, {110, 60, 126, 76}};
  params.regionImages = {0, 1};
  windowFor(params, movie.frameAt(0));
  beginAMC(movie, params);
  EXPECT_EQ((Rect{params.base->xOrigin, params.base->yOrigin, params.base->width, params.base->height}),
            (Rect{40, 48, 86, 64}));
  EXPECT_EQ(params.base->row(12)[70], truncatedToByte(other(100, 60) + 0.5));
  EXPECT_EQ(params.base->row(0)[70], 255);
  EXPECT_EQ(params.regions[1], (Rect{70, 12, 86, 28}));
  params.log.reset();
  EXPECT_THAT(log(), StartsWith("\nRESIZEBASE,86,64,40,126\nADDTOBASE,0\n,1\n\nmethod,1\n"));
}

TEST_F(Movement, LaysImagesOverDrawnRegions) {
  make({{skin}, {skin, 3.5, 2}});
  params.newRgnOld = kFastRegions;
  params.regions = {{40, 40, 80, 80}, {88, 40, 128, 80}, {40, 88, 80, 128}};
  params.regionImages = {0, 0, 0};
  params.subPixel = true;
  run();
  EXPECT_EQ(offset(1).y, 2);
  EXPECT_NEAR(params.records[1].subPixel.x, 3.5, 0.05);  // the gaps in the base don't hold it
}

TEST_F(Movement, CountsFieldRowsTwice) {
  make({{skin}, {skin, 4, -3}});
  movie.adoptTable({{0, 1, 0, 0}, {1, 1, 0, 0}});
  run();
  EXPECT_EQ(offset(1), (Point{4, -6}));
  EXPECT_EQ(params.limity, 40);
}

TEST_F(Movement, OfTheOriginalMethodCanBeRepeated) {
  make({{skin}, {skin, 2, -3}});
  params.newRgnOld = kOriginal;
  params.method = 0;
  params.lowpass = 0;
  standardRandom().seed(99);
  run();
  EXPECT_EQ(offset(1), (Point{2, -3}));
  SamplePattern fresh;
  standardRandom().seed();
  fresh.prepare(8, 80, 80, movie.image().stride);
  EXPECT_EQ(movie.frameAt(1).samplePattern->offsets, fresh.offsets);
  EXPECT_THAT(log(), EndsWith("1,to,0,\n"));
}

TEST_F(Movement, IsKnownToAFractionOnRequest) {
  std::mt19937 random(1);
  std::normal_distribution<double> noise(0, 8);
  const Draw noisy = [&](double x, double y) { return skin(x, y) + noise(random); };
  const Draw brighter = [&](double x, double y) { return 1.03 * noisy(x, y); };
  make({{noisy}, {brighter, 2.5, -1.5}, {other}});
  params.subPixel = true;
  params.basemethod = kFirstBase;
  run();
  EXPECT_NEAR(params.records[1].subPixel.x, 2.5, 0.1);
  EXPECT_NEAR(params.records[1].subPixel.y, -1.5, 0.1);
  EXPECT_FALSE(params.records[2].subPixel.isKnown());
}

// A recording that doesn't come with the sources. Its middle alone shows too little to go by.
TEST_F(Movement, OfARealNailfoldIsFound) {
  const char* named = std::getenv("TARNVISOR_TEST_DATA");
  const std::string data = withSeparator(named ? named : TEST_DATA_FOLDER) + "nailfold-still/";
  std::ifstream truth(data + "jitter-truth.csv");
  if (!copyFile(data + "jitter-640x480-30fps.avi", folder.file("j.avi"))) GTEST_SKIP() << data;
  ASSERT_TRUE(movie.open(folder.file("j.avi")));
  params.start = 0;
  params.ref = 80;
  params.subPixel = true;
  run();
  double squares = 0, x0 = 0, y0 = 0;
  std::string line;
  std::getline(truth, line);
  for (const MovementRecord& r : params.records) {
    double x = 0, y = 0;
    ASSERT_TRUE(std::getline(truth, line));
    std::sscanf(line.c_str(), "%*d,%lf,%lf", &x, &y);
    if (r.index == 0) std::tie(x0, y0) = std::pair(x, y);
    EXPECT_NEAR(r.offset.x, x - x0, 1.5) << r.index;
    EXPECT_NEAR(r.offset.y, y - y0, 1.5) << r.index;
    squares += std::pow(r.subPixel.x - x + x0, 2) + std::pow(r.subPixel.y - y + y0, 2);
  }
  EXPECT_LT(std::sqrt(squares / 240), 0.1);
}

// --- what can go wrong

TEST_F(Movement, OfOneImageAlignsNone) {
  make({{skin}});
  params.thresholdsq = -1;
  windowFor(params, movie.frameAt(0));
  beginAMC(movie, params);
  EXPECT_FALSE(stepAMC(movie, params));
  EXPECT_EQ(endAMC(movie, params), Point{});
}

TEST_F(Movement, RefusesColour) {
  movie.mode = CZZMovie::kMemory;
  movie.createImages(2, 16, 16, kColour);
  movie.count = 2;
  run();
  EXPECT_THAT(params.trouble, HasSubstr("convert the video to grey"));
  EXPECT_EQ(params.base, nullptr);
}

TEST_F(Movement, TellsOfImagesThatCannotBeRead) {
  make({{skin}, {skin}, {skin, 3, 0}, {skin}});
  std::filesystem::resize_file(folder.file("v.mve"), 40 + 2 * 160 * 160 + 100);
  run();
  EXPECT_THAT(params.trouble, HasSubstr("Image 2 of"));
  EXPECT_FALSE(params.records[2].aligned);
  EXPECT_FALSE(params.records[3].aligned);
}

TEST_F(Movement, GoesOnWithoutALog) {
  make({{skin}, {skin, 4, 0}});
  std::filesystem::create_directory(folder.file("v.mve.amclog.txt"));
  run();
  EXPECT_EQ(offset(1), (Point{4, 0}));
}

TEST_F(Movement, ReadsItsSettingsAndNeverWritesTheFactor) {
  settings.setPath(folder.file("p.ini"));
  settings.setDouble("movement", "limit", 33.7);
  settings.setDouble("movement", "factor", 0.25);
  params.load();
  EXPECT_EQ(params.limit, 33);
  EXPECT_EQ(params.factor, 0.25);
  params.factor = 0.75;
  params.lowpass = 9;
  params.store();
  AMCparams again;
  again.load();
  EXPECT_EQ(again.lowpass, 9);
  EXPECT_EQ(again.factor, 0.25);
  settings.setPath("");
}

}  // namespace
}  // namespace tarnvisor
