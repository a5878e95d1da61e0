// The versions of a video's movie, and the ways back.
#include "frame/commandids.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

class Versions : public VideoTest {
 protected:
  std::vector<std::string> made() {
    std::vector<std::string> all;
    for (const MovieVersion& each : video().movieVersions().all())
      all.push_back(std::to_string(each.number) + " " + each.what);
    return all;
  }
  void save(const std::string& name) {
    ASSERT_TRUE(video().onSaveDocument(folder.file(name)));
    video().setPathName(folder.file(name));
  }
  void reopen(const std::string& name) {
    process.videoTemplate->discard(video());
    ASSERT_NE(app->openDocumentFile(folder.file(name)), nullptr);
  }
};

TEST_F(Versions, APassLeavesTheMovieBeforeAndAWayBack) {
  CVivoCapDoc& doc = openMovie("a.mve", 4);
  doc.movie->setOrigin(2, {7, 5});
  EXPECT_TRUE(doc.select(1, 4));
  run("Negative");
  EXPECT_TRUE(doc.select(0, 1));
  run("Negative");
  EXPECT_THAT(levels(), ElementsAre(11, 255 - 12, 255 - 13)) << "the rest of its own movie stays in it";
  EXPECT_EQ(doc.selection().size(), 1);
  EXPECT_THAT(made(), ElementsAre("1 original", "2 Invert", "3 Invert"));
  ASSERT_TRUE(doc.goToVersion(2));
  EXPECT_THAT(levels(), ElementsAre(255 - 11, 255 - 12, 255 - 13));
  ASSERT_TRUE(doc.goToVersion(1));
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12, 13));
  EXPECT_EQ(doc.movie->recordOf(2).xOrigin, 7);
  EXPECT_EQ(doc.selection().size(), 3) << "as it was left";
  EXPECT_EQ(doc.moviePath, folder.file("a.mve"));
}

TEST_F(Versions, CancelInTheMiddleOfAPassLeavesTheVersionBefore) {
  CVivoCapDoc& doc = openMovie("a.mve", 5);
  run("Negative");
  const std::string before = doc.moviePath;
  host.stopAt = 3;
  run("Negative");
  EXPECT_EQ(doc.moviePath, before);
  EXPECT_THAT(levels(), ElementsAre(245, 244, 243, 242, 241));
  EXPECT_EQ(doc.movie->shared, 0) << "still its own";
}

TEST_F(Versions, ScriptsAndTheSettingKeepNone) {
  process.quietMode = 1;
  openMovie("a.mve", 2);
  run("Negative");
  EXPECT_THAT(made(), IsEmpty());
  process.quietMode = 0;
  settings.setInt("Dynamic settings", "keepversions", 0);
  run("Negative");
  EXPECT_EQ(video().moviePath, folder.file("aA.mve")) << "in place";
  EXPECT_THAT(made(), IsEmpty());
}

TEST_F(Versions, AreSavedFoundInACopyOfTheFolderAndHarmlessWhenDamaged) {
  std::filesystem::create_directory(folder.file("exam"));
  openMovie("exam/a.mve", 3);
  run("Negative");
  run("Negative");
  save("exam/v.dtv");
  std::filesystem::copy(folder.file("exam"), folder.file("copy"));
  reopen("copy/v.dtv");
  EXPECT_THAT(made(), ElementsAre("1 original", "2 Invert", "3 Invert"));
  ASSERT_TRUE(video().goToVersion(2));
  EXPECT_EQ(video().moviePath, folder.file("copy/aA.mve"));
  EXPECT_THAT(levels(), ElementsAre(245, 244, 243));
  ASSERT_TRUE(replaceFile(folder.file("exam/v.versions"), std::string_view("no list")));
  reopen("exam/v.dtv");
  EXPECT_THAT(host.messages.back(), HasSubstr("The versions of the video are not known"));
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12));
  save("exam/v.dtv");
  EXPECT_EQ(readWholeText(folder.file("exam/v.versions")), "no list")
      << "there is nothing to put in its place";
}

TEST_F(Versions, ComeAlongFromTheWorkFolderWithTheDocument) {
  for (const char* name : {"work", "exam"}) std::filesystem::create_directory(folder.file(name));
  settings.setString("directories", "tempdir", folder.file("work"));
  openMovie("exam/a.mve", 2);
  run("Split images into fields");
  run("Merge into frames");
  save("exam/v.dtv");
  EXPECT_TRUE(std::filesystem::is_empty(folder.file("work")));
  reopen("exam/v.dtv");
  ASSERT_TRUE(video().goToVersion(2));
  EXPECT_EQ(video().imageCount(), 4);
}

TEST_F(Versions, ThatNobodySavedGoWithTheDocument) {
  openMovie("a.mve", 2);
  run("Negative");
  process.videoTemplate->discard(video());
  EXPECT_FALSE(fileExists(folder.file("aA.mve")));
  EXPECT_TRUE(fileExists(folder.file("a.mve")));
}

TEST_F(Versions, AreDeletedWhereNothingElseNeedsThem) {
  CVivoCapDoc& doc = openMovie("a.mve", 2);
  run("Negative");
  save("v.dtv");
  run("Negative");
  EXPECT_THAT(doc.deleteVersion(1).why(), HasSubstr("the others were made of"));
  EXPECT_THAT(doc.deleteVersion(3).why(), HasSubstr("the one that is shown"));
  EXPECT_THAT(doc.deleteVersion(2).why(), HasSubstr("save the video first"));
  save("v.dtv");
  host.answers = {Answer::No, Answer::Yes};
  ASSERT_TRUE(doc.deleteVersion(2));
  EXPECT_TRUE(fileExists(folder.file("aA.mve")));
  ASSERT_TRUE(doc.deleteVersion(2));
  EXPECT_FALSE(fileExists(folder.file("aA.mve")));
  EXPECT_THAT(made(), ElementsAre("1 original", "3 Invert"));
}

