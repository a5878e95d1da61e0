// Where the movie of a video lies, through saves, copies and moves of its folder.
#include "framework/documenttype.h"
#include "results/resultdoc.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

class MovieFolder : public VideoTest {
 protected:
  void SetUp() override {
    VideoTest::SetUp();
    for (const char* name : {"work", "exam", "stick"}) std::filesystem::create_directory(folder.file(name));
    settings.setString("directories", "tempdir", folder.file("work"));
  }
  void TearDown() override {
    std::filesystem::current_path(before);
    VideoTest::TearDown();
  }
  // A video whose movie a command made in the work folder.
  CVivoCapDoc& openInWork() {
    CVivoCapDoc& doc = openMovie("stick/m.mve", 4);
    run("Split images into fields");
    EXPECT_EQ(doc.moviePath, folder.file("work/mA.mve"));
    return doc;
  }
  bool save(const std::string& name) {
    const std::string path = folder.file(name);
    if (!video().onSaveDocument(path)) return false;
    video().setPathName(path);
    return true;
  }
  void reopen(const std::string& name) {
    process.videoTemplate->discard(video());
    ASSERT_NE(app->openDocumentFile(name), nullptr);
  }
  // As a user copies an exam.
  void copyExam() {
    std::filesystem::copy(folder.file("exam"), folder.file("copy"), std::filesystem::copy_options::recursive);
  }
  const std::filesystem::path before = std::filesystem::current_path();
};

TEST_F(MovieFolder, SavingBringsAMovieOfTheWorkFolderBesideTheDocument) {
  CVivoCapDoc& doc = openInWork();
  ASSERT_TRUE(replaceFile(folder.file("exam/mA.mve"), std::string_view("somebody's")));
  host.answers = {Answer::Cancel, Answer::Yes};
  EXPECT_FALSE(save("exam/v.dtv")) << "the original lies on the stick";
  ASSERT_TRUE(save("exam/v.dtv"));
  EXPECT_EQ(doc.movieVersions().all().front().file, folder.file("exam/m.mve"));
  EXPECT_TRUE(fileExists(folder.file("stick/m.mve"))) << "it was copied";
  EXPECT_EQ(doc.moviePath, folder.file("exam/mA-1.mve"));
  EXPECT_EQ(readWholeText(folder.file("exam/mA.mve")), "somebody's");
  EXPECT_FALSE(fileExists(folder.file("work/mA.mve"))) << "it moved";
  reopen(folder.file("exam/v.dtv"));
  EXPECT_EQ(video().moviePath, folder.file("exam/mA-1.mve")) << "the full name is stored";
  EXPECT_EQ(video().imageCount(), 8);
}

TEST_F(MovieFolder, WhatAnotherWindowShowsIsCopied) {
  openInWork();
  ASSERT_NE(app->openDocumentFile(folder.file("work/mA.mve")), nullptr);
  CVivoCapDoc& other = video();
  app->documents.activate(*app->documents.documents().front());
  host.answers = {Answer::No};
  ASSERT_TRUE(save("exam/v.dtv"));
  EXPECT_EQ(video().movieVersions().all().front().file, folder.file("stick/m.mve")) << "left there";
  EXPECT_EQ(video().moviePath, folder.file("exam/mA.mve"));
  EXPECT_TRUE(fileExists(other.moviePath));
  ASSERT_TRUE(other.onSaveDocument(folder.file("exam/w.dtv")));
  EXPECT_EQ(other.moviePath, folder.file("exam/mA-1.mve"));
}

TEST_F(MovieFolder, AsksForAMovieFromElsewhere) {
  CVivoCapDoc& doc = openMovie("stick/m.mve", 3);
  host.answers = {Answer::Cancel, Answer::No};
  EXPECT_FALSE(save("exam/v.dtv"));
  EXPECT_FALSE(fileExists(folder.file("exam/v.dtv"))) << "cancelled";
  ASSERT_TRUE(save("exam/v.dtv"));
  EXPECT_THAT(host.messages.back(), HasSubstr(folder.file("stick/m.mve") + " does not lie in the folder"));
  EXPECT_EQ(doc.moviePath, folder.file("stick/m.mve"));
  ASSERT_TRUE(save("exam/v.dtv")) << "asked once";
  reopen(folder.file("exam/v.dtv"));
  host.answers = {Answer::Yes};
  ASSERT_TRUE(save("exam/v.dtv"));
  EXPECT_EQ(video().moviePath, folder.file("exam/m.mve"));
  EXPECT_TRUE(fileExists(folder.file("stick/m.mve"))) << "a copy";
}

TEST_F(MovieFolder, AQuietRunLeavesTheMovieAndSaysSo) {
  openMovie("stick/m.mve", 3);
  process.quietMode = 1;
  ASSERT_TRUE(save("exam/v.dtv"));
  EXPECT_THAT(host.messages.back(), HasSubstr(folder.file("stick/m.mve") + " stays where it is"));
}

