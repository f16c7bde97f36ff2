#include "lab/system/CountedQueues.h"

#include <functional>
#include <future>
#include <list>
#include <memory>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "platform/linux/LinuxQueues.h"

namespace korvan::lab {
namespace {

class CountedQueuesTest : public testing::Test {
 protected:
  GMainContext* const context_ = g_main_context_default();
  LinuxQueues systemQueues_{context_};
  CountedQueues queues_{systemQueues_, context_};
};

TEST_F(CountedQueuesTest, ReturnAtOnceWhenThereIsNoWork) { queues_.runUntilIdle(); }

TEST_F(CountedQueuesTest, RunWorkThatWorkSubmits) {
  std::string order;
  queues_.asyncBackground([&] {
    order += "background ";
    queues_.syncMain([&] { order += "sync "; });
    queues_.asyncMain([&] {
      order += "main ";
      queues_.asyncMain([&] { order += "nested"; });
    });
  });
  queues_.runUntilIdle();
  EXPECT_EQ(order, "background sync main nested");
}

TEST_F(CountedQueuesTest, WaitForBackgroundWorkThatTellsNobody) {
  std::promise<void> mayEnd;
  bool ended = false;
  queues_.asyncBackground([&, waits = mayEnd.get_future().share()] {
    waits.wait();
    ended = true;
  });
  // The main loop's own work lets the background go on, so that the wait cannot have been skipped.
  queues_.asyncMain([&] { mayEnd.set_value(); });
  queues_.runUntilIdle();
  EXPECT_TRUE(ended);
}

/// Runs work at once, and does not let go of it.
class KeepingQueues final : public Queues {
 public:
  void asyncMain(std::function<void()> work) const override { keep(std::move(work)); }
  void syncMain(const std::function<void()>& work) const override { work(); }
  void asyncBackground(std::function<void()> work) const override { keep(std::move(work)); }

 private:
  void keep(std::function<void()> work) const { kept_.emplace_back(std::move(work))(); }

  mutable std::list<std::function<void()>> kept_;
};

TEST(CountedQueues, ReleaseWhatTheWorkHeldWhateverTheQueuesKeep) {
  const KeepingQueues keeping;
  const CountedQueues queues(keeping, g_main_context_default());
  const auto held = std::make_shared<int>(0);
  queues.asyncMain([held] {});
  queues.asyncBackground([held] {});
  EXPECT_EQ(held.use_count(), 1);
}

}  // namespace
}  // namespace korvan::lab