TEST_F(Versions, AMovieThatANeighbourNamesIsNotDeletedFromTheDisc) {
  CVivoCapDoc& doc = openMovie("a.mve", 2);
  run("Negative");
  save("v.dtv");
  std::filesystem::copy_file(folder.file("v.dtv"), folder.file("w.dtv"));
  ASSERT_TRUE(doc.goToVersion(1));
  save("v.dtv");
  host.answers = {Answer::Yes};
  ASSERT_TRUE(doc.deleteVersion(2));
  EXPECT_TRUE(fileExists(folder.file("aA.mve")));
}

TEST_F(Versions, PassesAndMarksAreTakenBackInTheirOrder) {
  CVivoCapDoc& doc = openMovie("a.mve", 2);
  run("Negative");
  doc.addDimension({1, 1}, CDimList::kPoint);
  doc.setModified();
  run("Negative");
  const auto state = [&] { return std::pair(doc.currentVersion(), doc.currentDims().size()); };
  run("Undo");
  EXPECT_EQ(state(), std::pair(2, 1));
  run("Undo");
  EXPECT_EQ(state(), std::pair(1, 1));
  for (const int32_t version : {2, 3}) {
    run("Redo");
    EXPECT_EQ(doc.currentVersion(), version);
  }
  EXPECT_THAT(levels(), ElementsAre(10, 11));
  ASSERT_TRUE(doc.goToVersion(1));
  run("Undo");
  EXPECT_EQ(doc.currentVersion(), 3);
}

TEST_F(Versions, AreComparedInASecondWindow) {
  CVivoCapDoc& doc = openMovie("a.mve", 3);
  run("Negative");
  doc.showImage(2);
  ASSERT_TRUE(doc.compareVersion(1));
  ASSERT_NE(&video(), &doc);
  EXPECT_THAT(levels(), ElementsAre(10, 11, 12));
  EXPECT_EQ(video().currentIndex(), 2);
  EXPECT_FALSE(video().isModified());
  EXPECT_THAT(host.calls, Contains("tile"));
}

TEST_F(Versions, ARecordingInMemoryGetsAFileBeforeAPass) {
  useWorkFolder();
  CVivoCapDoc& doc = *static_cast<CVivoCapDoc*>(process.videoTemplate->newDocument());
  doc.movie = std::make_unique<CZZMovie>();
  ASSERT_TRUE(doc.movie->record(2, "", 0, 0, 16, 8, false));
  for (const uint8_t level : {50, 60}) {
    CZZimage image(16, 8);
    image.fill(level);
    (void)doc.movie->addFrame(image, 0);
  }
  doc.movie->stopRecording();
  run("Negative");
  EXPECT_THAT(levels(), ElementsAre(205, 195));
  ASSERT_TRUE(doc.goToVersion(1));
  EXPECT_THAT(levels(), ElementsAre(50, 60));
}

TEST_F(Versions, AreInTheCopyOfWhatIsNotSaved) {
  CVivoCapDoc& doc = openMovie("a.mve", 2);
  run("Negative");
  const auto copy = doc.copyOfUnsaved();
  MovieVersions left;
  ASSERT_TRUE(copy->second->write(folder.file("left")));
  ASSERT_TRUE(left.read(folder.file("left")));
  EXPECT_EQ(left.all().back().isSaved, 0);
}

TEST_F(Versions, SaveSaysThatFewerImagesAreStoredThanWereOpened) {
  openMovie("a.mve", 5);
  save("v.dtv");
  reopen("v.dtv");
  ASSERT_TRUE(video().select(1, 3));
  run("Negative");
  save("v.dtv");
  EXPECT_THAT(host.messages.back(), HasSubstr("was saved with 2 images, and was opened with 5"));
}

TEST_F(Versions, StandInATableThatLeadsBack) {
  CVivoCapDoc& doc = openMovie("a.mve", 2);
  run("Negative");
  ASSERT_EQ(view().sidePanels().size(), 2u);
  SidePanel& panel = *view().sidePanels()[1];
  ASSERT_EQ(panel.rowCount(), 2u);
  EXPECT_EQ(panel.cell(1, 1), "Invert");
  EXPECT_EQ(panel.cell(1, 2), "1");
  EXPECT_TRUE(panel.isSelected(1)) << "the one shown";
  panel.select(std::array<size_t, 1>{1});
  EXPECT_FALSE(panel.canAct(0));
  panel.select(std::array<size_t, 1>{0});
  EXPECT_FALSE(panel.canAct(2)) << "the original is not deleted";
  panel.act(0);
  EXPECT_EQ(doc.currentVersion(), 1);
}

TEST_F(Versions, NoPassBeginsWithoutRoomOnTheDisc) {
  constexpr int32_t kSide = 4000;
  const uint64_t frame = uint64_t{kSide} * kSide;
  const auto frames = static_cast<int32_t>(freeDiscBytes(folder.path()) / frame) + 10;
  { std::ofstream(folder.file("huge.raw")); }
  std::filesystem::resize_file(folder.file("huge.raw"), frame * static_cast<uint64_t>(frames));
  auto& doc = *static_cast<CVivoCapDoc*>(process.videoTemplate->newDocument());
  doc.movie = std::make_unique<CZZMovie>();
  ASSERT_TRUE(doc.movie->openRaw(folder.file("huge.raw"), kSide, kSide, frames));
  run("Negative");
  EXPECT_THAT(host.messages.back(), HasSubstr("Nothing was done"));
  EXPECT_FALSE(fileExists(folder.file("hugeA.mve")));
}

}  // namespace
}  // namespace tarnvisor
