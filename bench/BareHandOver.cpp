#include "bench/BareHandOver.h"

#include <cstdlib>
#include <utility>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace korvan::bench {

BareHandOver::BareHandOver() : done_(::eventfd(0, EFD_CLOEXEC)), thread_([this] { serve(); }) {}

BareHandOver::~BareHandOver() {
  submit([this] { isEnding_ = true; });
  thread_.join();
  ::close(done_);
}

void BareHandOver::thereAndBack(std::function<void()> work) {
  submit(std::move(work));
  pollfd awaited{.fd = done_, .events = POLLIN, .revents = 0};
  eventfd_t count = 0;
  if (::poll(&awaited, 1, -1) != 1 || ::eventfd_read(done_, &count) != 0) {
    std::abort();
  }
}

void BareHandOver::submit(std::function<void()> work) {
  {
    const std::scoped_lock lock(mutex_);
    work_ = std::move(work);
  }
  submitted_.notify_one();
}

void BareHandOver::serve() {
  while (!isEnding_) {
    std::unique_lock lock(mutex_);
    submitted_.wait(lock, [this] { return work_ != nullptr; });
    const auto work = std::exchange(work_, nullptr);
    lock.unlock();
    work();
    ::eventfd_write(done_, 1);
  }
}

}  // namespace korvan::bench
