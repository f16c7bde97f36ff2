#include "platform/linux/LinuxQueues.h"

#include <atomic>
#include <cstddef>
#include <latch>
#include <memory>
#include <new>
#include <optional>
#include <semaphore>
#include <thread>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <unistd.h>

#include "platform/linux/NoMoreThreads_testing.h"

namespace korvan {
namespace {

class LinuxQueuesTest : public testing::Test {
 protected:
  // No thread of an earlier test is there for work that is to get none.
  static void SetUpTestSuite() { g_thread_pool_set_max_unused_threads(0); }

  void SetUp() override { queues_ = std::make_unique<LinuxQueues>(context_); }

  void TearDown() override {
    endBackgroundWork();
    g_main_context_unref(context_);
  }

  /// Runs the main thread's work until `done` is set there.
  void runUntil(const bool& done) const {
    while (!done) {
      g_main_context_iteration(context_, TRUE);
    }
  }

  void runWhatIsThere() const {
    while (g_main_context_iteration(context_, FALSE)) {
    }
  }

  /// For tests whose background work refers to the test's own variables.
  void endBackgroundWork() { queues_.reset(); }

  GMainContext* const context_ = g_main_context_new();
  std::unique_ptr<LinuxQueues> queues_;
};

TEST_F(LinuxQueuesTest, MainWorkNeverRunsInsideTheCall) {
  bool ran = false;
  queues_->asyncMain([&] { ran = true; });
  EXPECT_FALSE(ran);
  runWhatIsThere();
  EXPECT_TRUE(ran);
}

TEST_F(LinuxQueuesTest, MainWorkSubmittedByMainWorkRunsAfterIt) {
  std::vector<int> order;
  queues_->asyncMain([&] {
    queues_->asyncMain([&] { order.push_back(2); });
    order.push_back(1);
  });
  runWhatIsThere();
  EXPECT_EQ(order, (std::vector{1, 2}));
}

TEST_F(LinuxQueuesTest, MainWorkRunsInOrderOfSubmission) {
  std::vector<int> order;
  std::vector<int> expected;
  for (int i = 0; i < 100; ++i) {
    queues_->asyncMain([&order, i] { order.push_back(i); });
    expected.push_back(i);
  }
  runWhatIsThere();
  EXPECT_EQ(order, expected);
}

TEST_F(LinuxQueuesTest, MainWorkOfABackgroundThreadRunsOnTheMainThread) {
  std::optional<std::thread::id> ranOn;
  bool done = false;
  queues_->asyncBackground([&] {
    queues_->asyncMain([&] {
      ranOn = std::this_thread::get_id();
      done = true;
    });
  });
  runUntil(done);
  EXPECT_EQ(ranOn, std::this_thread::get_id());
}

TEST_F(LinuxQueuesTest, MainWorkOutlivesTheQueues) {
  bool ran = false;
  queues_->asyncMain([&] { ran = true; });
  queues_.reset();
  runWhatIsThere();
  EXPECT_TRUE(ran);
}

TEST_F(LinuxQueuesTest, MainWorkMayEndTheQueuesAndTheRestStillRuns) {
  std::vector<int> order;
  queues_->asyncMain([&] {
    queues_->asyncMain([&] { order.push_back(3); });
    queues_.reset();
    order.push_back(1);
  });
  queues_->asyncMain([&] { order.push_back(2); });
  runWhatIsThere();
  EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST_F(LinuxQueuesTest, MainWorkIsReleasedOnceItHasRun) {
  auto owned = std::make_shared<int>();
  queues_->asyncMain([owned] {});
  EXPECT_EQ(owned.use_count(), 2);
  runWhatIsThere();
  EXPECT_EQ(owned.use_count(), 1);
}

TEST_F(LinuxQueuesTest, SyncMainReturnsAfterTheWorkRanOnTheMainThread) {
  std::optional<std::thread::id> ranOn;
  std::optional<std::thread::id> seenAfterwards;
  bool done = false;
  queues_->asyncBackground([&] {
    queues_->syncMain([&] { ranOn = std::this_thread::get_id(); });
    seenAfterwards = ranOn;
    queues_->asyncMain([&] { done = true; });
  });
  runUntil(done);
  EXPECT_EQ(seenAfterwards, std::this_thread::get_id());
}

TEST_F(LinuxQueuesTest, SyncMainWaitsItsTurn) {
  std::vector<int> order;
  bool done = false;
  queues_->asyncBackground([&] {
    queues_->asyncMain([&] { order.push_back(1); });
    queues_->syncMain([&] { order.push_back(2); });
    queues_->asyncMain([&] {
      order.push_back(3);
      done = true;
    });
  });
  runUntil(done);
  EXPECT_EQ(order, (std::vector{1, 2, 3}));
}

TEST_F(LinuxQueuesTest, BackgroundWorkRunsOnAnotherThread) {
  std::binary_semaphore ran{0};
  std::thread::id ranOn;
  queues_->asyncBackground([&] {
    ranOn = std::this_thread::get_id();
    ran.release();
  });
  ran.acquire();
  endBackgroundWork();
  EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST_F(LinuxQueuesTest, BackgroundWorkIsServedWhileAnyNumberHangs) {
  constexpr std::ptrdiff_t Hanging = 100;
  std::latch hanging(Hanging);
  std::latch released(1);
  for (std::ptrdiff_t i = 0; i < Hanging; ++i) {
    queues_->asyncBackground([&] {
      hanging.count_down();
      released.wait();
    });
  }
  hanging.wait();
  std::binary_semaphore served{0};
  queues_->asyncBackground([&] { served.release(); });
  served.acquire();
  released.count_down();
  endBackgroundWork();
}

TEST_F(LinuxQueuesTest, BackgroundWorkIsReleasedOnceItHasRun) {
  std::binary_semaphore released{0};
  const auto signalling = [&released](const int* pointer) {
    delete pointer;
    released.release();
  };
  queues_->asyncBackground([owned = std::shared_ptr<const int>(new int, signalling)] {});
  released.acquire();
  endBackgroundWork();
}

TEST_F(LinuxQueuesTest, WhatIsHandedOverIsReleasedOnTheMainThreadWhileTheBackgroundGoesOn) {
  std::optional<std::thread::id> releasedOn;
  const auto recording = [&](const int* pointer) {
    delete pointer;
    releasedOn = std::this_thread::get_id();
  };
  std::shared_ptr<const int> owned(new int, recording);
  std::latch handedOver(1);
  std::latch mayEnd(1);
  queues_->asyncBackground([&, owned = std::move(owned)]() mutable {
    queues_->asyncMain([owned = std::move(owned)] {});
    handedOver.count_down();
    mayEnd.wait();
  });
  handedOver.wait();
  runWhatIsThere();
  EXPECT_EQ(releasedOn, std::this_thread::get_id());
  mayEnd.count_down();
  endBackgroundWork();
}

TEST_F(LinuxQueuesTest, MainWorkMayEndTheQueuesThatBackgroundWorkIsHandingItTo) {
  constexpr int Rounds = 200;
  for (int round = 0; round < Rounds; ++round) {
    auto owner = std::make_shared<const LinuxQueues>(context_);
    const LinuxQueues& queues = *owner;
    bool done = false;
    queues.asyncBackground([&, owner = std::move(owner)]() mutable {
      queues.asyncMain([&, owner = std::move(owner)] { done = owner.use_count() == 1; });
    });
    runUntil(done);
  }
}

TEST_F(LinuxQueuesTest, TheDestructorWaitsForBackgroundWork) {
  constexpr int Works = 50;
  std::atomic<int> ran = 0;
  for (int i = 0; i < Works; ++i) {
    queues_->asyncBackground([&] {
      for (int j = 0; j < 1000; ++j) {
        std::this_thread::yield();
      }
      ++ran;
    });
  }
  endBackgroundWork();
  EXPECT_EQ(ran, Works);
}

TEST_F(LinuxQueuesTest, WorkThatGetsNoThreadRunsOnceThereIsOne) {
  std::atomic<bool> ran = false;
  bool done = false;
  {
    const NoMoreThreads limit;
    queues_->asyncBackground([&] {
      ran = true;
      queues_->asyncMain([&] { done = true; });
    });
    g_main_context_iteration(context_, TRUE);  // the first new attempt
    EXPECT_FALSE(ran);
  }
  runUntil(done);
  endBackgroundWork();
}

TEST_F(LinuxQueuesTest, WorkThatGetsNoThreadRunsOnTheNextOneThatIsDone) {
  std::latch released(1);
  pid_t first = 0;
  pid_t second = 0;
  bool done = false;
  queues_->asyncBackground([&] {
    released.wait();
    first = ::gettid();
  });
  {
    const NoMoreThreads limit;
    queues_->asyncBackground([&] {
      second = ::gettid();
      queues_->asyncMain([&] { done = true; });
    });
    released.count_down();
    runUntil(done);
  }
  endBackgroundWork();
  EXPECT_EQ(second, first);
}

TEST_F(LinuxQueuesTest, TheDestructorRunsWorkThatGotNoThread) {
  bool ran = false;
  {
    const NoMoreThreads limit;
    queues_->asyncBackground([&] { ran = true; });
  }
  endBackgroundWork();
  EXPECT_TRUE(ran);
}

TEST_F(LinuxQueuesTest, ExceptionThatLeavesWorkEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto runOutOfMemory = [] { throw std::bad_alloc(); };
  const bool never = false;
  EXPECT_DEATH(
      {
        queues_->asyncMain(runOutOfMemory);
        runUntil(never);
      },
      "bad_alloc");
  EXPECT_DEATH(
      {
        queues_->asyncBackground(runOutOfMemory);
        runUntil(never);
      },
      "bad_alloc");
}

}  // namespace
}  // namespace korvan
