#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

namespace korvan::lab::check {

/// A line of the kernel's table of Unix-domain sockets.
struct SocketEntry {
  /// 0: a connection that nobody has accepted yet.
  std::uint64_t inode = 0;
  bool listens = false;
};

/// The sockets that are bound to the path, and the connections to it. Those that were bound to a
/// relative path are not found.
[[nodiscard]] std::vector<SocketEntry> socketsAt(const std::string& path);

/// The processes of this user that hold the socket.
[[nodiscard]] std::vector<pid_t> holdersOf(const SocketEntry& socket);

/// The executable of a process, as the kernel names it; empty when there is no such process.
[[nodiscard]] std::string executableOf(pid_t process);

/// The words that a process was started with.
[[nodiscard]] std::vector<std::string> commandOf(pid_t process);

}  // namespace korvan::lab::check
