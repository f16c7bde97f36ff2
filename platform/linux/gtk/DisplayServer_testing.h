#pragma once

#include <string>
#include <vector>

#include <sys/types.h>

namespace korvan {

/// An in-memory display, without a window manager. Sets the environment of this process and its
/// children so that they use it, and so that GTK looks the same on every machine. Ends with this
/// object or with the process.
class DisplayServer {
 public:
  /// Throws std::runtime_error when the display does not start.
  DisplayServer();
  DisplayServer(const DisplayServer&) = delete;
  DisplayServer& operator=(const DisplayServer&) = delete;
  ~DisplayServer();

  /// Runs xdotool, which plays the user, and returns its output. Throws std::runtime_error when it
  /// fails.
  static std::string xdotool(const std::vector<std::string>& arguments);

 private:
  pid_t process_ = -1;
};

}  // namespace korvan
