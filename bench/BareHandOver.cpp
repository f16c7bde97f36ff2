#include "bench/BareHandOver.h"

namespace korvan {

BareHandOver::BareHandOver() : thread_([this] { serve(); }) {}

BareHandOver::~BareHandOver() {
  giveTurn(Turn::end);
  thread_.join();
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
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return turn_ == Turn::caller; });
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
    giveTurn(Turn::caller);
  }
}

}  // namespace korvan
