// The video document's files: .dtv of all versions, its movie, exchange with AVI, raw frames.
#include <unistd.h>

#include "archive/archive.h"
#include "dynamic/commandids.h"
#include "framework/documenttype.h"
#include "image/palette.h"
#include "support/recordingcanvas.h"
#include "support/videotest.h"
#include "video/videowriter.h"

namespace tarnvisor {
namespace {

class VideoFiles : public VideoTest {
 protected:
  // A .dtv as a version wrote it.
  std::string writeOld(int32_t version, const std::string& movie, int32_t fields, int32_t tableBytes = 48) {
    const std::string path = folder.file("old.dtv");
    MemoryStream memory;
    Archive archive(memory, Archive::Direction::Storing);
    ZBasicDoc still;
    still.loadSettings();
    still.serialize(archive);
    for (const int32_t v : {version, 77, 3, 1}) archive.putInt(v);
    archive.writeString(movie);
    archive.putInt(0);
    archive.writeString("/somewhere");
    if (version >= 2) archive.putInt(fields);
    if (version >= 3) archive.writeString("");
    if (version >= 4) {
      archive.putInt(3);
      archive.putInt(tableBytes);
      for (int32_t k = 0; k < 3; ++k)
        for (const int32_t word : {2 * k, 0, 5 * k, -k}) archive.putInt(word);
    }
    if (version >= 5) {
      archive.putInt(2);
      archive.putDouble(0.25);
      archive.putDouble(0.5);
    }
    if (version >= 6) archive.putDouble(12.5);
    archive.close();
    EXPECT_TRUE(replaceFile(path, std::span<const uint8_t>(memory.bytes())));
    return path;
  }
};

TEST_F(VideoFiles, ReadsAllVersions) {
  const std::string movie = writeMovie("m.mve", 3);
  const std::tuple<int32_t, int32_t, double, int32_t, size_t> cases[] = {
      {1, 0, 25, 0, 0}, {2, 60, 30, 0, 0},  {3, 59, 29.97002997002997, 0, 0},
      {4, 2, 1, 10, 0}, {5, 50, 25, 10, 2}, {6, 59, 12.5, 10, 2}};
  for (const auto& [version, fields, fps, xOfLast, velocities] : cases) {
    SCOPED_TRACE(version);
    ASSERT_NE(app->openDocumentFile(writeOld(version, movie, fields)), nullptr);
    EXPECT_EQ(video().fps, fps);
    EXPECT_EQ(video().playPeriod, static_cast<int32_t>(1000 / fps));
    EXPECT_EQ(video().frameCount, 77);
    EXPECT_EQ(video().skipFrames, 3);
    EXPECT_EQ(video().interlaced, 1);
    EXPECT_EQ(video().imageCount(), 3);
    EXPECT_EQ(video().movie->recordOf(2).xOrigin, xOfLast);
    EXPECT_EQ(video().spotVelocities.size(), velocities);
    process.videoTemplate->discard(video());
  }
  EXPECT_EQ(app->openDocumentFile(writeOld(4, movie, 2, 32)), nullptr) << "bytes that are not 16 a frame";
  EXPECT_THAT(host.messages.back(), HasSubstr("damaged"));
}

TEST_F(VideoFiles, KeepsEverythingFromSaveToOpen) {
  CVivoCapDoc& doc = openMovie("m.mve", 4);
  doc.fps = 59.94;
  doc.movie->setOrigin(2, {7, -3});
  doc.spotVelocities = {1.5, 2.5};
  auto trace = std::make_unique<CTrace>(kDoubleCode, 2);
  trace->name = "focus";
  doc.overlayTraces.items.push_back(std::move(trace));
  doc.roi = {1, 2, 3, 4};
  const std::string path = folder.file("v.dtv");
  ASSERT_TRUE(doc.onSaveDocument(path));
  process.videoTemplate->discard(doc);
  ASSERT_NE(app->openDocumentFile(path), nullptr);
  EXPECT_EQ(video().fps, 59.94);
  EXPECT_EQ(video().movie->recordOf(2).yOrigin, -3);
  EXPECT_EQ(video().movie->recordOf(1).number, 2u);
  EXPECT_EQ(video().spotVelocities.back(), 2.5);
  ASSERT_NE(video().overlayTraces.find("focus"), nullptr);
  EXPECT_EQ(video().roi, (Rect{1, 2, 3, 4}));
  EXPECT_EQ(video().moviePath, folder.file("m.mve")) << "a linked movie stays where it is";
  EXPECT_FALSE(video().isModified());
}

TEST_F(VideoFiles, FindsAMovieThatMoved) {
  CVivoCapDoc& doc = openMovie("m.mve", 3);
  doc.movie->setOrigin(1, {4, 4});
  ASSERT_TRUE(doc.onSaveDocument(folder.file("v.dtv")));
  process.videoTemplate->discard(doc);
  std::filesystem::create_directory(folder.file("there"));
  for (const char* name : {"m.mve", "v.dtv"})
    std::filesystem::rename(folder.file(name), folder.file(std::string("there/") + name));
  ASSERT_NE(app->openDocumentFile(folder.file("there/v.dtv")), nullptr);
  EXPECT_EQ(video().moviePath, folder.file("there/m.mve")) << "beside the document";
  process.videoTemplate->discard(video());

  std::filesystem::rename(folder.file("there/m.mve"), folder.file("elsewhere.mve"));
  host.paths = {std::nullopt, folder.file("elsewhere.mve")};
  ASSERT_NE(app->openDocumentFile(folder.file("there/v.dtv")), nullptr) << "it stays open with no images";
  EXPECT_THAT(host.messages.back(), HasSubstr(".\nPlease specify new location."));
  EXPECT_EQ(video().imageCount(), 0);
  ASSERT_TRUE(video().onSaveDocument(folder.file("there/w.dtv")));
  process.videoTemplate->discard(video());
  ASSERT_NE(app->openDocumentFile(folder.file("there/w.dtv")), nullptr);
  EXPECT_EQ(video().imageCount(), 3);
  EXPECT_EQ(video().movie->recordOf(1).xOrigin, 4) << "the table outlasts a movie that was away";
  EXPECT_TRUE(video().isModified());
}

TEST_F(VideoFiles, SavesAsWithTheLinkOrWithACopyOfTheSelection) {
  CVivoCapDoc& doc = openMovie("m.mve", 5);
  host.answers = {Answer::Yes, Answer::No};
  host.paths = {folder.file("link.dtv"), folder.file("copy.dtv"), folder.file("part.dtv"), std::nullopt};
  run("Save As");
  EXPECT_EQ(host.messages.back(),
            folder.file("m.mve") + " yes = keep link to this movie file, no = make a copy with new name.");
  EXPECT_EQ(doc.moviePath, folder.file("m.mve"));
  run("Save As");
  EXPECT_EQ(doc.moviePath, folder.file("copy.mve"));
  EXPECT_THAT(doc.notes, HasSubstr("images 0 to 5 saved as " + folder.file("copy.mve")));
  EXPECT_TRUE(doc.select(1, 3));
  run("Save As");
  EXPECT_EQ(doc.moviePath, folder.file("part.mve")) << "a selection is saved without a question";
  EXPECT_THAT(levels(), ElementsAre(11, 12));
  EXPECT_EQ(doc.selection().size(), 2);
  EXPECT_TRUE(doc.select(0, 1));
  run("Save As");
  EXPECT_EQ(doc.moviePath, folder.file("part.mve")) << "cancelled: nothing changed";
  EXPECT_TRUE(fileExists(folder.file("m.mve")));
}

TEST_F(VideoFiles, NeverChangesAMovieThatAStoredDocumentLinks) {
  CVivoCapDoc& doc = openMovie("m.mve", 3);
  run("Negative");
  ASSERT_TRUE(doc.onSaveDocument(folder.file("first.dtv")));
  run("Negative");
  EXPECT_EQ(doc.moviePath, folder.file("mAA.mve")) << "a pass makes another one";
  host.answers = {Answer::No};
  host.paths = {folder.file("second.dtv")};
  run("Save As");
  EXPECT_EQ(doc.moviePath, folder.file("second.mve"));
  process.videoTemplate->discard(doc);
  ASSERT_NE(app->openDocumentFile(folder.file("first.dtv")), nullptr);
  EXPECT_THAT(levels(), ElementsAre(245, 244, 243));
}

TEST_F(VideoFiles, ACompressedExportThatIsCancelledWritesNothing) {
  openMovie("m.mve", 3);
  host.paths = {folder.file("e.avi")};
  host.fills.emplace_back([](Form&) { return false; });
  run("Export compressed avi");
  EXPECT_FALSE(fileExists(folder.file("e.avi")));
}

TEST_F(VideoFiles, GivesVideoFilesTheDocumentsRate) {
  CVivoCapDoc& doc = openMovie("m.mve", 3);
  doc.fps = 12.5;
  ASSERT_TRUE(doc.onSaveDocument(folder.file("v.dtv")));
  process.videoTemplate->discard(doc);
  ASSERT_NE(app->openDocumentFile(folder.file("v.dtv")), nullptr);
  compressoutput = 1;
  run("Negative");
  EXPECT_EQ(video().moviePath, folder.file("mA.avi"));
  CZZMovie made;
  ASSERT_TRUE(made.open(folder.file("mA.avi")));
  EXPECT_EQ(static_cast<double>(made.rate) / made.scale, 12.5);
  host.answers = {Answer::No};
  host.paths = {folder.file("w.dtv"), folder.file("m.mve"), folder.file("w.z.avi")};
  run("Save As");
  EXPECT_EQ(video().moviePath, folder.file("w.z.avi"));
  useWorkFolder();
  host.answers = {Answer::Yes};
  run("Import");
  EXPECT_THAT(host.messages.back(), HasSubstr("Add the 3 images of m.mve behind the 3 of this video?"));
  EXPECT_THAT(video().notes, HasSubstr("imported m.mve"));
  run("Import AVI");
  EXPECT_THAT(video().notes, HasSubstr("imported avi w.z.avi imported\r\n"));
  EXPECT_THAT(levels(), ElementsAre(245, 244, 243, 10, 11, 12, 245, 244, 243));
}

TEST_F(VideoFiles, OfColoursTellHowTheyBecameGrey) {
  std::string why;
  const auto writer =
      VideoWriter::create(folder.file("c.avi"), {.width = 4, .height = 2, .colour = true}, why);
  ASSERT_TRUE(writer) << why;
  const std::vector<uint8_t> green{0, 200, 0, 0, 200, 0, 0, 200, 0, 0, 200, 0};
  CZZimage frame(4, 2, -1, 0, kColour);
  for (int32_t y = 0; y < 2; ++y) std::ranges::copy(green, frame.row(y));
  ASSERT_TRUE(writer->write(frame.pixels, frame.stride));
  ASSERT_TRUE(writer->close());
  for (const auto& [light, level] : {std::pair{kAsStored, 22}, std::pair{kLuminance, 117}}) {
    settings.setInt("Settings", "greylight", light);
    ASSERT_NE(app->openDocumentFile(folder.file("c.avi")), nullptr);
    EXPECT_EQ(video().theImage()->pixelAt(1, 1), level);
    EXPECT_THAT(video().notes, HasSubstr(level == 22 ? "green 0.114" : "green 0.587"));
    process.videoTemplate->discard(video());
  }
  resetPaletteSettings();
}

TEST_F(VideoFiles, ImportGoesByTheFileWhateverIsInFront) {
  CVivoCapDoc& doc = openMovie("m.mve", 3);
  const std::string wide = writeMovieFile(folder.file("wide.mve"), 2, {24, 8}, [](CZZimage&, int32_t) {});
  ASSERT_TRUE(CZZimage(4, 4).save(folder.file("still.bmp")));
  const auto importFrom = [&](CDocument& front, const char* name) {
    app->documents.activate(front);
    host.paths = {folder.file(name)};
    run("Import");
    return app->documents.active();
  };
  CDocument* still = importFrom(doc, "still.bmp");
  EXPECT_EQ(still->type(), process.imageTemplate);
  EXPECT_NE(importFrom(*still, "still.bmp"), still);
  EXPECT_EQ(importFrom(*still, "m.mve")->type(), process.videoTemplate);
  EXPECT_NE(importFrom(doc, "wide.mve"), &doc) << "its images would not fit";
  CDocument* chart = process.reviewTemplate->newDocument();
  EXPECT_EQ(importFrom(*chart, "wide.mve")->type(), process.videoTemplate);
  writeMovie("more.mve", 2);
  host.answers = {Answer::Cancel, Answer::No};
  EXPECT_EQ(importFrom(doc, "more.mve"), &doc);
  EXPECT_NE(importFrom(doc, "more.mve"), &doc);
  EXPECT_EQ(doc.imageCount(), 3);
  EXPECT_FALSE(doc.importMovie(wide, false));
  EXPECT_THAT(host.messages.back(), HasSubstr("it has 24 x 8 grey frames, and this one 16 x 8"));
}

TEST_F(VideoFiles, ExportsNothingOverTheMovieItIsReading) {
  CVivoCapDoc& doc = openMovie("hand.mve", 3);
  ASSERT_TRUE(doc.onSaveDocument(folder.file("hand.dtv")));
  doc.setPathName(folder.file("hand.dtv"));
  const std::string avi = folder.file("hand-export.avi");
  host.paths = {avi, avi};
  run("Export uncompressed avi");
  EXPECT_EQ(host.offered, avi);
  const auto exported = readWholeFile(avi);
  process.videoTemplate->discard(doc);
  ASSERT_NE(app->openDocumentFile(avi), nullptr);
  video().setPathName(folder.file("hand.dtv"));
  run("Export uncompressed avi");
  EXPECT_EQ(host.offered, folder.file("hand-export-1.avi")) << "not the one before";
  EXPECT_THAT(host.messages.back(), HasSubstr("in use by the open document"));
  EXPECT_EQ(readWholeFile(avi), exported);
  ASSERT_NE(app->openDocumentFile(folder.file("hand-export.avi")), nullptr);
}

TEST_F(VideoFiles, KeepsARecordingInMemoryInAFileOfItsOwn) {
  auto* doc = static_cast<CVivoCapDoc*>(process.videoTemplate->newDocument());
  doc->movie = std::make_unique<CZZMovie>();
  ASSERT_TRUE(doc->movie->record(3, "", 0, 0, 16, 8, false));
  CZZimage each(16, 8);
  for (int k = 0; k < 3; ++k) {
    each.fill(static_cast<uint8_t>(k));
    (void)doc->movie->addFrame(each, 0);
  }
  doc->movie->stopRecording();
  ASSERT_TRUE(replaceFile(folder.file("r.mve"), std::string_view("somebody's")));
  ASSERT_TRUE(doc->onSaveDocument(folder.file("r.dtv")));
  EXPECT_EQ(doc->moviePath, folder.file("r-1.mve")) << "a file that is there is somebody's";
  EXPECT_THAT(levels(), ElementsAre(0, 1, 2));
}

TEST_F(VideoFiles, ExportsAndImportsAvi) {
  CVivoCapDoc& doc = openMovie("hand.mve", 4);
  ASSERT_TRUE(doc.onSaveDocument(folder.file("hand.dtv")));
  doc.setPathName(folder.file("hand.dtv"));
  doc.fps = 29.97;
  EXPECT_TRUE(doc.select(1, 4));
  const std::string avi = folder.file("hand-export.avi");
  host.paths = {avi};
  run("Export uncompressed avi");
  ASSERT_TRUE(fileExists(avi));
  process.videoTemplate->discard(doc);
  ASSERT_NE(app->openDocumentFile(avi), nullptr);
  EXPECT_EQ(video().pathName(), folder.file("hand-export.dtv"));
  EXPECT_EQ(video().fps, 29.97);
  EXPECT_THAT(levels(), ElementsAre(11, 12, 13));
  EXPECT_EQ(video().movie->recordOf(2).number, 4u);
  ASSERT_TRUE(video().save()) << "under its own kind's ending, beside the AVI";
  EXPECT_TRUE(fileExists(folder.file("hand-export.dtv")));
  ASSERT_TRUE(app->documents.closeAll());
  ASSERT_NE(app->openDocumentFile(avi), nullptr);
  EXPECT_EQ(video().pathName(), "") << "the document that is there is not written over";
  host.paths = {folder.file("other")};
  host.answers = {Answer::Yes};
  run("Save As");
  EXPECT_TRUE(fileExists(folder.file("other.dtv"))) << "never as an AVI";
}

TEST_F(VideoFiles, ImagesOfAnotherRateAreAddedWithAWord) {
  CVivoCapDoc& doc = openMovie("m.mve", 3);
  useWorkFolder();
  doc.fps = 10;
  ASSERT_TRUE(doc.exportTo(folder.file("slow.avi")).ok);
  doc.fps = 30;
  host.paths = {folder.file("slow.avi"), folder.file("slow.avi")};
  host.answers = {Answer::No};
  run("Import AVI");
  EXPECT_THAT(host.messages.back(), HasSubstr("slow.avi has 10 images a second, this video 30"));
  EXPECT_EQ(video().imageCount(), 3);
  process.quietMode = 1;
  run("Import AVI");
  EXPECT_EQ(video().imageCount(), 6);
  EXPECT_THAT(video().notes, HasSubstr("this video 30"));
}

TEST_F(VideoFiles, OpensRecordingsThatWereCutOffAndSaysSo) {
  const std::string path = writeMovie("cut.mve", 5);
  ASSERT_EQ(::truncate(path.c_str(), 40 + 16 * 8 * 3 + 50), 0);
  const auto before = readWholeFile(path);
  ASSERT_NE(app->openDocumentFile(path), nullptr);
  EXPECT_THAT(host.messages.back(), HasSubstr("3 images of it were saved"));
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12));
  EXPECT_EQ(readWholeFile(path), before) << "it stays as it is";
  ASSERT_TRUE(video().onSaveDocument(folder.file("cut.dtv")));
  EXPECT_EQ(std::filesystem::file_size(path), 40u + 16 * 8 * 3 + 8) << "until the user saves";
}

