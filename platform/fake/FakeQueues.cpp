#include "platform/fake/FakeQueues.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace korvan {
namespace {

/// Runs the oldest work, taken off the queue before, since it may submit more.
void runFirst(std::deque<std::function<void()>>& queue) noexcept {
  const auto work = std::move(queue.front());
  queue.pop_front();
  work();
}

}  // namespace

void FakeQueues::asyncMain(std::function<void()> work) const {
  main_.push_back(std::move(work));
  if (mainIsFaster && !onMain_) {
    runMainMeanwhile();
  }
}

void FakeQueues::syncMain(const std::function<void()>& work) const {
  if (onMain_) {
    static_cast<void>(std::fputs("syncMain called on the main thread: a deadlock\n", stderr));
    std::abort();
  }
  main_.emplace_back([&work] { work(); });
  runMainMeanwhile();
}

void FakeQueues::asyncBackground(std::function<void()> work) const {
  background_.push_back(std::move(work));
}

bool FakeQueues::runOneInBackground() const {
  if (background_.empty()) {
    return false;
  }
  onMain_ = false;
  runFirst(background_);
  onMain_ = true;
  return true;
}

void FakeQueues::runMainMeanwhile() const {
  onMain_ = true;
  runMain();
  onMain_ = false;
}

void FakeQueues::runMain() const {
  while (!main_.empty()) {
    runFirst(main_);
  }
}

void FakeQueues::discard() const {
  main_.clear();
  background_.clear();
}

void FakeQueues::runAll() const {
  do {
    runMain();
  } while (runOneInBackground() || !main_.empty());
}

}  // namespace korvan
