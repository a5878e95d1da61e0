// Files of a server, fair and foul.
#include "remote/ftpfiles.h"

#include "remote/ftplisting.h"
#include "support/ftpserver.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

class Server : public ::testing::Test {
 protected:
  Outcome fetch(const std::string& path) {
    got.clear();
    const auto transfer = ftp.fetch(account, path, [this](const void* bytes, size_t count) {
      got.append(static_cast<const char*>(bytes), count);
      return true;
    });
    while (transfer->step()) std::this_thread::yield();
    return transfer->result();
  }
  Outcome list(const std::string& folder) {
    const auto transfer = ftp.list(account, folder, entries);
    while (transfer->step()) std::this_thread::yield();
    return transfer->result();
  }
  FtpServer server;
  FtpFiles ftp{1};
  RemoteAccount account{"127.0.0.1", server.port, "me", "secret"};
  std::string got;
  std::vector<RemoteEntry> entries;
};

TEST_F(Server, GivesFoldersAndFilesByteForByte) {
  std::string bytes(3'000'000, '\0');
  for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 7 / 3);
  server.files["a b%.mve"] = bytes;
  server.listing =
      "total 3\r\n-rw-r--r-- 1 o g 3000000 Jan 31 2024 a b%.mve\r\ndrwxr-xr-x 2 o g 0 Jan 31 12:00 sub\r\n";
  EXPECT_EQ(list("/data").why(), "");
  ASSERT_EQ(entries.size(), 2u);
  EXPECT_EQ(entries[0].name, "sub");
  EXPECT_EQ(fetch("/data/" + entries[1].name).why(), "");
  EXPECT_TRUE(got == bytes);
}

TEST_F(Server, ThatRefusesHangsOrSendsHalfIsToldOf) {
  using Mood = FtpServer::Mood;
  server.files["a"] = std::string(100'000, 'x');
  EXPECT_THAT(fetch("none").why(), HasSubstr("no such file"));
  EXPECT_THAT(list("gone").why(), HasSubstr("no such file or folder"));
  const std::pair<Mood, const char*> moods[] = {{Mood::SendsHalf, "ended before all was sent"},
                                                {Mood::RefusesUsers, "does not take this user name"},
                                                {Mood::HangsInFile, "does not answer"},
                                                {Mood::IsSilent, "does not answer"}};
  for (const auto& [mood, words] : moods) {
    server.mood = mood;
    EXPECT_THAT(fetch("a").why(), HasSubstr(words));
    if (mood == Mood::HangsInFile) server.mood = Mood::Fair;  // and it goes on
  }
}

TEST_F(Server, IsNotWaitedForAtTheEnd) {
  FtpFiles patient{10};
  for (const FtpServer::Mood mood : {FtpServer::Mood::KeepsLastWord, FtpServer::Mood::IgnoresQuit}) {
    server.mood = mood;
    server.files["a"] = "whole";
    auto transfer = patient.fetch(account, "a", [](const void*, size_t) { return true; });
    while (transfer->done() < 5 && transfer->step()) std::this_thread::yield();
    EXPECT_TRUE(transfer->step() || transfer->result());
    transfer.reset();
    EXPECT_FALSE(server.gaveUp);
  }
}

TEST_F(Server, NamesThatCannotBeOnesAreRefused) {
  for (const char* name : {"", "a/b", "user@host", "x y", "h\r\nDELE a"}) {
    account.server = name;
    EXPECT_THAT(list("").why(), HasSubstr("no name of a server")) << name;
  }
  account.server = "127.0.0.1";
  account.port = 1;
  EXPECT_THAT(list("").why(), HasSubstr("takes no connection at port 1"));
  account.port = server.port;
  EXPECT_FALSE(fetch("a\r\nDELE b"));
  EXPECT_FALSE(fetch("../../etc/passwd"));
}

TEST(FtpListing, OfBothKindsIsRead) {
  const auto entries = parseFtpListing(
      "drwxr-xr-x   2 owner group     4096 Jan  1 12:00 .\n"
      "-rw-r--r--   1 owner           1234 Feb 29  2024 two  blanks \n"
      "lrwxrwxrwx   1 owner group        7 Mar 01 2023 link -> /etc/passwd\n"
      "01-31-24  12:00PM       <DIR>          Folder\r\n"
      "2024-01-31 12:00 77 file.tv1\r\n"
      "-rw-r--r-- cut\n"
      "garbage\n"
      "-rw-r--r-- 1 o g x Jan 1 2020 ../up\n");
  const std::tuple<const char*, bool, int64_t> expected[] = {{"Folder", true, -1},
                                                             {"../up", false, -1},
                                                             {"file.tv1", false, 77},
                                                             {"link", false, -1},
                                                             {"two  blanks ", false, 1234}};
  ASSERT_EQ(entries.size(), std::size(expected));
  for (size_t i = 0; i < entries.size(); ++i)
    EXPECT_EQ(std::tuple(entries[i].name, entries[i].isFolder, entries[i].size), expected[i]);
}

}  // namespace
}  // namespace tarnvisor
