#include "camera/framehub.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <chrono>
#include <thread>
#include <vector>

namespace tarnvisor {
namespace {

using testing::ElementsAre;

// Blocks of one byte, which say what was put into them.
class FrameHubThreads : public testing::Test {
 protected:
  static constexpr int32_t kBlocks = 6;
  FrameHubThreads() {
    hub.requeue = [this](uint8_t* block) {
      const std::lock_guard guard(lock);
      free.push_back(block);
    };
    for (uint8_t& block : memory) free.push_back(&block);
    hub.begin(kBlocks);
  }

  // As a driver does: false, and the frame is lost, without a free block.
  bool bring(int64_t counter) {
    uint8_t* block = nullptr;
    {
      const std::lock_guard guard(lock);
      if (free.empty()) return false;
      block = free.front();
      free.erase(free.begin());
    }
    *block = static_cast<uint8_t>(counter);
    hub.take({block, 1, 1, 1, counter, 0});
    return true;
  }

  std::array<uint8_t, kBlocks> memory{};
  std::mutex lock;
  std::vector<uint8_t*> free;
  FrameHub hub;
};

TEST_F(FrameHubThreads, TheNewestIsShownAndGapsAreCounted) {
  EXPECT_FALSE(hub.newest());
  for (const int64_t counter : {10, 11, 14}) ASSERT_TRUE(bring(counter));
  const auto shown = hub.newest();
  ASSERT_TRUE(shown);
  EXPECT_EQ(*shown->block, 14);
  EXPECT_EQ(shown->fields, 10) << "two a frame, those that never came too";
  EXPECT_EQ(hub.counts().lost, 2);
  EXPECT_EQ(free.size(), kBlocks - 1U) << "what nobody looks at goes back";
  ASSERT_TRUE(bring(15));
  EXPECT_EQ(*shown->block, 14) << "the one shown stays";
  EXPECT_EQ(*hub.newest()->block, 15);
  EXPECT_FALSE(hub.newest());
  hub.lost("gone");
  EXPECT_EQ(hub.lostCamera(), "gone");
  EXPECT_FALSE(hub.lostCamera());
}

TEST_F(FrameHubThreads, AListenerHasEachFrameUntilItIsTakenAway) {
  std::vector<int> heard;
  hub.setListener([&](const FrameHub::Frame& frame) { heard.push_back(*frame.block); });
  std::atomic<int64_t> came = 0;
  std::thread driver([&] {
    for (; came < 200; std::this_thread::yield())
      if (bring(came)) ++came;
  });
  while (came < 100) std::this_thread::yield();
  hub.setListener(nullptr);
  const size_t before = heard.size();  // on no other thread any more
  driver.join();
  EXPECT_EQ(heard.size(), before);
  EXPECT_GE(before, 100u);
  EXPECT_EQ(heard[99], 99);
}

TEST_F(FrameHubThreads, EveryFrameIsRecordedWhileNobodyLooks) {
  std::vector<int> written;
  hub.startRecording(0, [&](const FrameHub::Frame& frame) {
    written.push_back(*frame.block);
    return true;
  });
  std::thread driver([this] {
    for (int64_t counter = 0; counter < 200;)
      if (bring(counter))
        ++counter;
      else
        std::this_thread::yield();
  });
  driver.join();
  hub.stopRecording();
  EXPECT_EQ(written.size() + static_cast<size_t>(hub.counts().missed), 200u);
  EXPECT_TRUE(std::ranges::is_sorted(written));
  EXPECT_EQ(hub.counts().recorded, static_cast<int64_t>(written.size()));
}

TEST_F(FrameHubThreads, ASlowWriterMissesFramesAndTheDisplayGoesOn) {
  std::atomic<bool> goOn = false;
  std::vector<int> written;
  hub.startRecording(1, [&](const FrameHub::Frame& frame) {
    while (!goOn) std::this_thread::yield();
    written.push_back(*frame.block);
    return written.size() < 3;
  });
  for (int64_t counter = 0; counter < 12; ++counter) {
    ASSERT_TRUE(bring(counter));
    EXPECT_EQ(*hub.newest()->block, counter);
  }
  EXPECT_EQ(hub.counts().missed, 3) << "6 of 12 are wanted; 3 blocks are the display's";
  goOn = true;
  hub.drain();
  EXPECT_THAT(written, ElementsAre(0, 2, 4));
  EXPECT_TRUE(hub.hasEnded());
  ASSERT_TRUE(bring(12));
  hub.stopRecording();
  EXPECT_THAT(written, ElementsAre(0, 2, 4)) << "full is full";
  EXPECT_FALSE(hub.hasEnded());
  hub.end();
  EXPECT_FALSE(hub.newest());
}

}  // namespace
}  // namespace tarnvisor
