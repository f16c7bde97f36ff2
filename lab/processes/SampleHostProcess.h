#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/types.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// A running sample host, and the events that it prints.
class SampleHostProcess {
 public:
  /// Starts `program`, with /dev/null as standard input. Throws std::runtime_error when it cannot
  /// be started.
  SampleHostProcess(const std::filesystem::path& program,
                    const std::vector<std::string>& arguments);
  SampleHostProcess(const SampleHostProcess&) = delete;
  SampleHostProcess& operator=(const SampleHostProcess&) = delete;
  ~SampleHostProcess();

  /// Waits for the next event. Throws std::runtime_error when the process ends instead, or prints
  /// nothing for 30 seconds.
  nlohmann::json nextEvent();

  /// Reads no more events. A process whose events nobody reads stops once their pipe is full, and
  /// one without a reader serves on.
  void ignoreEvents() { events_ = Descriptor(); }

  /// Asks the process to end, and waits for that. Further calls do nothing.
  void stop();

  [[nodiscard]] pid_t processIdentifier() const noexcept { return processIdentifier_; }

 private:
  pid_t processIdentifier_ = -1;
  Descriptor events_;
  std::string unread_;
  bool running_ = true;
};

}  // namespace korvan::lab
