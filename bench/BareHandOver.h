#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace korvan::bench {

/// The floor of a hand-over to a resident thread and back: a mutex and a condition variable there,
/// and back either the same, or, as to a thread that also has other events to wait for, an event
/// descriptor that it polls.
class BareHandOver {
 public:
  enum class WayBack : unsigned char { condition, polledDescriptor };

  explicit BareHandOver(WayBack wayBack);
  BareHandOver(const BareHandOver&) = delete;
  BareHandOver& operator=(const BareHandOver&) = delete;
  ~BareHandOver();

  /// Has the resident thread run `work` and hand over back.
  void thereAndBack(const std::function<void()>& work);

 private:
  enum class Turn : unsigned char { caller, worker, end };

  void serve();
  void giveTurn(Turn turn);
  void handBack();
  void waitForTurn();

  const WayBack wayBack_;
  const int descriptor_;
  std::mutex mutex_;
  std::condition_variable changed_;
  Turn turn_ = Turn::caller;
  const std::function<void()>* work_ = nullptr;
  std::thread thread_;
};

}  // namespace korvan::bench
