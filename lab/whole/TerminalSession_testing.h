#pragma once

#include <string>
#include <string_view>

#include <sys/types.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// A command of the shell on a terminal of its own, with a test as the person who sits there. Ended
/// with SIGKILL, with what it started, if it still runs when this goes.
class TerminalSession {
 public:
  explicit TerminalSession(const std::string& command);
  TerminalSession(const TerminalSession&) = delete;
  TerminalSession& operator=(const TerminalSession&) = delete;
  ~TerminalSession();

  void write(std::string_view text) const;

  /// What the terminal shows from now on, up to the text; all that comes when it never does.
  std::string readUntil(std::string_view text);

  /// Waits for the end of the command, and gives its exit status.
  int finish();

 private:
  pid_t process_ = -1;
  Descriptor terminal_;
  std::string unread_;
};

}  // namespace korvan::lab