TEST_F(MovieFolder, NeverLeavesALinkThatWouldFindAnotherMovie) {
  openMovie("stick/m.mve", 3);
  run("Negative");
  std::filesystem::rename(folder.file("stick/mA.mve"), folder.file("exam/m.mve"));
  process.videoTemplate->discard(video());
  ASSERT_NE(app->openDocumentFile(folder.file("stick/m.mve")), nullptr);
  ASSERT_TRUE(save("exam/v.dtv"));
  EXPECT_EQ(video().moviePath, folder.file("exam/m-1.mve"));
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12));
}

TEST_F(MovieFolder, ACopiedFolderWorksWithItsOwnMovie) {
  openMovie("exam/m.mve", 3);
  ASSERT_TRUE(save("exam/v.dtv"));
  copyExam();
  const auto original = readWholeFile(folder.file("exam/m.mve"));
  reopen(folder.file("copy/v.dtv"));
  EXPECT_EQ(video().moviePath, folder.file("copy/m.mve"));
  run("Negative");
  ASSERT_TRUE(save("copy/v.dtv"));
  EXPECT_EQ(video().moviePath, folder.file("copy/mA.mve"));
  EXPECT_EQ(readWholeFile(folder.file("exam/m.mve")), original);
  EXPECT_FALSE(fileExists(folder.file("exam/mA.mve")));
}

TEST_F(MovieFolder, ADocumentAloneTakesNoOtherMovieAndWritesNothingIntoTheOriginalsFolder) {
  openMovie("exam/m.mve", 3);
  ASSERT_TRUE(save("exam/v.dtv"));
  std::filesystem::copy_file(folder.file("exam/v.dtv"), folder.file("stick/v.dtv"));
  writeMovie("stick/m.mve", 2);  // another one of the same name
  reopen(folder.file("stick/v.dtv"));
  EXPECT_EQ(video().moviePath, folder.file("exam/m.mve")) << "the count of the other does not fit";
  run("Negative");
  EXPECT_EQ(video().moviePath, folder.file("stick/mA.mve"));
  std::filesystem::remove(folder.file("exam/m.mve"));
  host.paths = {std::nullopt};
  reopen(folder.file("stick/v.dtv"));
  EXPECT_THAT(host.messages.back(), HasSubstr("Cannot find image file"));
  EXPECT_FALSE(video().hasMovie());
}

TEST_F(MovieFolder, AnotherMovieOfThatNameAndLengthIsNotTakenUnasked) {
  openMovie("exam/m.mve", 3);
  ASSERT_TRUE(save("exam/v.dtv"));
  std::filesystem::copy_file(folder.file("exam/v.dtv"), folder.file("stick/v.dtv"));
  writeMovieFile(folder.file("stick/m.mve"), 3, {16, 8}, [](CZZimage& image, int32_t) { image.fill(99); });
  for (const auto& [answer, taken] : {std::pair{Answer::No, "exam/m.mve"}, {Answer::Yes, "stick/m.mve"}}) {
    host.answers = {answer};
    reopen(folder.file("stick/v.dtv"));
    EXPECT_EQ(video().moviePath, folder.file(taken));
    EXPECT_THAT(video().notes, HasSubstr("has other images than"));
  }
  process.quietMode = 1;
  reopen(folder.file("stick/v.dtv"));
  EXPECT_THAT(host.messages.back(), HasSubstr("The one beside the document is taken"));
  std::filesystem::remove(folder.file("exam/m.mve"));
  reopen(folder.file("stick/v.dtv"));
  EXPECT_THAT(video().notes, HasSubstr("is used in place of " + folder.file("exam/m.mve")));
}

TEST_F(MovieFolder, ARelativePathOfTheDocumentIsAsGoodAsAnAbsoluteOne) {
  openMovie("exam/m.mve", 3);
  video().moviePath = "m.mve";  // as an older version linked it
  ASSERT_TRUE(video().CdbDocument::onSaveDocument(folder.file("exam/v.dtv")));
  settings.setString("directories", "tempdir", "");
  process.quietMode = 1;
  std::filesystem::current_path(folder.file("exam"));
  reopen("v.dtv");
  run("Split images into fields");
  EXPECT_EQ(video().moviePath, folder.file("exam/mA.mve"));
  host.paths = {"../w.dtv"};
  ASSERT_TRUE(video().saveAs());
  EXPECT_EQ(video().moviePath, folder.file("mA.mve"));
  std::filesystem::current_path(before);
  reopen(folder.file("w.dtv"));
  EXPECT_EQ(video().imageCount(), 6);
}

