// Copies of changed documents, and what the next start makes of them after a run that was killed.
#include "frame/autosave.h"

#include <sys/wait.h>
#include <unistd.h>

#include "assembly/assembly.h"
#include "charts/chartdoc.h"
#include "image/zzimage.h"
#include "imagedoc/zbasicdoc.h"
#include "support/videotest.h"

namespace tarnvisor {
namespace {

constexpr ColumnRecord kColumns[] = {
    {0, 1, "Name", 8, 0, 0}, {1, 1, "Units", 8, 0, 0}, {2, 1, "Value", 8, 8, 1}};
const ResultTable kTable{0, "Rows", kColumns};

class Unsaved : public AppTest {
 protected:
  void SetUp() override {
    registerStoredClasses();
    options.documentTable = documentTable();
    begin();
  }
  void TearDown() override { end(); }
  void begin() { ASSERT_TRUE(startWithData()); }
  void end() {
    autoSave.reset();
    if (app) app->documents.discardAll();
    stop();
  }
  // As a run that was killed: nothing is tidied up. The copies stay with a process that ends by itself.
  void inARunThatFallsOver(const std::function<void()>& work) {
    end();
    const pid_t child = ::fork();
    if (child == 0) {
      begin();
      work();
      ::kill(::getpid(), SIGKILL);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    begin();
  }
  void keepAll() {
    autoSave = std::make_unique<AutoSave>(*app);
    autoSave->turn();
    autoSave->waitUntilWritten();
  }
  void restoreAll() {
    host.fill({{"Do", "Restore ticked"}});
    keepAll();
  }
  ZBasicDoc& makeImage() {
    auto& image = static_cast<ZBasicDoc&>(*process.imageTemplate->newDocument());
    auto pixels = std::make_unique<CZZimage>(8, 4);
    pixels->fill(7);
    image.takeImage(std::move(pixels));
    return image;
  }
  ZBasicDoc& restored() { return dynamic_cast<ZBasicDoc&>(*app->documents.active()); }
  std::vector<std::string> leftFiles() const {
    std::vector<std::string> names;
    for (const auto& at : std::filesystem::recursive_directory_iterator(folder.file("data")))
      if (at.path().string().find(".recovery") != std::string::npos && at.path().filename() != "lock" &&
          at.is_regular_file())
        names.push_back(at.path().filename().string());
    return names;
  }
  std::unique_ptr<AutoSave> autoSave;
};

TEST_F(Unsaved, ComesBackWithMarksPixelsTitleAndOwner) {
  inARunThatFallsOver([&] {
    exams->selectSubject("S-1", "");
    ZBasicDoc& image = makeImage();
    image.setTitle("left ring");
    image.addDimension({3, 2}, 0);
    exams->selectSubject("S-2", "");
    keepAll();
  });
  restoreAll();
  ASSERT_EQ(app->documents.documents().size(), 1U);
  EXPECT_EQ(restored().title(), "left ring");
  EXPECT_EQ(restored().pathName(), "");
  EXPECT_EQ(restored().currentDims().items.size(), 1U);
  EXPECT_EQ(restored().theImage()->pixelAt(7, 3), 7);
  EXPECT_EQ(restored().measuredFor().subject, "S-1");
  EXPECT_TRUE(restored().isModified());
  EXPECT_THAT(leftFiles(), SizeIs(3)) << "this run has taken the copy over";
}

TEST_F(Unsaved, SavesToWhereItBelongedAndAsksWhereThatHasChanged) {
  const std::string path = folder.file("data/hand.tv1");
  inARunThatFallsOver([&] {
    ZBasicDoc& image = makeImage();
    ASSERT_TRUE(image.onSaveDocument(path));
    image.setPathName(path);
    image.addDimension({3, 2}, 0);
    keepAll();
  });
  restoreAll();
  EXPECT_EQ(restored().pathName(), path);
  EXPECT_EQ(restored().saveCount, 1);
  EXPECT_EQ(restored().theImage()->pixelAt(7, 3), 7);
  ASSERT_TRUE(replaceFile(path, std::string_view("of somebody else")));
  host.answers = {Answer::No};
  EXPECT_FALSE(restored().save());
  EXPECT_THAT(host.messages.back(), HasSubstr("was changed since"));
}

TEST_F(Unsaved, IsAnyKindOfDocumentAndAVideoFindsItsMovie) {
  const std::string movie = writeMovieFile(folder.file("m.mve"), 5, {16, 8}, [](CZZimage& image, int32_t k) {
    image.fill(static_cast<uint8_t>(k));
  });
  inARunThatFallsOver([&] {
    auto& video = dynamic_cast<CVivoCapDoc&>(*app->openDocumentFile(movie));
    video.addDimension({3, 2}, 0);
    auto& chart = static_cast<ZchartDoc&>(*process.reviewTemplate->newDocument());
    chart.addtrace(kDoubleCode, 9)->name = "pulse";
    ASSERT_NE(addResultRow(kTable, {.filename = "row", .values = {1}}), nullptr);
    keepAll();
  });
  restoreAll();
  ASSERT_EQ(app->documents.documents().size(), 3U);
  auto& video = dynamic_cast<CVivoCapDoc&>(*app->documents.documents()[0]);
  EXPECT_EQ(video.currentDims().items.size(), 1U);
  EXPECT_EQ(video.imageCount(), 5);
  EXPECT_EQ(dynamic_cast<ZchartDoc&>(*app->documents.documents()[2]).firsttrace()->name, "pulse");
  EXPECT_EQ(dynamic_cast<CResultDoc&>(*app->documents.documents()[1]).cell(0, 0), "row");
}

TEST_F(Unsaved, LeavesTheDocumentAndItsFileAsTheyAre) {
  ZBasicDoc& image = makeImage();
  image.setCurrentList(kDustList);
  image.dimlists[kDustList].hidden = 0;
  image.resultText = "old";
  keepAll();
  EXPECT_EQ(leftFiles().size(), 3U);
  EXPECT_EQ(image.saveCount, 0);
  EXPECT_EQ(image.patientId, "");
  EXPECT_EQ(image.dimlists[kDustList].hidden, 0);
  EXPECT_EQ(image.resultText, "old");
  EXPECT_TRUE(image.isModified());
}

TEST_F(Unsaved, GoesWhenTheDocumentIsSavedOrClosed) {
  ZBasicDoc& image = makeImage();
  makeImage();
  keepAll();
  EXPECT_THAT(leftFiles(), SizeIs(6));
  ASSERT_TRUE(image.onSaveDocument(folder.file("data/hand.tv1")));
  autoSave->waitUntilWritten();
  EXPECT_THAT(leftFiles(), SizeIs(3));
  app->documents.discardAll();
  autoSave->waitUntilWritten();
  EXPECT_THAT(leftFiles(), IsEmpty());
}

TEST_F(Unsaved, IsOfferedUntilItIsDiscardedAndNeverToARunBeside) {
  inARunThatFallsOver([&] {
    makeImage();
    keepAll();
  });
  host.fill({{"Do", "Later"}});
  keepAll();
  const AutoSave beside(*app);
  autoSave.reset();
  host.fill({{"Do", "Discard ticked"}});
  host.answers = {Answer::Yes};
  keepAll();
  EXPECT_THAT(leftFiles(), IsEmpty());
  makeImage();
  autoSave->turn();
  autoSave->waitUntilWritten();
  AutoSave(*app).turn();  // a question would fail the test
  EXPECT_THAT(leftFiles(), SizeIs(3));
}

TEST_F(Unsaved, IsNotCopiedWhereTheProfileSaysSo) {
  settings.setInt("Settings", "autosave", 0);
  makeImage();
  keepAll();
  EXPECT_THAT(leftFiles(), IsEmpty());
}

// The child tells each number of marks that it knows to be safe, and is killed at any moment.
TEST_F(Unsaved, MarksThatWereSafeAreThereAfterAnyKill) {
  std::mt19937 chance(std::random_device{}());
  for (int kill = 0; kill < 10; ++kill) {
    end();
    int ends[2];
    ASSERT_EQ(::pipe(ends), 0);
    const pid_t child = ::fork();
    if (child == 0) {
      begin();
      ZBasicDoc& image = makeImage();
      std::map<uint64_t, int32_t> marksAt;
      autoSave = std::make_unique<AutoSave>(*app);
      for (int32_t marks = 1;; ++marks) {
        image.addDimension({marks, 2}, 0);
        marksAt[image.changeCount()] = marks;
        autoSave->turn();
        const auto safe = marksAt.find(autoSave->written(image));
        if (safe != marksAt.end() && ::write(ends[1], &safe->second, sizeof safe->second) < 0) ::_exit(1);
      }
    }
    ::close(ends[1]);
    int32_t safe = 0;
    for (auto left = chance() % 40 + 1; left > 0 && ::read(ends[0], &safe, sizeof safe) > 0; --left) continue;
    std::this_thread::sleep_for(std::chrono::microseconds(chance() % 3000));
    ::kill(child, SIGKILL);
    while (::read(ends[0], &safe, sizeof safe) > 0) continue;
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    begin();
    restoreAll();
    ASSERT_EQ(app->documents.documents().size(), 1U);
    EXPECT_GE(restored().currentDims().items.size(), static_cast<size_t>(safe));
  }
}

}  // namespace
}  // namespace tarnvisor
