#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace korvan {

/// The floor of a hand-over between threads: a mutex, a condition variable and a resident thread.
class BareHandOver {
 public:
  BareHandOver();
  BareHandOver(const BareHandOver&) = delete;
  BareHandOver& operator=(const BareHandOver&) = delete;
  ~BareHandOver();

  /// Has the resident thread run `work` and hand over back.
  void thereAndBack(const std::function<void()>& work);

 private:
  enum class Turn : unsigned char { caller, worker, end };

  void serve();
  void giveTurn(Turn turn);

  std::mutex mutex_;
  std::condition_variable changed_;
  Turn turn_ = Turn::caller;
  const std::function<void()>* work_ = nullptr;
  std::thread thread_;
};

}  // namespace korvan