TEST_F(VideoFiles, TellsOfAVideoThatWasCutOffWhereverItComesIn) {
  CVivoCapDoc& doc = openMovie("m.mve", 5);
  useWorkFolder();
  ASSERT_TRUE(doc.exportTo(folder.file("cut.avi")).ok);
  const auto whole = std::filesystem::file_size(folder.file("cut.avi"));
  std::filesystem::resize_file(folder.file("cut.avi"), whole - 200);  // the index, and a part of an image
  host.paths = {folder.file("cut.avi")};
  process.quietMode = 1;
  run("Import AVI");
  EXPECT_THAT(host.messages.back(),
              HasSubstr("cut off. 4 of the 5 images that it tells of were found and are added"));
  process.quietMode = 0;
  ASSERT_NE(app->openDocumentFile(folder.file("cut.avi")), nullptr);
  EXPECT_THAT(host.messages.back(), HasSubstr("4 of the 5 images that it tells of were found and are shown"));
  EXPECT_THAT(video().notes, HasSubstr("4 of the 5 images that it tells of were found"));
}

TEST_F(VideoFiles, ShowsThatAnImageCantBeRead) {
  CVivoCapDoc& doc = openMovie("m.mve", 3);
  std::filesystem::resize_file(doc.moviePath, 40 + 16 * 8 * 2 + 10);
  EXPECT_EQ(doc.show(2).why, "image 2 can't be read");
  RecordingCanvas canvas;
  view().draw(canvas);
  EXPECT_THAT(canvas.calls, Contains(HasSubstr("image 2 can't be read")));
  doc.setRegion(ScriptTarget::Region::Rectangle, {0, 0, 4, 4});
  for (const int32_t id : {cmd::FindCapillaries, cmd::CalculateAverage, cmd::Histogram}) {
    EXPECT_EQ(app->runCommand(id), CommandResult::Disabled) << id;
    EXPECT_EQ(doc.whyOff(id, ""), "image 2 can't be read");
  }
  EXPECT_EQ(doc.exportTo(folder.file("still.bmp")).why, "image 2 can't be read");
  ASSERT_TRUE(doc.show(1).ok);
  EXPECT_EQ(app->runCommand(cmd::CalculateAverage), CommandResult::Done);
  canvas.calls.clear();
  view().draw(canvas);
  EXPECT_THAT(canvas.calls, Not(Contains(HasSubstr("can't be read"))));
}

