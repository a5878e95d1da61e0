#include <sys/mount.h>
#include <sys/stat.h>

#include "archive/archive.h"
#include "framework/commandids.h"
#include "framework/documenttype.h"
#include "framework/messageloop.h"
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

TEST(Documents, SaveBesideAndRenameAndAskAboutChanges) {
  TestHost host;
  const TempFolder folder;
  DocumentManager manager;
  DocumentType* type = manager.registerType(std::make_unique<DocumentType>(kTexts));
  auto* text = static_cast<Text*>(type->newDocument());
  EXPECT_EQ(text->title(), "Text1");
  text->words = "one";
  text->setModified();
  host.answers.push_back(Answer::Cancel);
  EXPECT_FALSE(manager.close(*text));
  host.answers.push_back(Answer::Yes);
  host.paths.push_back(folder.file("a.txt"));
  EXPECT_TRUE(manager.close(*text));
  EXPECT_EQ(manager.active(), nullptr);
  EXPECT_EQ(readWholeText(folder.file("a.txt")), "one");

  auto* again = static_cast<Text*>(type->openDocument(folder.file("a.txt")));
  ASSERT_NE(again, nullptr);
  EXPECT_FALSE(again->isModified());
  again->words = "two";
  again->setModified();
  host.answers.push_back(Answer::No);
  EXPECT_TRUE(manager.closeAll());
  EXPECT_EQ(readWholeText(folder.file("a.txt")), "one");
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path()), {}), 1)
      << "nothing is left beside";
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

TEST(MessageLoopTest, RunsPostedCommandsBeforeTimersAndTheIdlePass) {
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

TEST(MessageLoopTest, TimersRepeatUntilKilledAndQuitEndsTheRun) {
  MessageLoop loop;
  int fired = 0;
  loop.setTimer(7, 1, [&] {
    if (++fired == 3) {
      loop.killTimer(7);
      loop.postQuit();
    }
  });
  loop.run();
  EXPECT_EQ(fired, 3);
  EXPECT_FALSE(loop.hasTimer(7));
}

}  // namespace
}  // namespace tarnvisor
