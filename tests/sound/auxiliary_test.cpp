// A serial line, at the other end of a pseudo terminal.
#include "sound/auxiliary.h"

#include <fcntl.h>
#include <unistd.h>

#include "support/testing.h"

namespace tarnvisor {
namespace {

class SerialLine : public ::testing::Test {
 protected:
  void SetUp() override {
    far = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_EQ(::grantpt(far), 0);
    ASSERT_EQ(::unlockpt(far), 0);
    std::string why;
    line = openSerialLine(::ptsname(far), why);
    ASSERT_TRUE(line) << why;
  }
  ~SerialLine() override { ::close(far); }
  // Once the first channel shows what was sent last: a terminal takes its time.
  AuxiliaryValues after(const std::string& sent, int16_t first) {
    EXPECT_EQ(::write(far, sent.data(), sent.size()), static_cast<ssize_t>(sent.size()));
    for (int i = 0; i < 10000 && line->values()[0] != first; ++i) ::usleep(1000);
    return line->values();
  }
  int far = -1;
  std::unique_ptr<AuxiliarySource> line;
};

TEST_F(SerialLine, GivesTheNewestWholeLineOfNumbers) {
  EXPECT_THAT(line->values(), ::testing::Each(0));
  EXPECT_THAT(after("1 2,3\r\n4 -5\n7", 4), ::testing::ElementsAre(4, -5, 3, 0, 0, 0, 0));
  EXPECT_THAT(after(" 8\n", 7), ::testing::ElementsAre(7, 8, 3, 0, 0, 0, 0));
}

TEST_F(SerialLine, PassesOverRubbish) {
  const std::string rubbish[] = {"x\n",    "8 8 8 8 8 8 8 8\n",           "99999\n",
                                 "4x 5\n", std::string(2000, '7') + "\n", std::string("\0\xff\x80 9\n", 6)};
  int16_t next = 0;
  for (const std::string& text : rubbish) {
    ++next;
    EXPECT_THAT(after(text + std::to_string(next) + " 2 3\n", next),
                ::testing::ElementsAre(next, 2, 3, 0, 0, 0, 0))
        << text;
  }
}

TEST_F(SerialLine, TellsTheBandwidth) {
  ASSERT_TRUE(line->setBandwidth(24000));
  ASSERT_TRUE(line->setBandwidth(1500));
  std::string got;
  for (char letter = 0; got.size() < 10 && ::read(far, &letter, 1) == 1;) got += letter;
  EXPECT_EQ(got, "B240\rB015\r");
  std::string why;
  EXPECT_FALSE(openSerialLine("/dev/null", why));
  EXPECT_THAT(why, ::testing::StartsWith("The serial line /dev/null can't be used: "));
}

}  // namespace
}  // namespace tarnvisor
