#include <sys/mount.h>
#include <sys/stat.h>

#include "archive/archive.h"
#include "base/text.h"
#include "framework/commandids.h"
#include "framework/documenttype.h"
#include "framework/messageloop.h"
#include "framework/view.h"
#include "support/tempfolder.h"
#include "support/testhost.h"

namespace tarnvisor {
namespace {

struct Text : CDocument {
  void serialize(Archive& archive) override {
    if (archive.isStoring())
      archive.write(words.data(), words.size());
    else {
      words.resize(static_cast<size_t>(archive.remaining()));
      archive.readExactly(words.data(), words.size());
      if (words == "bad") throw ArchiveException("it is bad");
    }
  }
  void deleteContents() override { words.clear(); }
  void shout() { words += "!"; }
  bool isLoud() const { return words.find('!') != std::string::npos; }
  bool hasWords() const { return !words.empty(); }
  const CommandTableBase* commands() const override {
    static const CommandTable<Text> table(
        {{40001, "&Shout...\tCtrl+T", &Text::shout, &Text::hasWords, &Text::isLoud}}, CDocument::commands());
    return &table;
  }
  bool onImportFile(const std::string& path) override { return onOpenDocument(path); }
  std::string words;
};

const DocumentClass kTexts{1,      "\nText\nText\nTexts (*.txt)\n.txt\n\n",
                           "Text", "",
                           "",     [] { return std::unique_ptr<CDocument>(std::make_unique<Text>()); },
                           nullptr};

TEST(Commands, AreFoundByIdAndByMenuTextAlongTheChain) {
  Text first;
  Text second;
  first.words = "a";
  CommandTarget* const chain[] = {nullptr, &first, &second};
  EXPECT_EQ(routeCommand(chain, 40001), CommandResult::Done);
  EXPECT_EQ(routeCommand(chain, std::string_view("shout")), CommandResult::Done);
  EXPECT_EQ(first.words, "a!!");
  EXPECT_EQ(routeCommand(chain, std::string_view("")), CommandResult::Unknown);
  EXPECT_EQ(routeCommand(chain, 40002), CommandResult::Unknown);
  CommandTarget* const other[] = {&second};
  EXPECT_EQ(routeCommand(other, 40001), CommandResult::Disabled);
  const CommandRow* row = first.commands()->find(40001);
  EXPECT_TRUE(row->ticked(first));
  EXPECT_FALSE(row->ticked(second));
  EXPECT_NE(first.commands()->find(cmd::FileSave), nullptr) << "the base class's table counts";
}

TEST(Documents, ReportWhatCannotBeReadOrWritten) {
  TestHost host;
  const TempFolder folder;
  ASSERT_TRUE(replaceFile(folder.file("bad.txt"), std::string_view("bad")));
  Text text;
  EXPECT_FALSE(text.onOpenDocument(folder.file("bad.txt")));
  EXPECT_THAT(host.messages.back(), HasSubstr("it is bad"));
  EXPECT_EQ(text.words, "") << "nothing half read stays";
  EXPECT_FALSE(text.onOpenDocument(folder.file("none.txt")));
  EXPECT_THAT(host.messages.back(), HasSubstr("No such file"));
  text.words = "kept";
  text.setModified();
  EXPECT_FALSE(text.onSaveDocument(folder.file("no folder/a.txt")));
  EXPECT_THAT(host.messages.back(), HasSubstr("could not be saved"));
  EXPECT_TRUE(text.isModified());
}

TEST(Documents, AFullDiscLeavesTheOldFileAsItWas) {
  TestHost host;
  const TempFolder folder;
  if (::mount("tmpfs", folder.path().c_str(), "tmpfs", 0, "size=64k") != 0)
    GTEST_SKIP() << "no right to mount a small disc";
  Text text;
  text.words = "old";
  EXPECT_TRUE(text.onSaveDocument(folder.file("a.txt")));
  text.words.assign(1 << 20, 'x');
  EXPECT_FALSE(text.onSaveDocument(folder.file("a.txt")));
  EXPECT_THAT(host.messages.back(), HasSubstr("No space left"));
  EXPECT_EQ(readWholeText(folder.file("a.txt")), "old");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1) << "no half file stays";
  ::umount(folder.path().c_str());
}

// --- the documents of a kind, and those of all kinds

class Kinds : public testing::Test {
 protected:
  static DocumentClass texts(int32_t id, const char* resource) {
    DocumentClass facts = kTexts;
    facts.id = id;
    facts.resource = resource;
    facts.makeView = [](CDocument& d) { return std::make_unique<CView>(d); };
    facts.imports = [](const std::string& path) { return endsWithIgnoringCase(path, ".note"); };
    return facts;
  }
  std::string put(const std::string& name, const std::string& words) {
    EXPECT_TRUE(replaceFile(folder.file(name), std::string_view(words)));
    return folder.file(name);
  }
  static Text& made(DocumentType& type, const std::string& words = "") {
    auto& text = static_cast<Text&>(*type.newDocument());
    text.words = words;
    text.setModified(!words.empty());
    return text;
  }
  TestHost host;
  const TempFolder folder;
  DocumentManager manager;
  DocumentType& first =
      *manager.registerType(std::make_unique<DocumentType>(texts(1, "\nText\n\nTexts (*.txt)\n.txt\n\n")));
  DocumentType& second =
      *manager.registerType(std::make_unique<DocumentType>(texts(2, "\nNote\n\n\n.txt\n\n")));
};

TEST_F(Kinds, SaveUnderTheirOwnEndingAndNeverUnaskedOverAnotherFile) {
  Text& text = made(first, "one");
  host.paths = {std::nullopt};
  EXPECT_FALSE(text.save()) << "without a file it asks for one";
  host.paths = {folder.file("a.dat"), folder.file("A.TXT")};
  ASSERT_TRUE(text.saveAs());
  EXPECT_EQ(text.pathName(), folder.file("a.dat.txt"));
  EXPECT_EQ(text.title(), "a.dat.txt");
  EXPECT_FALSE(text.isModified());
  ASSERT_TRUE(text.saveAs());
  EXPECT_EQ(text.pathName(), folder.file("A.TXT")) << "the ending it has, whatever the case";
  const std::string other = put("b.dat.txt", "other");
  for (const Answer answer : {Answer::No, Answer::Yes}) {
    host.paths = {folder.file("b.dat")};
    host.answers = {answer};
    EXPECT_EQ(text.saveAs(), answer == Answer::Yes);
    EXPECT_EQ(readWholeText(other), answer == Answer::Yes ? "one" : "other");
  }
  text.words = "two";
  text.setModified();
  host.answers = {Answer::Yes};
  EXPECT_TRUE(text.saveModified());
  EXPECT_EQ(host.messages.back(), "Save changes to " + other + "?");
  EXPECT_EQ(readWholeText(other), "two");
  EXPECT_TRUE(text.saveModified()) << "unchanged, it asks nothing";
}

TEST_F(Kinds, StandInTheOrderOfTheirActivationAndCloseFromTheFront) {
  int told = 0;
  manager.onChange = [&] { ++told; };
  Text &a = made(first), &b = made(second), &c = made(first, "c");
  EXPECT_EQ(c.title(), "Text2");
  EXPECT_EQ(told, 3);
  manager.activate(a);
  EXPECT_THAT(manager.documents(), ElementsAre(&b, &c, &a));
  EXPECT_EQ(told, 4);
  host.answers = {Answer::Cancel};
  EXPECT_FALSE(manager.closeAll());
  EXPECT_THAT(manager.documents(), ElementsAre(&b, &a, &c))
      << "all stay, in front the one that was asked about";
  host.answers = {Answer::No};
  EXPECT_TRUE(manager.mayCloseAllOf(first));
  manager.discardAllOf(first);
  EXPECT_THAT(manager.documents(), ElementsAre(&b));
  second.discard(b);
  EXPECT_EQ(manager.active(), nullptr);
  EXPECT_EQ(told, 8);
}

TEST_F(Kinds, AskByOneFormWhereSeveralHaveChangedAndCloseAllOrNone) {
  Text &a = made(first, "a"), &b = made(first, "b");
  made(first);
  host.paths = {folder.file("a.txt"), folder.file("b.txt")};
  ASSERT_TRUE(a.saveAs());
  ASSERT_TRUE(b.saveAs());
  const auto closes = [&](const std::string& choice, bool ticksA) {
    for (Text* text : {&a, &b}) text->words += "+", text->setModified();
    host.fill({{a.pathName(), ticksA ? "1" : "0"}, {"Do", choice}});
    return manager.closeAll();
  };
  EXPECT_FALSE(closes("Cancel", true));
  ASSERT_TRUE(replaceFile(a.pathName(), std::string_view("of another program")));
  host.answers = {Answer::No};
  EXPECT_FALSE(closes("Save all", true)) << "one that can't be saved keeps all";
  EXPECT_EQ(manager.documents().size(), 3U);
  EXPECT_TRUE(closes("Save ticked", false));
  EXPECT_EQ(readWholeText(folder.file("a.txt")), "of another program");
  EXPECT_EQ(readWholeText(folder.file("b.txt")), "b+++");
  EXPECT_EQ(manager.active(), nullptr);
}

TEST_F(Kinds, OpenAFileOnceAndImportWhatNobodyClaims) {
  const std::string path = put("a.txt", "words");
  EXPECT_EQ(manager.typeFor("X.TXT"), &first) << "of two the first";
  EXPECT_EQ(manager.typeFor("x"), nullptr);
  auto* text = static_cast<Text*>(first.openDocument(path));
  ASSERT_NE(text, nullptr);
  EXPECT_EQ(text->words, "words");
  EXPECT_EQ(text->views().size(), 1u);
  made(second);
  EXPECT_EQ(first.openDocument(folder.path() + "./a.txt"), text);
  EXPECT_EQ(manager.active(), text) << "the open one comes to the front";
  EXPECT_EQ(first.findOpen(folder.file("b.txt")), nullptr);
  ASSERT_EQ(manager.importerFor("x.note"), &first);
  EXPECT_EQ(manager.importerFor("x.txt"), nullptr);
  auto* imported = static_cast<Text*>(first.importDocument(put("n.note", "noted")));
  ASSERT_NE(imported, nullptr);
  EXPECT_EQ(imported->words, "noted");
  EXPECT_EQ(imported->pathName(), "");
  EXPECT_EQ(first.importDocument(put("bad.note", "bad")), nullptr);
  EXPECT_EQ(manager.documents().size(), 3u) << "what can't be brought in leaves nothing";
}

// --- views

TEST(Views, ScrollByKeysAndWheelWithinTheirContent) {
  struct Page : CView {
    using CView::CView;
    Size contentSize() const override { return {500, 1000}; }
  };
  Text text;
  Page page(text);
  page.setWindowSize({400, 300});
  const std::pair<Key, Point> keys[] = {
      {Key::Down, {0, 16}},       {Key::PageDown, {0, 316}}, {Key::Right, {16, 316}},  {Key::End, {16, 700}},
      {Key::PageDown, {16, 700}}, {Key::Up, {16, 684}},      {Key::PageUp, {16, 384}}, {Key::Left, {0, 384}},
      {Key::Left, {0, 384}},      {Key::Home, {0, 0}}};
  for (const auto& [key, at] : keys) {
    EXPECT_TRUE(page.keyDown({key}));
    EXPECT_EQ(page.scrollPosition(), at) << static_cast<int>(key);
  }
  EXPECT_FALSE(page.keyDown({Key::Enter}));
  page.wheel({{}, -2, false, false});
  page.wheel({{}, -9, true, false});
  EXPECT_EQ(page.scrollPosition(), (Point{100, 96}));
  page.setWindowSize({9000, 950});
  EXPECT_EQ(page.scrollPosition(), (Point{0, 50})) << "kept within as the window grows";
}

TEST(Commands, AreNamedByTheirWordsInTheirOwnTableBeforeTheBase) {
  struct Both : Text {
    const CommandTableBase* commands() const override {
      static const CommandTable<Both> table(
          {{1, "&Grid", &Both::shout}, {2, "Grid...", &Both::shout}, {cmd::FileSave, "&Keep", &Both::shout}},
          Text::commands());
      return &table;
    }
  } both;
  const std::pair<const char*, int32_t> named[] = {
      {"grid", 1}, {"Grid...", 2}, {"KEEP", cmd::FileSave}, {"save", cmd::FileSave}, {"Shout", 40001}};
  for (const auto& [words, id] : named) EXPECT_EQ(both.commands()->find(std::string_view(words))->id, id);
  EXPECT_STREQ(both.commands()->find(cmd::FileSave)->text, "&Keep");
  EXPECT_STREQ(Text().CDocument::commands()->find(cmd::FileSave)->words.keys, "Ctrl+S");
  for (const char* none : {"", "&...", "gri"})
    EXPECT_EQ(both.commands()->find(std::string_view(none)), nullptr) << none;
}

TEST(MessageLoop, RunsPostedCommandsBeforeTimersAndTheIdlePass) {
  MessageLoop loop;
  std::vector<std::string> events;
  loop.onCommand = [&](int32_t id) {
    events.push_back("command " + std::to_string(id));
    if (id == 1) loop.post(3);
  };
  loop.onIdle = [&](int32_t count) {
    events.push_back("idle " + std::to_string(count));
    if (count == 1) loop.post(4);
    return count < 1;
  };
  loop.post(1);
  loop.post(2);
  EXPECT_TRUE(loop.turn());
  EXPECT_FALSE(loop.turn());
  EXPECT_TRUE(loop.turn());
  EXPECT_THAT(events,
              ElementsAre("command 1", "command 2", "command 3", "idle 0", "idle 1", "command 4", "idle 0"));
}

TEST(MessageLoop, TimersRepeatUntilKilledAndQuitEndsTheRun) {
  MessageLoop loop;
  int fired = 0;
  Timer timer(loop, 7);
  timer.start(1, [&] {
    if (++fired == 3) {
      timer.stop();
      loop.postQuit();
    }
  });
  loop.run();
  EXPECT_EQ(fired, 3);
  EXPECT_FALSE(loop.hasTimer(7));
}

TEST(MessageLoop, TimersEndWithTheirOwnersWhichTheirHandlersMayDestroy) {
  MessageLoop loop;
  const std::string words(100, 'x');
  std::string heard;
  std::optional<Timer> own, other;
  const auto onlyOnce = [&, words] {
    own.reset();
    other.reset();
    heard += words;
    loop.postQuit();
  };
  own.emplace(loop, 7, 1, onlyOnce);
  other.emplace(loop, 8, 1, onlyOnce);
  loop.run();
  EXPECT_EQ(heard, words);
  EXPECT_FALSE(loop.hasTimer(7));
  EXPECT_FALSE(loop.hasTimer(8));
}

TEST(MessageLoop, ATimerThatLostItsIdToAnotherLeavesThatAlone) {
  MessageLoop loop;
  Timer later(loop, 7);
  {
    Timer earlier(loop, 7, 1, [] {});
    later.start(1, [] {});
    EXPECT_FALSE(earlier.isRunning());
  }
  EXPECT_TRUE(later.isRunning());
}

TEST(MessageLoop, ATimerStartedAnewByAnotherIsNotDueAtOnce) {
  MessageLoop loop;
  int fired = 0;
  Timer second(loop, 8, 1, [&] { ++fired; });
  const Timer first(loop, 7, 1, [&] { second.start(3'600'000, [&] { ++fired; }); });
  while (loop.untilNextTimerMs(1) > 0) continue;
  std::this_thread::sleep_for(std::chrono::milliseconds(2));
  (void)loop.turn();
  EXPECT_EQ(fired, 0);
}

// Counts to a number, a step each.
struct Counting : Job {
  Counting(int toCount, std::vector<std::string>& told) : last(toCount), events(told) {}
  ~Counting() override {
    if (gone) gone();
  }
  std::string title() const override { return "Counting"; }
  std::string lostIfStopped() const override { return lost; }
  Progress progress() const override { return {"at " + std::to_string(at), at, last}; }
  bool step() override {
    if (at == failsAt) throw ArchiveException("the disc is gone");
    return ++at < last;
  }
  void end(bool cancelled) override {
    events.push_back((cancelled ? "stopped at " : "done at ") + std::to_string(at));
    if (next) next();
  }
  std::function<void()> next, gone;
  std::string lost;
  int at = 0, last, failsAt = -1;
  std::vector<std::string>& events;
};

class Jobs : public testing::Test {
 protected:
  Jobs() { text.words = "a"; }
  TestHost host;
  DocumentManager documents;
  Text& text =
      static_cast<Text&>(*documents.registerType(std::make_unique<DocumentType>(kTexts))->newDocument());
  std::vector<std::string> told;
};

TEST_F(Jobs, RunToTheirEndWhereNobodyDrivesThem) {
  text.start(std::make_unique<Counting>(5, told));
  EXPECT_EQ(told, std::vector<std::string>{"done at 5"});
  host.stopAt = 3;
  text.start(std::make_unique<Counting>(5, told));
  EXPECT_EQ(told.back(), "stopped at 3");
}

TEST_F(Jobs, KeepTheDocumentsCommandsOffUntilTheyEnd) {
  documents.drivesJobs = [] { return true; };
  text.start(std::make_unique<Counting>(1 << 30, told));
  text.start(std::make_unique<Counting>(5, told));
  CommandTarget* const chain[] = {&text};
  EXPECT_TRUE(documents.turnJobs());
  EXPECT_EQ(routeCommand(chain, 40001), CommandResult::Disabled);
  text.stopWork();
  EXPECT_EQ(routeCommand(chain, 40001), CommandResult::Done);
  EXPECT_EQ(told.size(), 1U) << "the second was not begun";
  text.start(std::make_unique<Counting>(5, told));
  EXPECT_FALSE(documents.turnJobs());
  EXPECT_EQ(told.back(), "done at 5");
}

TEST_F(Jobs, EndBeforeTheirDocumentCloses) {
  documents.drivesJobs = [] { return true; };
  text.start(std::make_unique<Counting>(5, told));
  EXPECT_TRUE(documents.close(text));
  EXPECT_EQ(told, std::vector<std::string>{"stopped at 0"});
}

TEST_F(Jobs, AreStoppedForAClosingOnlyWhenWantedWhereSomethingIsLost) {
  bool isDriven = true;
  documents.drivesJobs = [&isDriven] { return isDriven; };
  auto job = std::make_unique<Counting>(5, told);
  job->lost = "b is still being made.";
  text.start(std::move(job));
  text.type()->newDocument();
  host.answers = {Answer::No, Answer::No};
  EXPECT_FALSE(documents.close(text));
  EXPECT_FALSE(documents.closeAll());
  EXPECT_EQ(host.messages.back(), "b is still being made. Stop it?");
  EXPECT_EQ(documents.documents().size(), 2U) << "nothing closes, not those in front either";
  EXPECT_TRUE(told.empty());
  isDriven = false;
  EXPECT_TRUE(text.mayStopWork()) << "nobody is asked by a quiet program";
  isDriven = true;
  host.answers = {Answer::Yes};
  EXPECT_TRUE(documents.closeAll());
  EXPECT_EQ(told, std::vector<std::string>{"stopped at 0"});
}

TEST_F(Jobs, AreStoppedByASaveThatComesBeforeAClosing) {
  documents.drivesJobs = [] { return true; };
  text.start(std::make_unique<Counting>(5, told));
  text.setModified();
  host.answers = {Answer::Yes};
  host.paths = {std::nullopt};
  EXPECT_FALSE(text.saveModified());
  EXPECT_EQ(told, std::vector<std::string>{"stopped at 0"});
}

TEST_F(Jobs, GoBeforeADocumentThatGoesUnasked) {
  documents.drivesJobs = [] { return true; };
  auto job = std::make_unique<Counting>(5, told);
  job->gone = [this] { told.push_back("gone among " + std::to_string(documents.documents().size())); };
  text.start(std::move(job));
  text.type()->discard(text);
  EXPECT_EQ(told, std::vector<std::string>{"gone among 1"});
}

TEST_F(Jobs, AreDrivenOnWhereOneBeginsTheNext) {
  documents.drivesJobs = [] { return true; };
  auto job = std::make_unique<Counting>(1, told);
  job->next = [this] { text.start(std::make_unique<Counting>(5, told)); };
  text.start(std::move(job));
  EXPECT_TRUE(documents.turnJobs());
  EXPECT_FALSE(documents.turnJobs());
  EXPECT_EQ(told.back(), "done at 5");
}

TEST_F(Jobs, ThatFailAreToldAndStopped) {
  auto job = std::make_unique<Counting>(5, told);
  job->failsAt = 2;
  text.start(std::move(job));
  EXPECT_EQ(told, std::vector<std::string>{"stopped at 2"});
  EXPECT_EQ(host.messages.back(), text.title() + ": the disc is gone");
}

// Notes whose work made it.
struct Made : Text {
  void madeFrom(const CDocument& source) override { words = "of " + source.title(); }
};

TEST_F(Jobs, MakeDocumentsThatAreOfTheOneWorkedOn) {
  struct Making : Counting {
    using Counting::Counting;
    bool step() override {
      made = dynamic_cast<Made*>(type->newDocument());
      return false;
    }
    void end(bool) override { events.push_back(made->words); }
    DocumentType* type = nullptr;
    Made* made = nullptr;
  };
  DocumentClass facts = kTexts;
  facts.makeDocument = [] { return std::unique_ptr<CDocument>(std::make_unique<Made>()); };
  auto job = std::make_unique<Making>(1, told);
  job->type = documents.registerType(std::make_unique<DocumentType>(facts));
  text.start(std::move(job));
  EXPECT_EQ(told, std::vector<std::string>{"of " + text.title()});
}

}  // namespace
}  // namespace tarnvisor
