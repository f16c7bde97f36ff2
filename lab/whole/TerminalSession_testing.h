#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// A shell command on a terminal of its own, with the test as its user. Killed with SIGKILL, with
/// everything it started, if it still runs when this object is destroyed.
class TerminalSession {
 public:
  explicit TerminalSession(const std::string& command);
  TerminalSession(const TerminalSession&) = delete;
  TerminalSession& operator=(const TerminalSession&) = delete;
  ~TerminalSession();

  void write(std::string_view text) const;

  /// What the terminal shows from now on, up to the text; everything if the text never comes.
  std::string readUntil(std::string_view text);

  /// Waits for the command to end, and returns its exit status.
  int finish();

 private:
  pid_t process_ = -1;
  Descriptor terminal_;
  std::string unread_;
};

}  // namespace korvan::lab
