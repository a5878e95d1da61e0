// The one function of the message loop that other threads call.

#include <atomic>

#include "framework/messageloop.h"
#include "support/testing.h"

namespace tarnvisor {
namespace {

TEST(Wake, OfAnotherThreadEndsTheSleep) {
  MessageLoop loop;
  std::atomic<int> frames = 0;
  int seen = 0;
  loop.onIdle = [&](int32_t) {
    seen = frames;
    if (seen == 3) loop.postQuit();
    return false;
  };
  std::thread camera([&] {
    for (int i = 0; i < 3; ++i) {
      ++frames;
      loop.wakeFromAnyThread();
    }
  });
  loop.run();
  camera.join();
  EXPECT_EQ(seen, 3);
}

TEST(Wake, ManyComeToOneUntilTheNextTurn) {
  MessageLoop loop;
  int told = 0;
  loop.setWaker([&] { ++told; });
  const auto wakeOften = [&] {
    for (int i = 0; i < 100; ++i) loop.wakeFromAnyThread();
  };
  std::thread one(wakeOften), other(wakeOften);
  one.join();
  other.join();
  EXPECT_EQ(told, 1);
  EXPECT_TRUE(loop.isWoken());
  (void)loop.turn();
  EXPECT_FALSE(loop.isWoken());
  loop.wakeFromAnyThread();
  EXPECT_EQ(told, 2);
}

TEST(Wake, OneDuringATurnIsKeptForTheNext) {
  MessageLoop loop;
  loop.onIdle = [&](int32_t) {
    std::thread([&] { loop.wakeFromAnyThread(); }).join();
    return false;
  };
  EXPECT_FALSE(loop.turn());
  EXPECT_TRUE(loop.isWoken());
}

TEST(Wake, NoneReachesADriverThatIsGone) {
  MessageLoop loop;
  std::atomic<bool> done = false;
  std::thread camera([&] {
    while (!done) loop.wakeFromAnyThread();
  });
  for (int i = 0; i < 200; ++i) {
    auto driver = std::make_unique<int>(0);
    loop.setWaker([&told = *driver] { ++told; });
    (void)loop.turn();
    while (!loop.isWoken()) std::this_thread::yield();
    loop.setWaker(nullptr);
    ++*driver;
  }
  done = true;
  camera.join();
  EXPECT_FALSE(loop.isDriven());
}

}  // namespace
}  // namespace tarnvisor