TEST_F(MovieFolder, SaveAsKeepsTheLinkToAMovieThatIsAway) {
  openMovie("exam/m.mve", 3);
  ASSERT_TRUE(save("exam/v.dtv"));
  std::filesystem::rename(folder.file("exam/m.mve"), folder.file("away.mve"));
  host.paths = {std::nullopt, folder.file("exam/w.dtv")};
  reopen(folder.file("exam/v.dtv"));
  host.answers = {Answer::No};
  run("Save As");
  EXPECT_THAT(host.messages.back(), HasSubstr("is away and can't be copied"));
  std::filesystem::rename(folder.file("away.mve"), folder.file("exam/m.mve"));
  reopen(folder.file("exam/w.dtv"));
  EXPECT_EQ(video().imageCount(), 3);
}

TEST_F(MovieFolder, AFailedSaveLeavesTheVideoAsItWas) {
  CVivoCapDoc& doc = openMovie("exam/m.mve", 5);
  doc.movie->setOrigin(4, {7, 7});
  ASSERT_TRUE(doc.select(1, 3));
  std::filesystem::create_directory(folder.file("exam/w.dtv"));  // where the document can't be written
  host.paths = {folder.file("exam/w.dtv")};
  run("Save As");
  EXPECT_EQ(doc.moviePath, folder.file("exam/m.mve"));
  EXPECT_FALSE(fileExists(folder.file("exam/w.mve")));
  EXPECT_EQ(doc.selection().size(), 2);
  EXPECT_EQ(doc.imageCount(), 5);
  EXPECT_EQ(doc.movie->recordOf(4).xOrigin, 7);
  EXPECT_THAT(doc.notes, EndsWith("are assumed\r\n")) << "as after the opening";
}

TEST_F(MovieFolder, AMovieThatWasDeletedWhileItIsShownIsSavedAnew) {
  openMovie("exam/m.mve", 3);
  std::filesystem::remove(folder.file("exam/m.mve"));
  ASSERT_TRUE(save("exam/v.dtv"));
  EXPECT_EQ(video().moviePath, folder.file("exam/v.mve"));
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12));
}

TEST_F(MovieFolder, TheTableThatGoesAlongIsTheCopysOwn) {
  openMovie("exam/m.mve", 3);
  CResultDoc rows;
  ASSERT_TRUE(rows.onSaveDocument(folder.file("exam/v.rst")));
  video().resultsPath = folder.file("exam/v.rst");
  ASSERT_TRUE(save("exam/v.dtv"));
  copyExam();
  process.videoTemplate->discard(video());
  ASSERT_NE(app->openDocumentFile(folder.file("copy/v.dtv")), nullptr);
  EXPECT_EQ(video().resultsPath, folder.file("copy/v.rst"));
  ASSERT_TRUE(replaceFile(folder.file("copy/w.rst"), std::string_view("somebody's")));
  ASSERT_TRUE(save("copy/w.dtv"));
  EXPECT_EQ(video().resultsPath, folder.file("copy/w-1.rst"));
  EXPECT_EQ(readWholeText(folder.file("copy/w.rst")), "somebody's");
}

TEST_F(MovieFolder, ACopyThatIsCancelledLeavesNothing) {
  CVivoCapDoc& doc = openMovie("stick/m.mve", 3);
  host.answers = {Answer::Yes};
  host.stopAt = 0;
  EXPECT_FALSE(save("exam/v.dtv"));
  EXPECT_TRUE(std::filesystem::is_empty(folder.file("exam")));
  EXPECT_EQ(doc.moviePath, folder.file("stick/m.mve"));
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12));
}

TEST_F(MovieFolder, AMovieThatCantBeBroughtStaysLinked) {
  CVivoCapDoc& doc = openMovie("stick/m.mve", 3);
  const std::string longName = std::string(250, 'm') + ".mve";  // no room for a number
  std::filesystem::rename(folder.file("stick/m.mve"), folder.file("stick/" + longName));
  ASSERT_TRUE(replaceFile(folder.file("exam/" + longName), std::string_view("somebody's")));
  process.videoTemplate->discard(doc);
  ASSERT_NE(app->openDocumentFile(folder.file("stick/" + longName)), nullptr);
  host.answers = {Answer::Yes};
  ASSERT_TRUE(save("exam/v.dtv")) << "the marks are saved";
  EXPECT_THAT(host.messages.back(), HasSubstr("stays where it is: "));
  EXPECT_EQ(video().moviePath, folder.file("stick/" + longName));
  EXPECT_EQ(video().imageCount(), 3);
}

TEST_F(MovieFolder, AProductThatAnotherWindowShowsIsNotChangedInPlace) {
  CVivoCapDoc& doc = openMovie("exam/m.mve", 3);
  run("Negative");
  ASSERT_NE(app->openDocumentFile(folder.file("exam/mA.mve")), nullptr);
  app->documents.activate(doc);
  run("Negative");
  EXPECT_EQ(doc.moviePath, folder.file("exam/mAA.mve"));
}

}  // namespace
}  // namespace tarnvisor
