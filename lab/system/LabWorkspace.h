#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include <sys/types.h>

#include "lab/support/Descriptor.h"
#include "lab/system/Patience.h"
#include "platform/Workspace.h"
#include "platform/linux/LinuxWorkspace.h"

namespace korvan::lab {

/// A program that was started through the URL, and how it ended. Destroying this object does not
/// end the program.
class LaunchedHost {
 public:
  using Clock = std::chrono::steady_clock;

  /// Starts it with `url` as its only argument, in a session of its own. Its standard error is kept
  /// in memory, up to a megabyte.
  LaunchedHost(std::string program, std::string url);
  LaunchedHost(const LaunchedHost&) = delete;
  LaunchedHost& operator=(const LaunchedHost&) = delete;
  ~LaunchedHost();

  [[nodiscard]] const std::string& program() const noexcept { return program_; }
  [[nodiscard]] bool started() const noexcept { return process_ > 0; }
  [[nodiscard]] Clock::time_point startTime() const noexcept { return startTime_; }

  /// Such as "ended with status 2 after 0.02 s". Nullopt while it runs.
  [[nodiscard]] std::optional<std::string> ending() const;

  /// What it has written to its standard error.
  [[nodiscard]] std::string errors() const;

 private:
  std::string program_;
  Clock::time_point startTime_ = Clock::now();
  Descriptor errors_;
  pid_t process_ = -1;
};

/// The workspace of the lab, which keeps an eye on a program that it starts.
class LabWorkspace final : public Workspace {
 public:
  /// Refers to `patience`, which outlives it.
  LabWorkspace(WorkspaceHost host, Patience& patience)
      : host_(host), workspace_(std::move(host)), patience_(patience) {}

  /// Also false when the patience is over.
  [[nodiscard]] bool openURL(std::string_view url) const override;
  [[nodiscard]] std::size_t runningApplicationCount(
      std::string_view bundleIdentifier) const override {
    return workspace_.runningApplicationCount(bundleIdentifier);
  }

  /// The program that was started since forget(), if it is one that the lab starts by itself.
  [[nodiscard]] const std::optional<LaunchedHost>& launched() const noexcept { return launched_; }
  void forget() { launched_.reset(); }

 private:
  const WorkspaceHost host_;
  const LinuxWorkspace workspace_;
  Patience& patience_;
  mutable std::optional<LaunchedHost> launched_;
};

}  // namespace korvan::lab
