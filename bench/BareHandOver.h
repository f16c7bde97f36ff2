#pragma once

#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace korvan::bench {

/// The floor of a hand-over to a resident thread and back: a mutex and a condition variable there,
/// and back an event descriptor to poll, as a thread that also waits for other events must.
class BareHandOver {
 public:
  BareHandOver();
  BareHandOver(const BareHandOver&) = delete;
  BareHandOver& operator=(const BareHandOver&) = delete;
  ~BareHandOver();

  /// Has the resident thread run `work`, and waits for it.
  void thereAndBack(std::function<void()> work);

 private:
  void submit(std::function<void()> work);
  void serve();

  const int done_;
  std::mutex mutex_;
  std::condition_variable submitted_;
  std::function<void()> work_;
  bool isEnding_ = false;
  std::thread thread_;
};

}  // namespace korvan::bench
