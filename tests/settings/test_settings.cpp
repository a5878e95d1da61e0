#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/files.h"
#include "base/text.h"
#include "settings/settings.h"
#include "support/tempfolder.h"

namespace tarnvisor {
namespace {

TEST(Settings, ReadValuesWhateverTheCaseAndUpTo249Characters) {
  TempFolder folder;
  CSettingsFile store(folder.file("a.ini"));
  ASSERT_TRUE(replaceFile(store.path(), "[One]\nKey=-12\nlong=" + std::string(300, 'x') + "\nword=abc\n"));
  EXPECT_EQ(store.getInt("oNE", "kEY", 5), -12);
  EXPECT_EQ(store.getInt("one", "word", 5), 0);
  EXPECT_EQ(store.getInt("one", "none", 5), 5);
  EXPECT_EQ(store.getString("one", "long", ""), std::string(249, 'x'));
  EXPECT_EQ(store.getDouble("one", "none", 0.1234567), 0.123457);
}

TEST(Settings, WritesKeepOtherLinesAndTheirOrder) {
  TempFolder folder;
  CSettingsFile store(folder.file("a.ini"));
  ASSERT_TRUE(replaceFile(store.path(), "; mine\n[b]\nx=1\n\n[A]\ny=2\njunk\n"));
  store.setInt("B", "X", -7);
  store.setString("b", "z", "new");
  EXPECT_EQ(readWholeText(store.path()), "; mine\n[b]\nX=-7\nz=new\n\n[A]\ny=2\njunk\n");
}

TEST(Settings, AWriteIntoAMissingFolderIsLostSilently) {
  TempFolder folder;
  CSettingsFile store(folder.file("none/a.ini"));
  store.setInt("a", "b", 1);
  EXPECT_FALSE(fileExists(store.path()));
}

TEST(Settings, TwoProgramsWritingAtOnceKeepEachOthersKeys) {
  TempFolder folder;
  CSettingsFile store(folder.file("a.ini"));
  constexpr int kKeys = 25;
  const pid_t other = ::fork();
  ASSERT_GE(other, 0);
  for (int i = 0; i < kKeys; ++i) store.setInt("s", format("%s%i", other ? "p" : "c", i), i);
  if (other == 0) ::_exit(0);
  ::waitpid(other, nullptr, 0);
  for (const char* writer : {"p", "c"})
    for (int i = 0; i < kKeys; ++i) EXPECT_EQ(store.getInt("s", format("%s%i", writer, i), -1), i) << writer;
}

}  // namespace
}  // namespace tarnvisor