TEST_F(VideoFiles, TellsOfImagesThatTheMovieHasNoMore) {
  CVivoCapDoc& doc = openMovie("m.mve", 5);
  ASSERT_TRUE(doc.onSaveDocument(folder.file("v.dtv")));
  process.videoTemplate->discard(doc);
  ASSERT_EQ(::truncate(folder.file("m.mve").c_str(), 40 + 16 * 8 * 3 + 50), 0);
  ASSERT_NE(app->openDocumentFile(folder.file("v.dtv")), nullptr);
  EXPECT_THAT(host.messages.back(), HasSubstr("has 3 images"));
  EXPECT_THAT(host.messages.back(), HasSubstr("2 are missing"));
  EXPECT_EQ(video().imageCount(), 3);
}

TEST_F(VideoFiles, TellsOfAPassThatCouldNotBeWritten) {
  CVivoCapDoc& doc = openMovie("m.mve", 3);
  const auto before = readWholeFile(folder.file("m.mve"));
  for (int letter = 'A'; letter <= 'z'; letter = letter == 'Z' ? 'a' : letter + 1)
    ASSERT_TRUE(replaceFile(folder.file(std::string("m") + static_cast<char>(letter) + ".mve"),
                            std::string_view("x")));
  run("Negative");
  EXPECT_THAT(host.messages.back(), HasSubstr("Cannot create movie file"));
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12));
  EXPECT_THAT(doc.notes, HasSubstr("Invert")) << "history is kept all the same";
  EXPECT_EQ(readWholeFile(folder.file("m.mve")), before);
}

