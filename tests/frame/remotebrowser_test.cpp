// Files on a server: lists, what is got and opened, the password's place.
#include "frame/remotebrowser.h"

#include <sys/stat.h>

#include "assembly/assembly.h"
#include "frame/commandids.h"
#include "remote/ftpfiles.h"
#include "settings/settings.h"
#include "support/apptest.h"
#include "support/ftpserver.h"

namespace tarnvisor {
namespace {

class ServerFiles : public AppTest {
 protected:
  void SetUp() override {
    registerStoredClasses();
    std::filesystem::create_directory(folder.file("in"));
    writeProfile("[ftp]\nserver=127.0.0.1\nport=" + std::to_string(server.port) +
                 "\nusername=me\npassword=secret\npath=/data\nfolder=" + folder.file("in") + "\n");
    options.documentTable = documentTable();
    makeApp();
    ASSERT_TRUE(app->initInstance(options));
    browser.emplace(*app);
  }
  void TearDown() override {
    browser.reset();
    app->documents.discardAll();
  }
  void wait() {
    while (browser->isBusy()) app->loop.turn();
  }
  void list(const std::string& lines) {
    server.listing = lines;
    browser->connect("");
    wait();
  }
  // Of a listing of plain files.
  std::string line(const std::string& name) {
    return "-rw-r--r-- 1 o g " + std::to_string(server.files[name].size()) + " Jan 1 2024 " + name + "\r\n";
  }
  void choose(size_t row) {
    browser->choose(row);
    wait();
  }
  std::vector<std::string> kept() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder.file("in")))
      names.push_back(entry.path().filename().string());
    std::ranges::sort(names);
    return names;
  }

  FtpServer server;
  FtpFiles ftp{1};
  Host ports{host, host, host, host, host, host, host, host, host, ftp};
  HostScope scope{ports};
  std::optional<RemoteBrowser> browser;
};

TEST_F(ServerFiles, AreListedByTheirFolder) {
  EXPECT_EQ(browser->rows().at(0).name, "No FTP connection.");
  server.files["a.bmp"] = "12345";
  list("drwxr-xr-x 2 o g 0 Jan 1 2024 sub\r\n" + line("a.bmp"));
  ASSERT_EQ(browser->rows().size(), 2u) << browser->status();
  EXPECT_EQ(browser->rows()[0].detail, "<DIR>");
  EXPECT_EQ(browser->rows()[1].detail, "5 bytes");
  browser->choose(0);
  EXPECT_EQ(browser->status(), "attempting to read /data/sub");
  wait();
  EXPECT_EQ(settings.getString("ftp", "path", ""), "/data/sub");
  browser->goUp();
  wait();
  EXPECT_EQ(browser->path, "/data");
}

TEST_F(ServerFiles, ComeWithTheirSecondFileAndOpen) {
  server.files = {{"s.hdr", "WIDTH 6\nHEIGHT 2"}, {"s.raw", std::string(24, 'x')}};
  list(line("s.hdr") + line("s.raw"));
  choose(0);
  EXPECT_THAT(kept(), ElementsAre("s.hdr", "s.raw"));
  ASSERT_NE(app->documents.active(), nullptr);
  EXPECT_EQ(app->documents.active()->title(), "s");
  EXPECT_TRUE(host.messages.empty());
}

TEST_F(ServerFiles, ThatCannotBeHadLeaveNothing) {
  const std::string half(200'000, 'x');
  server.files = {{"v.dtv", "d"}, {"v.mve", half}, {"w.dtv", "d"}};
  list(line("v.dtv") + line("v.mve") + line("w.dtv"));
  choose(2);
  EXPECT_THAT(host.messages.back(), HasSubstr("error getting second file"));
  server.mood = FtpServer::Mood::SendsHalf;
  choose(1);
  EXPECT_THAT(host.messages.back(), testing::StartsWith("error getting file: v.mve"));
  server.mood = FtpServer::Mood::Fair;
  server.files["v.mve"].resize(100);  // less than was listed
  choose(0);
  EXPECT_THAT(host.messages.back(),
              testing::StartsWith("error getting second file: v.mve: 100 of its 200000"));
  server.files["v.mve"] = half;
  server.mood = FtpServer::Mood::HangsInFile;
  browser->choose(1);
  while (browser->done() == 0) app->loop.turn();
  browser->cancel();
  EXPECT_FALSE(browser->isBusy());
  EXPECT_EQ(browser->status(), "cancelled");
  EXPECT_THAT(kept(), ElementsAre());
  EXPECT_TRUE(app->documents.documents().empty());
}

TEST_F(ServerFiles, StayInTheFolderAndReplaceOnlyWithAYes) {
  for (const char* name : {"../x.bmp", "/etc/x.bmp", "..\\x.bmp"}) {
    list(line(name));
    ASSERT_EQ(browser->rows().size(), 1u);
    choose(0);
    EXPECT_THAT(host.messages.back(), HasSubstr("could lead elsewhere")) << name;
  }
  EXPECT_THAT(kept(), ElementsAre());
  ASSERT_TRUE(replaceFile(folder.file("in/a.hdr"), std::string_view("mine")));
  server.files = {{"a.hdr", "WIDTH 6\nHEIGHT 2"}, {"a.raw", std::string(24, 'x')}};
  list(line("a.hdr") + line("a.raw"));
  host.answers = {Answer::No};
  choose(0);
  EXPECT_EQ(readWholeText(folder.file("in/a.hdr")), "mine");
  EXPECT_FALSE(fileExists(folder.file("in/a.raw")));
}

TEST_F(ServerFiles, PasswordLeavesTheProfileForAFileOfTheUsersOwn) {
  EXPECT_EQ(settings.getString("ftp", "password", ""), "");
  struct stat facts {};
  ASSERT_EQ(::stat((withoutExtension(settings.path()) + ".ftp-password").c_str(), &facts), 0);
  EXPECT_EQ(facts.st_mode & 0777, 0600u);
  server.password = "other";
  list("");
  EXPECT_THAT(browser->status(), HasSubstr("does not take this user name and password"));
  browser->connect("other");
  wait();
  EXPECT_TRUE(browser->isConnected());
  EXPECT_EQ(readWholeText(settings.path())->find("other"), std::string::npos);
}

TEST_F(ServerFiles, PasswordIsKeptOnceTakenAndGivenToNobodyElse) {
  const auto isIn = [&](const char* password) {
    browser->connect(password);
    wait();
    return browser->isConnected();
  };
  EXPECT_FALSE(isIn("wrong"));
  EXPECT_TRUE(isIn("")) << "the wrong one is not kept";
  browser->username = "somebody";
  EXPECT_FALSE(browser->keepsPassword());
  EXPECT_FALSE(isIn(""));
  browser->username = "me";
  browser->port = server.port + 1;
  EXPECT_FALSE(browser->keepsPassword());
}

TEST_F(ServerFiles, WithoutAnyConnectionSaySo) {
  const HostScope faceless(host.ports);
  browser->connect("");
  EXPECT_EQ(host.messages.back(), RemoteBrowser::kCannotConnect);
  EXPECT_EQ(browser->status(), "No FTP connection.");
  browser->server = "";
  browser->connect("");
  EXPECT_EQ(browser->rows().at(0).name, "No FTP connection.");
}

}  // namespace
}  // namespace tarnvisor
