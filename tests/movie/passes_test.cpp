// Passes over a movie, new movies made of one, and the export to AVI.
#include "movie/movieexport.h"
#include "movie/movieoutput.h"
#include "movie/movierewrite.h"
#include "movietests.h"

namespace tarnvisor {
namespace {

void invertAll(CZZMovie& movie) {
  for (int32_t i = 0; i < movie.count; ++i) movie.frameAt(i).invert({});
  movie.frameAt(0);
}
// The numbers of frames that a pass has inverted.
Numbers invertedNumbersOf(CZZMovie& movie) {
  Numbers numbers;
  CZZimage image;
  for (int32_t i = 0; i < movie.count; ++i) {
    movie.getImage(i, image);
    image.invert({});
    numbers.push_back(exactNumber(image));
  }
  return numbers;
}

TEST_F(Movie, APassOverASharedFileMakesANewOneAndOverItsOwnGoesInPlace) {
  const std::string a = recorded("a.mve", 4), made = folder.file("aA.mve");
  const Bytes whole = bytesOf(a);
  CZZMovie movie;
  ASSERT_TRUE(movie.open(a));
  movie.rate = 25;
  movie.setOrigin(2, {3, 4});
  ASSERT_TRUE(movie.openProcessing(true));
  invertAll(movie);
  EXPECT_EQ(movie.processedCount, 4);
  ASSERT_TRUE(movie.closeProcessing());
  EXPECT_EQ((Numbers{movie.shared, movie.rate, movie.recordOf(2).yOrigin}), (Numbers{0, 25, 4}));
  EXPECT_EQ(invertedNumbersOf(movie), span(0, 4));
  const Bytes bytes = bytesOf(made);
  EXPECT_EQ(Bytes(bytes.end() - 8, bytes.end()), (Bytes{4, 0, 0, 0, 0, 0, 0, 0}));

  ASSERT_TRUE(movie.openProcessing(true));
  EXPECT_EQ(movie.processingFile, movie.file.get());
  movie.frameAt(1).xOrigin = 9;
  invertAll(movie);
  ASSERT_TRUE(movie.closeProcessing());
  EXPECT_EQ(movie.fileName, made);
  EXPECT_EQ(numbersOf(movie), span(0, 4));
  EXPECT_EQ(movie.recordOf(1).xOrigin, 9);
  EXPECT_TRUE(bytesOf(a) == whole);
  EXPECT_FALSE(fileExists(folder.file("aAA.mve")));
}

TEST_F(Movie, APassInPlaceGoesToTheSlotsOfARingOrToTheBlock) {
  for (const char* name : {"", "a.mve"}) {
    CZZMovie movie;
    fill(movie, name, 4, 6, true);
    movie.shared = 0;
    movie.modified = 0;
    ASSERT_TRUE(movie.openProcessing(true));
    movie.frameAt(1).invert({});
    movie.frameAt(2);
    ASSERT_TRUE(movie.closeProcessing());
    EXPECT_EQ(invertedNumbersOf(movie), (Numbers{-1, 3, -1, -1}));
    EXPECT_EQ(numbersOf(movie), (Numbers{2, -1, 4, 5}));
    EXPECT_EQ(movie.modified, *name ? 0 : 1);
  }
}

TEST_F(Movie, PassesTakeTheLettersAToZInOrder) {
  const std::string a = recorded("a.mve", 1),
                    letters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  CZZMovie movie;
  for (const char letter : letters) {
    ASSERT_TRUE(movie.open(a));
    ASSERT_TRUE(movie.openProcessing(true, letter % 2 ? a : ""));  // its own name is none
    ASSERT_TRUE(movie.closeProcessing());
    ASSERT_EQ(movie.fileName, folder.file(std::string("a") + letter + ".mve"));
  }
  ASSERT_TRUE(movie.open(a));
  for (const std::string& name : {std::string(), folder.file("none/x.mve")}) {
    EXPECT_EQ(logOf([&] { EXPECT_FALSE(movie.openProcessing(true, name)); }),
              "movie::openprocessing failed\n");
    EXPECT_FALSE(movie.failure().empty());
  }
}

TEST_F(Movie, APassGoesToVideoWhenThatIsWished) {
  compressoutput = 1;
  for (const int32_t colours : {kGrey, kColour, kBayer}) {
    source.colours = colours;
    source.draw = [](CZZimage& image, int32_t number) {
      image.fill(static_cast<uint8_t>(40 * number + 20));
      image.xOrigin = number;
    };
    CZZMovie movie;
    fill(movie, "", 4, 4, false, 64, 48);
    ASSERT_TRUE(movie.openProcessing(false, folder.file("b.avi"))) << movie.failure();
    for (const int32_t i : {0, 1, 2, 3, 0}) movie.frameAt(i);
    ASSERT_TRUE(movie.closeProcessing()) << movie.failure();
    EXPECT_EQ((Numbers{movie.mode, movie.count}), (Numbers{CZZMovie::kAvi, 4}));
    for (int32_t i = 0; i < 4; ++i) {
      EXPECT_NEAR(movie.frameAt(i).pixelAt(32, 20), 20 + 40 * i, 3) << colours;
      EXPECT_EQ(movie.image().xOrigin, i);
    }
  }
}

TEST_F(Movie, APassThatIsGivenUpLeavesAnExistingFile) {
  CZZMovie movie;
  ASSERT_TRUE(movie.open(recorded("a.mve", 3)));
  const Bytes other = {1, 2, 3};
  putBytes(folder.file("b.mve"), other);
  for (const char* name : {"b.mve", "c.mve"}) {
    ASSERT_TRUE(movie.openProcessing(false, folder.file(name)));
    invertAll(movie);
    movie.abandonProcessing();
    EXPECT_FALSE(movie.rewrite(folder.file(name), rewritePlan(formLike(movie.image()), 3,
                                                              [](int32_t k, CZZimage&) { return k < 0; })));
  }
  EXPECT_EQ(numbersOf(movie), span(0, 3));
  for (const char* name : {"c.mve", "b.new.mve"}) EXPECT_FALSE(fileExists(folder.file(name)));
  movie.frameAt(0);  // a pass begins with the frame that is shown
  ASSERT_TRUE(movie.openProcessing(false, folder.file("b.mve")));
  invertAll(movie);
  EXPECT_EQ(bytesOf(folder.file("b.mve")), other);  // until the new one is whole
  ASSERT_TRUE(movie.closeProcessing());
  EXPECT_EQ(movie.fileName, folder.file("b.mve"));
  EXPECT_EQ(invertedNumbersOf(movie), span(0, 3));
}

// --- new movies of one

TEST_F(Movie, OnlyFramesThatLoseNothingAreAppended) {
  CZZMovie movie, wide, colour;
  ASSERT_TRUE(movie.open(recorded("a.mve", 6)));
  EXPECT_FALSE(movie.deleteFrames(folder.file("out.mve"), -1, -1));
  fill(wide, "", 1, 1, false, 20);
  EXPECT_FALSE(movie.append(wide, folder.file("out.mve")));
  EXPECT_EQ(movie.failure(), "it has 20 x 6 grey frames, and this one 16 x 6 grey frames");
  source.colours = kColour;
  fill(colour, "c.mve", 1, 1);
  EXPECT_FALSE(movie.append(colour, folder.file("out.mve")));
  EXPECT_FALSE(fileExists(folder.file("out.mve")));
  ASSERT_TRUE(colour.append(movie, folder.file("out.mve"))) << "grey among colour";
  EXPECT_EQ(colour.frameAt(6).row(3)[3 * 15 + 1], levelAt(5, 3, 15));
}

TEST_F(Movie, PlanesBecomeColoursAndColoursGrey) {
  source.draw = [](CZZimage& image, int32_t number) {
    for (int32_t y = 0; y < 6; ++y)
      std::fill_n(image.row(y), kWidth, static_cast<uint8_t>(10 * (y / 2) + number));
    image.xOrigin = 5;
  };
  CZZMovie movie;
  fill(movie, "a.mve", 2, 2);
  ASSERT_TRUE(movie.planesToColour(folder.file("b.mve"), -1, -1));
  const CZZimage& image = movie.frameAt(1);
  EXPECT_EQ((Numbers{image.colourset, image.height, image.xOrigin}), (Numbers{kColour, 2, 5}));
  Bytes pixel(image.row(1), image.row(1) + 3);
  std::sort(pixel.begin(), pixel.end());
  EXPECT_EQ(pixel, (Bytes{1, 11, 21}));
  ASSERT_TRUE(movie.convertToGrey(folder.file("c.mve")));
  EXPECT_EQ(movie.frameAt(1).rowBytes, kWidth);
  EXPECT_NEAR(movie.image().row(0)[0], 11, 10);
  EXPECT_FALSE(movie.convertToGrey(folder.file("d.mve")));
}

// --- export

TEST_F(Movie, TheExportPlacesFramesOnACanvasThatIsNotCleared) {
  source.draw = [](CZZimage& image, int32_t number) {
    image.fill(static_cast<uint8_t>(100 + number));
    image.xOrigin = 3 * number;
    image.yOrigin = number % 2;
  };
  CZZMovie movie;
  fill(movie, "a.mve", 3, 3);
  std::string report;
  ASSERT_TRUE(movie.saveAVI(folder.file("x.avi"), 12, -1, 99, 1, nullptr, report));
  EXPECT_EQ(report, "saveAVI::ok");
  const auto reader = openVideo(folder.file("x.avi"));
  EXPECT_EQ((Numbers{reader->frames(), reader->width(), reader->height()}), (Numbers{3, 22, 7}));
  EXPECT_EQ(reader->rate(), 12 * reader->scale());
  for (const double exact : {2.5, 29.97, 30000.0 / 1001, 10000000.0 / 333333, 0.01}) {
    ASSERT_TRUE(movie.saveAVI(folder.file("y.avi"), exact, -1, 99, 1, nullptr, report));
    const auto back = openVideo(folder.file("y.avi"));
    EXPECT_EQ(static_cast<double>(back->rate()) / back->scale(), exact);
  }
  for (int32_t k = 0; k < 3; ++k) {
    const Bytes canvas = greyOf(*reader, k);
    for (int32_t y = 0; y < 7; ++y)
      for (int32_t x = 0; x < 22; ++x) {
        int32_t level = 0;  // that of the last frame that covers the place
        for (int32_t j = 0; j <= k; ++j)
          if (x >= 3 * j && x < 3 * j + 16 && y >= j % 2 && y < j % 2 + 6) level = 100 + j;
        ASSERT_EQ(canvas[static_cast<size_t>(22 * y + x)], level) << k << ": " << x << "," << y;
      }
  }
}

TEST_F(Movie, TheExportTakesEveryStepthFrameOrSaysThatThereIsNone) {
  source.draw = [](CZZimage& image, int32_t number) { image.fill(static_cast<uint8_t>(10 * number)); };
  CZZMovie movie;
  fill(movie, "a.mve", 8, 8);
  const std::tuple<int32_t, int32_t, int32_t, Numbers> cases[] = {
      {0, 8, 3, {0, 3}}, {1, 7, 2, {1, 3, 5}}, {9, 20, 4, {0, 4}}, {0, 1, 2, {}}, {0, 8, 0, {}}};
  for (const auto& [first, last, step, frames] : cases) {
    std::string report, path = folder.file("x.avi");
    EXPECT_EQ(movie.saveAVI(path, 25, first, last, step, nullptr, report), !frames.empty());
    EXPECT_EQ(report, frames.empty() ? "saveAVI::failed:n<1" : "saveAVI::ok");
    if (frames.empty()) continue;
    const auto reader = openVideo(path);
    ASSERT_EQ(reader->frames(), static_cast<int32_t>(frames.size()));
    for (int32_t k = 0; k < reader->frames(); ++k)
      EXPECT_EQ(greyOf(*reader, k)[0], 10 * frames[static_cast<size_t>(k)]);
  }
  std::string report;
  EXPECT_FALSE(movie.saveAVI(folder.file("none/x.avi"), 25, 0, 8, 1, nullptr, report));
  EXPECT_TRUE(report.starts_with("saveAVI::failed AVI file open")) << report;
}

TEST_F(Movie, AnExportHasItsNameOnceItIsWhole) {
  CZZMovie movie;
  fill(movie, "a.mve", 3, 3);
  MovieExport exporting(movie, folder.file("x.avi"), 25, {0, 3}, 1, nullptr);
  ASSERT_TRUE(exporting.next());
  EXPECT_FALSE(fileExists(folder.file("x.avi")));
  while (exporting.next()) continue;
  ASSERT_TRUE(exporting.finish());
  EXPECT_EQ(openVideo(folder.file("x.avi"))->frames(), 3);
}

TEST_F(Movie, AnExportIsCompressedAsItIsTold) {
  source.draw = paintBars;
  CZZMovie movie;
  fill(movie, "", 3, 3, false, 64, 48);
  for (const std::string& codec : {videoCodecs().front().code, std::string(kRecordingCodec)}) {
    const CZZMovie::Compression compression{codec};
    std::string report, path = folder.file("x.avi");
    EXPECT_TRUE(movie.saveAVI(path, 25, 0, 3, 1, &compression, report));
    EXPECT_EQ(report, codec == kRecordingCodec ? "saveAVI::ok" : "saveAVI::not compressing.ok");
    const auto reader = openVideo(path);
    for (int32_t k = 0; k < 3; ++k) EXPECT_EQ(numberOf(*reader, k), k);
  }
}

}  // namespace
}  // namespace tarnvisor