TEST_F(VideoFiles, TellsOfACodecThatIsNotThere) {
  CVivoCapDoc& doc = openMovie("m.mve", 3);
  host.paths = {folder.file("m-export.avi"), folder.file("m-export.avi")};
  run("Export uncompressed avi");
  const std::string bystander = folder.file("m-export.new1.avi");
  ASSERT_TRUE(replaceFile(bystander, std::string_view("somebody's")));
  run("Export uncompressed avi");  // beside the one that is there, then in its place
  EXPECT_EQ(readWholeText(bystander), "somebody's");
  process.quietMode = 1;
  run("Export uncompressed avi");
  EXPECT_TRUE(fileExists(folder.file("m-export-1.avi"))) << "with nobody to ask";
  process.quietMode = 0;
  auto bytes = *readWholeFile(folder.file("m-export.avi"));
  const std::string form = "strf", code = "Zq9x";
  const auto at = std::search(bytes.begin(), bytes.end(), form.begin(), form.end());
  ASSERT_NE(at, bytes.end());
  std::copy(code.begin(), code.end(), at + 8 + 16);  // the compression of the bitmap header
  ASSERT_TRUE(replaceFile(folder.file("odd.avi"), std::span<const uint8_t>(bytes)));
  process.videoTemplate->discard(doc);
  ASSERT_NE(app->openDocumentFile(folder.file("odd.avi")), nullptr);
  EXPECT_THAT(host.messages.back(), HasSubstr("No decoder for the codec \"Zq9x\""));
  EXPECT_EQ(video().imageCount(), 3);
}

