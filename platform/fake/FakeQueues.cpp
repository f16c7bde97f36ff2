#include "platform/fake/FakeQueues.h"

#include <cstdio>
#include <cstdlib>
#include <utility>

namespace korvan {
namespace {

/// The oldest work, taken off the queue before it runs, since it may submit more.
template <typename Work>
Work take(std::deque<Work>& queue) {
  auto work = std::move(queue.front());
  queue.pop_front();
  return work;
}

void run(const std::function<void()>& work) noexcept { work(); }

}  // namespace

void FakeQueues::asyncMain(std::function<void()> work) const { main_.push_back(std::move(work)); }

void FakeQueues::syncMain(const std::function<void()>& work) const {
  if (onMain_) {
    static_cast<void>(std::fputs("syncMain called on the main thread: a deadlock\n", stderr));
    std::abort();
  }
  onMain_ = true;
  runMain();
  run(work);
  onMain_ = false;
}

void FakeQueues::asyncBackground(std::function<void()> work, std::function<void()> mainWork) const {
  background_.push_back({.work = std::move(work), .mainWork = std::move(mainWork)});
}

bool FakeQueues::runOneInBackground() const {
  if (background_.empty()) {
    return false;
  }
  auto [work, mainWork] = take(background_);
  onMain_ = false;
  run(std::exchange(work, nullptr));
  if (mainWork) {
    asyncMain(std::move(mainWork));
  }
  onMain_ = true;
  return true;
}

void FakeQueues::runMain() const {
  while (!main_.empty()) {
    run(take(main_));
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
