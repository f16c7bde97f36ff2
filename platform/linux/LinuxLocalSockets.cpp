#include "platform/linux/LinuxLocalSockets.h"

#include <algorithm>
#include <cerrno>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace korvan {
namespace {

int peerCredentials(int descriptor, ucred& credentials) {
  socklen_t size = sizeof credentials;
  return ::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &size);
}

}  // namespace

int LinuxLocalSockets::socket() const { return ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0); }

int LinuxLocalSockets::connect(int descriptor, std::string_view path) const {
  if (path.size() > MaxPathSize) {
    errno = ENAMETOOLONG;
    return -1;
  }
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::ranges::copy(path, address.sun_path);
  const auto size = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + path.size());
  return ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), size);
}

int LinuxLocalSockets::getpeereid(int descriptor, std::int64_t& userIdentifier,
                                  std::int64_t& groupIdentifier) const {
  ucred credentials{};
  const int result = peerCredentials(descriptor, credentials);
  if (result == 0) {
    userIdentifier = credentials.uid;
    groupIdentifier = credentials.gid;
  }
  return result;
}

int LinuxLocalSockets::getPeerProcessIdentifier(int descriptor,
                                                std::int32_t& processIdentifier) const {
  ucred credentials{};
  const int result = peerCredentials(descriptor, credentials);
  if (result == 0) {
    processIdentifier = credentials.pid;
  }
  return result;
}

std::int64_t LinuxLocalSockets::getuid() const { return ::getuid(); }

std::ptrdiff_t LinuxLocalSockets::send(int descriptor, std::span<const std::uint8_t> bytes) const {
  return ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

std::ptrdiff_t LinuxLocalSockets::recv(int descriptor, std::span<std::uint8_t> bytes) const {
  return ::recv(descriptor, bytes.data(), bytes.size(), 0);
}

void LinuxLocalSockets::close(int descriptor) const { ::close(descriptor); }

}  // namespace korvan