TEST_F(VideoFiles, ReadsRawFramesByTheirHeader) {
  const std::string header = folder.file("scan.hdr");
  ASSERT_TRUE(replaceFile(
      header,
      std::string_view(
          "<?xml version=\"1\"?>\n<H><WIDTH>6</WIDTH>\r\n<HEIGHT>2</HEIGHT><NUMBER_OF_FRAMES>9</NUMBER_OF_FRAMES><MAGNIFICATION>0.5</MAGNIFICATION></H>")));
  std::vector<uint8_t> raw(6 * 2 * 3);
  for (size_t i = 0; i < raw.size(); ++i) raw[i] = static_cast<uint8_t>(i);
  ASSERT_TRUE(replaceFile(folder.file("scan.raw"), std::span<const uint8_t>(raw)));
  auto* doc = static_cast<CVivoCapDoc*>(process.videoTemplate->newDocument());
  ASSERT_TRUE(doc->openRawFrames(header));
  EXPECT_EQ(doc->imageCount(), 3) << "as many as there are";
  doc->showImage(2);
  EXPECT_EQ(doc->theImage()->row(1)[5], 35);
  EXPECT_EQ(doc->magx, 0.5);
  EXPECT_EQ(doc->fps, 30);
  EXPECT_THAT(doc->notes, HasSubstr("raw ops"));
  EXPECT_EQ(doc->moviePath, "") << "the next save makes a movie of its own";
  ASSERT_TRUE(doc->onSaveDocument(folder.file("scan.dtv")));
  EXPECT_EQ(doc->moviePath, folder.file("scan.mve"));
  EXPECT_FALSE(doc->openRawFrames(folder.file("none.hdr")));
  ASSERT_NE(process.videoTemplate->importDocument(header), nullptr);
  EXPECT_EQ(video().imageCount(), 3);
}

