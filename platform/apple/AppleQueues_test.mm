#include "platform/apple/AppleQueues.h"

#include <latch>
#include <memory>
#include <utility>
#include <vector>

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>
#include <pthread.h>

#include "platform/apple/RunLoop_testing.h"

namespace korvan {
namespace {

bool isMainThread() { return ::pthread_main_np() != 0; }

TEST(AppleQueues, MainWorkRunsLaterAndInOrder) {
  const AppleQueues queues;
  std::vector<int> order;
  queues.asyncMain([&] { order.push_back(1); });
  queues.asyncMain([&] { order.push_back(2); });
  EXPECT_TRUE(order.empty());
  runMainLoopUntil([&] { return order.size() == 2; });
  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST(AppleQueues, BackgroundWorkRunsOnAnotherThread) {
  bool main = true;
  std::latch done(1);
  AppleQueues().asyncBackground([&] {
    main = isMainThread();
    done.count_down();
  });
  done.wait();
  EXPECT_FALSE(main);
}

TEST(AppleQueues, BackgroundWorkWaitsForMainWork) {
  const AppleQueues queues;
  bool main = false;
  bool done = false;
  queues.asyncBackground([&] {
    queues.syncMain([&] { main = isMainThread(); });
    queues.asyncMain([&] { done = true; });
  });
  runMainLoopUntil([&] { return done; });
  EXPECT_TRUE(main);
}

TEST(AppleQueues, WorkThatBlocksKeepsNoOtherWaiting) {
  constexpr int Count = 16;
  const AppleQueues queues;
  std::latch allRun(Count);
  std::latch allDone(Count);
  for (int index = 0; index < Count; ++index) {
    queues.asyncBackground([&] {
      allRun.arrive_and_wait();
      allDone.count_down();
    });
  }
  allDone.wait();
}

TEST(AppleQueues, WhatIsHandedOverIsReleasedOnTheMainThreadWhileTheBackgroundGoesOn) {
  struct Owned {
    explicit Owned(bool& releasedOnMain) : releasedOnMain(releasedOnMain) {}
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    ~Owned() { releasedOnMain = isMainThread(); }
    bool& releasedOnMain;
  };
  const AppleQueues queues;
  bool releasedOnMain = false;
  std::latch released(1);
  std::latch done(1);
  auto owned = std::make_shared<Owned>(releasedOnMain);
  const std::weak_ptr<Owned> watched = owned;
  queues.asyncBackground([&, owned = std::move(owned)]() mutable {
    queues.asyncMain([owned = std::move(owned)] {});
    released.wait();
    done.count_down();
  });
  runMainLoopUntil([&] { return watched.expired(); });
  released.count_down();
  done.wait();
  EXPECT_TRUE(releasedOnMain);
}

TEST(AppleQueues, WhatMainWorkRaisesEndsTheProcess) {
  // The platform's threads do not outlive a fork alone.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto raise = []() noexcept {
    bool ran = false;
    AppleQueues().asyncMain([&] {
      ran = true;
      @throw [NSException exceptionWithName:NSInvalidArgumentException reason:@"why" userInfo:nil];
    });
    runMainLoopUntil([&] { return ran; });
  };
  EXPECT_DEATH(raise(), "");
}

}  // namespace
}  // namespace korvan
