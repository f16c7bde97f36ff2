#pragma once

#include <chrono>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

#include "lab/check/Waits.h"
#include "lab/support/Descriptor.h"

namespace korvan::lab::check {

/// The URL that the extension opens to start the host.
inline constexpr std::string_view LaunchUrl = "korvan:///launch?source=credential-provider";

/// A host application that a run starts itself, in a session of its own. Killed with what it
/// started in that session when this object is destroyed; it gets SIGTERM when the thread that
/// started it ends.
class LaunchedProgram {
 public:
  /// `command` is the program, which the search path may lead to, and its arguments. start() adds
  /// the URL.
  explicit LaunchedProgram(std::vector<std::string> command);
  LaunchedProgram(const LaunchedProgram&) = delete;
  LaunchedProgram& operator=(const LaunchedProgram&) = delete;
  ~LaunchedProgram();

  /// Starts the program, and first kills one that still runs. Throws std::runtime_error when that
  /// is impossible.
  void start();

  [[nodiscard]] bool isRunning() const;

  [[nodiscard]] pid_t processIdentifier() const noexcept { return processIdentifier_; }

  /// When it was started last.
  [[nodiscard]] Waits::Clock::time_point startTime() const noexcept { return startTime_; }

  void signal(int number) const;

  /// False when it still runs after `limit`.
  [[nodiscard]] bool endsWithin(const Waits& waits, Waits::Duration limit);

  /// SIGKILL, and waits for the end.
  void kill();

  /// How it ended, such as "ended with status 1" or "was ended by SIGPIPE"; "runs" if it does.
  /// Not known any more after kill().
  [[nodiscard]] std::string ending() const;

  /// What it has written to standard error since start() or the last call, at most 4 KiB of the
  /// end.
  [[nodiscard]] std::string newErrors();

 private:
  std::vector<std::string> command_;
  pid_t processIdentifier_ = -1;
  Waits::Clock::time_point startTime_;
  Descriptor errors_;  ///< a file in memory, so that the program never waits for a reader
  off_t errorsRead_ = 0;
};

}  // namespace korvan::lab::check