TEST_F(VideoFiles, OpensRawFramesByTheirKeyLines) {
  const std::vector<uint8_t> raw(6 * 2 * 3 + 1, 7);
  ASSERT_TRUE(replaceFile(folder.file("scan.raw"), std::span<const uint8_t>(raw)));
  const std::pair<const char*, int32_t> told[] = {
      {"NUMBER_OF_FRAMES 9", 3}, {"NUMBER_OF_FRAMES 2", 2}, {"", 3}};
  for (const auto& [words, images] : told) {
    const std::string header = std::string("WIDTH 6\r\nHEIGHT 2\n") + words;
    ASSERT_TRUE(replaceFile(folder.file("scan.txt"), std::string_view(header)));
    ASSERT_NE(app->openDocumentFile(folder.file("scan.raw")), nullptr);
    EXPECT_EQ(video().imageCount(), images) << words;
    EXPECT_EQ(video().fps, 30);
    EXPECT_THAT(video().notes, HasSubstr("WIDTH 6  HEIGHT 2"));
    EXPECT_THAT(video().notes, HasSubstr("raw ops"));
    EXPECT_THAT(host.messages.back(), HasSubstr("The last 1 bytes of it are no whole image"));
    EXPECT_EQ(host.messages.back().find("The header tells of") == std::string::npos, *words == 0);
    process.videoTemplate->discard(video());
  }
}

