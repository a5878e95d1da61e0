// Choosing another profile while the program runs.

#include "frame/commandids.h"
#include "frame/mainframe.h"
#include "frame/profileselection.h"
#include "support/apptest.h"

namespace tarnvisor {
namespace {

struct Face : ProfileFace {
  std::function<bool(ProfileDialog&)> act;
  bool run(ProfileDialog& dialog) override { return act(dialog); }
};

class Profiles : public AppTest {
 protected:
  void SetUp() override {
    ASSERT_TRUE(replaceFile(folder.file("tarnvisor.def"), std::string_view("[Settings]\nfactory=1\n")));
    writeProfile("[Settings]\nown=1\n[directories]\nbasename=normal base\n");
    ASSERT_TRUE(start());
    frame = std::make_unique<CBasicMainFrame>(*app);
    frame->profileFace = &face;
  }
  void choose(std::function<bool(ProfileDialog&)> act) {
    face.act = std::move(act);
    EXPECT_EQ(app->runCommand(cmd::SelectProfile), CommandResult::Done);
  }
  Face face;
  std::unique_ptr<CBasicMainFrame> frame;
};

TEST_F(Profiles, AreCopiedChosenRemovedAndReset) {
  choose([&](ProfileDialog& d) {
    EXPECT_THAT(d.names(), ElementsAre("normal"));
    EXPECT_TRUE(addProfileCopy(d, " Study of ring fingers, 2nd "));
    return true;
  });
  EXPECT_EQ(settings.path(), folder.file("Study of ring fingers, 2nd.ini"));
  EXPECT_EQ(process.baseName, "normal base");
  process.baseName = "study base";  // kept in the profile that is left
  choose([&](ProfileDialog& d) {
    EXPECT_EQ(d.selected(), "Study of ring fingers, 2nd") << "the one in use";
    EXPECT_THAT(removeProfile(d).why(), HasSubstr("is in use"));
    d.select("normal");
    return true;
  });
  EXPECT_EQ(settings.path(), folder.file("tarnvisor.ini"));
  EXPECT_EQ(process.baseName, "normal base");
  choose([&](ProfileDialog& d) {
    d.select("Study of ring fingers, 2nd");
    return false;  // Cancel
  });
  EXPECT_EQ(settings.path(), folder.file("tarnvisor.ini"));
  EXPECT_THAT(readWholeText(folder.file("Study of ring fingers, 2nd.ini")).value(), HasSubstr("study base"));
  choose([&](ProfileDialog& d) {
    EXPECT_FALSE(removeProfile(d)) << "normal stays";
    EXPECT_TRUE(resetProfile(d));
    d.select("Study of ring fingers, 2nd");
    EXPECT_TRUE(removeProfile(d));
    EXPECT_EQ(d.selected(), "normal");
    return true;
  });
  EXPECT_THAT(profile(), HasSubstr("factory=1"));
  EXPECT_THAT(readWholeText(folder.file("tarnvisor.bak")).value(), HasSubstr("own=1"));
  EXPECT_TRUE(fileExists(folder.file("Study of ring fingers, 2nd.bak")));
  EXPECT_FALSE(fileExists(folder.file("Study of ring fingers, 2nd.ini")));
}

TEST_F(Profiles, AResetTakesCalculationsBackAndLeavesTheRecordingFolder) {
  process.velocity.ped1 = 99;
  exams->setRecordingFolder("/data/exam");
  choose([](ProfileDialog& d) {
    EXPECT_TRUE(resetProfile(d));
    return true;
  });
  EXPECT_EQ(process.velocity.ped1, 10) << "the factory profile does not name it";
  EXPECT_EQ(process.recordDir, "/data/exam");
}

TEST_F(Profiles, NamesThatCannotBeAreRefusedInWords) {
  ProfileDialog dialog = presentProfiles(options.programPath);
  const std::pair<std::string, const char*> cases[] = {{"", "needs a name"},
                                                       {"  ", "needs a name"},
                                                       {"../up", "another folder"},
                                                       {"a\\b", "another folder"},
                                                       {std::string("a\0b", 3), "another folder"},
                                                       {"Normal", "own profile"},
                                                       {"tarnvisor", "already"},
                                                       {std::string(251, 'n'), "too long"}};
  for (const auto& [name, words] : cases) {
    const Outcome outcome = addProfileCopy(dialog, name);
    EXPECT_FALSE(outcome) << name;
    EXPECT_THAT(outcome.why(), HasSubstr(words));
  }
  EXPECT_THAT(dialog.names(), ElementsAre("normal"));
  ASSERT_EQ(std::remove(folder.file("tarnvisor.def").c_str()), 0);
  EXPECT_THAT(resetProfile(dialog).why(), HasSubstr("factory profile"));
  EXPECT_THAT(profile(), HasSubstr("own=1")) << "nothing was moved away";
}

TEST_F(Profiles, NeedAFace) {
  frame->profileFace = nullptr;
  EXPECT_EQ(app->runCommand(cmd::SelectProfile), CommandResult::Disabled);
}

}  // namespace
}  // namespace tarnvisor
