#include "settings/log.h"

#include "settings/profile.h"
#include "support/tempfolder.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

class Log : public ::testing::Test {
 protected:
  Log() { setLogFile(folder.file("a.log")); }
  ~Log() override {
    setLogging(false);
    setLogFile("zz.log");
  }
  std::string text() { return readWholeText(folder.file("a.log")).value_or("-"); }
  TempFolder folder;
};

TEST_F(Log, IsAppendedToOnlyWhileOnAndAlwaysReturnsItsFormat) {
  const char* pattern = "db=%s %i\n";
  EXPECT_EQ(logPrintf(pattern, "x", 1), pattern);
  EXPECT_EQ(text(), "-");
  ASSERT_TRUE(replaceFile(folder.file("a.log"), std::string_view("earlier run\n")));
  setLogging(true);
  EXPECT_EQ(logPrintf(pattern, "x", 2), pattern);
  EXPECT_EQ(text(), "earlier run\ndb=x 2\n") << "written when the call returns";
  logPrintf("%s", std::string(5000, 'y').c_str());
  logPrintf("%%\n");
  EXPECT_EQ(text(), "earlier run\ndb=x 2\n" + std::string(5000, 'y') + "%\n");
}

TEST_F(Log, ThatCantBeOpenedIsPassedOver) {
  setLogging(true);
  setLogFile(folder.file("none/a.log"));
  EXPECT_STREQ(logPrintf("lost\n"), "lost\n");
  EXPECT_FALSE(folderExists(folder.file("none")));
}

TEST_F(Log, MemoryReportHasFiveLinesInKilobytes) {
  setLogging(true);
  writeMemoryReport();
  EXPECT_THAT(text(), ::testing::MatchesRegex("physical [0-9]+KB\navailable [0-9]+KB\nload [0-9]+ %\n"
                                              "virtual [0-9]+KB %\nused virtual [0-9]+KB %\n"));
  const MemoryStatus m = memoryStatus();
  EXPECT_GT(m.totalPhysical, 64u << 20);
  EXPECT_LE(m.availablePhysical, m.totalPhysical);
  EXPECT_LE(m.loadPercent, 100u);
  EXPECT_LT(m.availableVirtual, m.totalVirtual);
  EXPECT_NE(text().find("physical " + std::to_string(m.totalPhysical / 1024) + "KB\n"), std::string::npos);
}

}  // namespace
}  // namespace tarnvisor