TEST_F(VideoFiles, RefusesRawFramesThatTheirHeaderDoesNotFit) {
  const std::vector<uint8_t> raw(20'000'000, 7);
  ASSERT_TRUE(replaceFile(folder.file("scan.raw"), std::span<const uint8_t>(raw)));
  const std::pair<const char*, const char*> lies[] = {
      {"WIDTH 60000\nHEIGHT 60000", "It holds no image of 60000 by 60000 pixels: it has 20000000 bytes."},
      {"WIDTH 2147483647\nHEIGHT 2147483647", "It holds no image"},
      {"WIDTH 1\nHEIGHT 1", "more than a movie can have"},
      {"WIDTH -1", "Its WIDTH is"}};
  for (const auto& [header, words] : lies) {
    ASSERT_TRUE(replaceFile(folder.file("scan.hdr"), std::string_view(header)));
    EXPECT_EQ(app->openDocumentFile(folder.file("scan.raw")), nullptr) << header;
    EXPECT_THAT(host.messages.back(), HasSubstr(words));
  }
  ASSERT_EQ(::unlink(folder.file("scan.hdr").c_str()), 0);
  ASSERT_NE(app->openDocumentFile(folder.file("scan.raw")), nullptr) << "of 640 by 480 without a header";
  EXPECT_EQ(video().imageCount(), 65);
}

}  // namespace
}  // namespace tarnvisor
