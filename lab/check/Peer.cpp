#include "lab/check/Peer.h"

#include <array>
#include <string_view>
#include <tuple>

#include <pwd.h>
#include <sys/stat.h>

#include "lab/check/SocketTable.h"

namespace korvan::lab::check {
namespace {

bool isSameFile(const std::string& one, const std::string& other) {
  struct stat first{};
  struct stat second{};
  return ::stat(one.c_str(), &first) == 0 && ::stat(other.c_str(), &second) == 0 &&
         first.st_dev == second.st_dev && first.st_ino == second.st_ino;
}

}  // namespace

std::string nameOfUser(std::int64_t user) {
  passwd entry{};
  passwd* found = nullptr;
  std::array<char, 16384> strings{};
  ::getpwuid_r(static_cast<uid_t>(user), &entry, strings.data(), strings.size(), &found);
  return (found == nullptr ? "" : std::string(entry.pw_name) + ", ") + std::to_string(user);
}

Peer peerOf(const Connection& connection) {
  const LinuxLocalSockets sockets;
  Peer peer;
  std::int64_t group = -1;
  std::int32_t process = -1;
  std::ignore = sockets.getpeereid(connection.descriptor(), peer.user, group);
  std::ignore = sockets.getPeerProcessIdentifier(connection.descriptor(), process);
  peer.process = process;
  peer.executable = executableOf(process);
  if (peer.executable.empty()) {
    return peer;
  }
  peer.replaced = !isSameFile(peer.executable, "/proc/" + std::to_string(process) + "/exe");
  // The kernel's mark on a file that was removed or replaced.
  if (constexpr std::string_view Mark = " (deleted)";
      peer.replaced && peer.executable.ends_with(Mark)) {
    peer.executable.resize(peer.executable.size() - Mark.size());
  }
  return peer;
}

}  // namespace korvan::lab::check
