#include "bench/BareHandOver.h"

#include <cstdint>
#include <cstdlib>

#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace korvan::bench {

BareHandOver::BareHandOver(WayBack wayBack)
    : wayBack_(wayBack), descriptor_(::eventfd(0, EFD_CLOEXEC)), thread_([this] { serve(); }) {}

BareHandOver::~BareHandOver() {
  giveTurn(Turn::end);
  thread_.join();
  ::close(descriptor_);
}

void BareHandOver::giveTurn(Turn turn) {
  {
    const std::scoped_lock lock(mutex_);
    turn_ = turn;
  }
  changed_.notify_all();
}

void BareHandOver::thereAndBack(const std::function<void()>& work) {
  work_ = &work;
  giveTurn(Turn::worker);
  waitForTurn();
}

void BareHandOver::handBack() {
  if (wayBack_ == WayBack::condition) {
    giveTurn(Turn::caller);
    return;
  }
  {
    const std::scoped_lock lock(mutex_);
    turn_ = Turn::caller;
  }
  constexpr std::uint64_t One = 1;
  if (::write(descriptor_, &One, sizeof(One)) != sizeof(One)) {
    std::abort();
  }
}

void BareHandOver::waitForTurn() {
  if (wayBack_ == WayBack::condition) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return turn_ == Turn::caller; });
    return;
  }
  pollfd awaited{.fd = descriptor_, .events = POLLIN, .revents = 0};
  std::uint64_t count = 0;
  if (::poll(&awaited, 1, -1) != 1 || ::read(descriptor_, &count, sizeof(count)) < 0) {
    std::abort();
  }
}

void BareHandOver::serve() {
  while (true) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return turn_ != Turn::caller; });
    if (turn_ == Turn::end) {
      return;
    }
    lock.unlock();
    (*work_)();
    handBack();
  }
}

}  // namespace korvan::bench
