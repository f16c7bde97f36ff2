#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace korvan {

/// A display of its own, in memory, without a window manager. The environment names it, to this
/// process and those that it starts, and has GTK show windows the same on every machine. It ends
/// with this, or with the process.
class DisplayServer {
 public:
  /// Throws std::runtime_error when it does not start.
  DisplayServer();
  DisplayServer(const DisplayServer&) = delete;
  DisplayServer& operator=(const DisplayServer&) = delete;
  ~DisplayServer();

  /// Has xdotool, which plays the user, do this, and gives what it says. Throws std::runtime_error
  /// when it fails.
  static std::string xdotool(const std::vector<std::string>& arguments);

 private:
  pid_t process_ = -1;
};

}  // namespace korvan
