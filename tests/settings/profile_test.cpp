#include "settings/profile.h"

#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "settings/profileuse.h"
#include "settings/settings.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

class Profile : public ::testing::Test {
 protected:
  ~Profile() override {
    settings.setPath("");
    hwSettings.setPath("");
  }
  void put(const std::string& name, const std::string& text) {
    ASSERT_TRUE(replaceFile(folder.file(name), std::string_view(text)));
  }
  // The file's text; "-" when there is none.
  std::string get(const std::string& name) { return readWholeText(folder.file(name)).value_or("-"); }

  TempFolder folder;
};

struct Face : ProfileFace {
  explicit Face(std::function<bool(ProfileDialog&)> todo) : answer(std::move(todo)) {}
  bool run(ProfileDialog& d) override {
    ++runs;
    return answer(d);
  }
  std::function<bool(ProfileDialog&)> answer;
  int runs = 0;
};

TEST_F(Profile, IsOneRunsAtATime) {
  put("p.ini", "");
  {
    const ProfileClaim first(folder.file("p.ini"));
    EXPECT_TRUE(first.isOurs());
    const ProfileClaim second(folder.file("p.ini"));
    EXPECT_FALSE(second.isOurs());
  }
  EXPECT_TRUE(ProfileClaim(folder.file("p.ini")).isOurs());
  EXPECT_EQ(get("p.ini.lock"), "-") << "it leaves nothing behind";
}

TEST_F(Profile, ThatIsNamedAndMissingIsTheFactorys) {
  put("program.def", "[a]\nx=1\n");
  ASSERT_TRUE(selectProfileFile(folder.file("program"), folder.file("own.ini")));
  EXPECT_EQ(get("own.ini"), "[a]\nx=1\n");
}

TEST_F(Profile, IsCopiedFromTheFactoryProfileOnlyWhereThereIsNoOther) {
  const std::string factory("[a]\r\nx=1\n\0\xff", 12);
  const std::tuple<const char*, bool, const char*, const char*, std::string> cases[] = {
      {"only .def", true, nullptr, nullptr, factory},
      {"neither", false, nullptr, nullptr, "-"},
      {"both", true, "[own]\n", nullptr, "[own]\n"},
      {"another .ini", true, nullptr, "", "-"}};
  for (const auto& [what, def, own, other, expected] : cases) {
    for (const char* name : {"station.def", "station.ini", "other.ini"})
      std::filesystem::remove(folder.file(name));
    if (def) put("station.def", factory);
    if (own) put("station.ini", own);
    if (other) put("other.ini", other);
    ASSERT_TRUE(selectProfile(folder.file("station.bin"), false));
    EXPECT_EQ(get("station.ini"), expected) << what;
    EXPECT_EQ(settings.path(), folder.file("station.ini")) << what;
    EXPECT_EQ(hwSettings.path(), folder.file("station.HW"));
    EXPECT_EQ(programFolder(), folder.path());
    EXPECT_EQ(installedFolder(), folder.path());
  }
}

TEST_F(Profile, PathOfUpTo260CharactersIsTaken) {
  for (const size_t length : {260u, 261u}) {
    settings.setPath("");
    std::string path = folder.path();
    while (path.size() + 2 < length) path += "./";
    path += std::string(length - path.size(), 's');
    EXPECT_TRUE(selectProfile(path, false));
    EXPECT_EQ(settings.path(), length == 260 ? path + ".ini" : "");
  }
}

TEST_F(Profile, StandsInTheUsersConfigurationFolderWhereTheProgramsCantBeWritten) {
  ASSERT_TRUE(makeFolderPath(folder.file("app")));
  ASSERT_TRUE(makeFolderPath(folder.file("home")));
  put("app/station.def", "[f]\nx=1\n");
  for (const auto& [name, mode] : {std::pair{"", 0755}, {"app", 0555}, {"home", 0777}})
    ASSERT_EQ(::chmod(folder.file(name).c_str(), static_cast<mode_t>(mode)), 0);
  for (const bool ownVariable : {true, false}) {
    const pid_t child = ::fork();  // the superuser could write anywhere
    ASSERT_GE(child, 0);
    const std::string expected =
        folder.file(ownVariable ? "home/tarnvisor/" : "home/.config/tarnvisor/") + "station.ini";
    if (child == 0) {
      if (::geteuid() == 0 && ::setresuid(65534, 65534, 65534) != 0) ::_exit(2);
      ::setenv("XDG_CONFIG_HOME", ownVariable ? folder.file("home").c_str() : "", 1);
      ::setenv("HOME", folder.file("home").c_str(), 1);
      const bool good = selectProfile(folder.file("app/station"), false) && settings.path() == expected &&
                        installedFolder() == folder.file("app/") && programFolder() == folderOf(expected);
      ::_exit(good ? 0 : 1);
    }
    int status = -1;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(status, 0);
    EXPECT_EQ(readWholeText(expected), "[f]\nx=1\n");
  }
  ::chmod(folder.file("app").c_str(), 0755);
}

TEST_F(Profile, DialogIsShownOnRequestWhenThereAreProfilesAndItsChoiceIsUsed) {
  Face never([](ProfileDialog&) { return false; });
  EXPECT_TRUE(selectProfile(folder.file("station"), true, &never));
  put("station.ini", "");
  put("left eye, dim.ini", "");
  EXPECT_TRUE(selectProfile(folder.file("station"), false, &never));
  EXPECT_EQ(never.runs, 0);
  EXPECT_FALSE(selectProfile(folder.file("station"), true, &never)) << "Cancel ends the start";
  for (const auto& [choice, file] : {std::pair{"normal", "station.ini"},
                                     {"left eye, dim", "left eye, dim.ini"},
                                     {"unlisted", "station.ini"}}) {
    Face choose([&choice = choice](ProfileDialog& d) {
      d.select(choice);
      return true;
    });
    EXPECT_TRUE(selectProfile(folder.file("station"), true, &choose));
    EXPECT_EQ(settings.path(), folder.file(file));
    EXPECT_EQ(hwSettings.path(), folder.file("station.HW")) << "the machine's store is one for all profiles";
  }
}

TEST_F(Profile, ThatIsNamedHasItsLogAndMachineStoreBesideIt) {
  ASSERT_TRUE(selectProfileFile(folder.file("bin/station"), folder.file("mine.ini")));
  EXPECT_EQ(settings.path(), folder.file("mine.ini"));
  EXPECT_EQ(hwSettings.path(), folder.file("mine.HW"));
  EXPECT_EQ(programFolder(), folder.path());
  EXPECT_EQ(installedFolder(), folder.file("bin/"));
}

TEST_F(Profile, RemembersTheFolderOfADocument) {
  settings.setPath(folder.file("a.ini"));
  rememberFolder(folder.file("x.tv1"));
  EXPECT_EQ(settings.getString("SETTINGS", "directory", ""), folder.path());
  rememberFolder("x.tv1");
  EXPECT_EQ(settings.getString("settings", "directory", ""),
            withSeparator(std::filesystem::current_path().string()));
}

}  // namespace
}  // namespace tarnvisor
