#include "settings/settings.h"

#include <sys/wait.h>
#include <unistd.h>

#include "base/text.h"
#include "support/tempfolder.h"
#include "support/testing.h"

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

TEST(Settings, ReadNumbersFromTheirBeginning) {
  TempFolder folder;
  CSettingsFile store(folder.file("a.ini"));
  const std::tuple<const char*, int32_t, double> cases[] = {{"+5", 5, 5},
                                                            {"-7", -7, -7},
                                                            {"abc", 0, 0},
                                                            {"", 0, 0},
                                                            {"12x", 12, 12},
                                                            {"3.75", 3, 3.75},
                                                            {" 42 ", 42, 42},
                                                            {"\"8\"", 8, 8},
                                                            {"4294967295", -1, 4294967295.0},
                                                            {"-2147483648", INT32_MIN, -2147483648.0},
                                                            {".5e1", 0, 5}};
  for (const auto& [text, whole, number] : cases) {
    ASSERT_TRUE(replaceFile(store.path(), "[s]\nk=" + std::string(text) + "\n"));
    EXPECT_EQ(store.getInt("s", "k", 9), whole) << text;
    EXPECT_EQ(store.getDouble("s", "k", 9), number) << text;
  }
  for (const char* noNumber : {"nan", "inf", "1e999"}) {
    ASSERT_TRUE(replaceFile(store.path(), "[s]\nk=" + std::string(noNumber) + "\n"));
    EXPECT_EQ(store.getDouble("s", "k", 9), 9) << noNumber;
  }
}

TEST(Settings, WrittenValuesComeBack) {
  TempFolder folder;
  CSettingsFile store(folder.file("a.ini"));
  store.setUnsigned("s", "u", UINT32_MAX);
  store.setDouble("s", "d", -1.23456789);
  store.setInt("s", "i", INT32_MIN);
  EXPECT_EQ(readWholeText(store.path()), "[s]\nu=4294967295\nd=-1.234568\ni=-2147483648\n");
  EXPECT_EQ(store.getInt("s", "u", 0), -1);
  EXPECT_EQ(store.getDouble("s", "d", 0), -1.234568);
  for (const char* text : {"", "plain", " a b ", "\"quoted\"", "'", "x=y;z [w]", "C:\\data\\"}) {
    store.setString("s", "text", text);
    EXPECT_EQ(store.getString("S", "TEXT", "none"), text);
  }
  store.setString("s", "text", "two\r\n[lines]");
  EXPECT_EQ(store.getString("s", "text", ""), "two  [lines]");
  EXPECT_EQ(store.getString("s", "missing", std::string(300, 'd')), std::string(249, 'd'));
}

TEST(Settings, WritesKeepOtherLinesAndTheirOrder) {
  TempFolder folder;
  CSettingsFile store(folder.file("a.ini"));
  ASSERT_TRUE(replaceFile(store.path(), "; mine\n[b]\nx=1\n\n[A]\ny=2\njunk\n"));
  store.setInt("B", "X", -7);
  store.setString("b", "z", "new");
  EXPECT_EQ(readWholeText(store.path()), "; mine\n[b]\nX=-7\nz=new\n\n[A]\ny=2\njunk\n");
}

TEST(Settings, SetTogetherLoseNoneOfEachOther) {
  TempFolder folder;
  CSettingsFile store(folder.file("a.ini"));
  store.setInt("a", "x", 1);
  store.set({{"a", "x", "2"}, {"b", "y", "3"}});
  EXPECT_EQ(readWholeText(store.path()), "[a]\nx=2\n[b]\ny=3\n");
}

TEST(Settings, ASectionInSeveralPlacesIsOne) {
  TempFolder folder;
  CSettingsFile store(folder.file("a.ini"));
  ASSERT_TRUE(replaceFile(store.path(), "[Settings]\na=1\n[other]\nb=1\n[settings]\nb=2\n"));
  EXPECT_EQ(store.getInt("settings", "b", 0), 2);
  store.setInt("Settings", "b", 3);
  EXPECT_EQ(readWholeText(store.path()), "[Settings]\na=1\n[other]\nb=1\n[settings]\nb=3\n");
}

TEST(Settings, AByteOrderMarkHidesNoSection) {
  TempFolder folder;
  CSettingsFile store(folder.file("a.ini"));
  ASSERT_TRUE(replaceFile(store.path(), "\xef\xbb\xbf[a]\nx=1\n"));
  EXPECT_EQ(store.getInt("a", "x", 0), 1);
  store.setInt("a", "x", 2);
  EXPECT_EQ(readWholeText(store.path()), "\xef\xbb\xbf[a]\nx=2\n");
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
