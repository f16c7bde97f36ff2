#include "platform/apple/AppleLocalSockets.h"

#include <algorithm>
#include <cerrno>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace korvan {

int AppleLocalSockets::socket() const { return ::socket(AF_UNIX, SOCK_STREAM, 0); }

int AppleLocalSockets::connect(int descriptor, std::string_view path) const {
  if (path.size() > MaxPathSize) {
    errno = ENAMETOOLONG;
    return -1;
  }
  sockaddr_un address{};
  const auto size = static_cast<std::uint8_t>(offsetof(sockaddr_un, sun_path) + path.size());
  address.sun_len = size;
  address.sun_family = AF_UNIX;
  std::ranges::copy(path, address.sun_path);
  return ::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), size);
}

int AppleLocalSockets::getpeereid(int descriptor, std::int64_t& userIdentifier,
                                  std::int64_t& groupIdentifier) const {
  uid_t user = 0;
  gid_t group = 0;
  const int result = ::getpeereid(descriptor, &user, &group);
  if (result == 0) {
    userIdentifier = user;
    groupIdentifier = group;
  }
  return result;
}

int AppleLocalSockets::getPeerProcessIdentifier(int descriptor,
                                                std::int32_t& processIdentifier) const {
  pid_t process = -1;
  socklen_t size = sizeof process;
  const int result = ::getsockopt(descriptor, SOL_LOCAL, LOCAL_PEERPID, &process, &size);
  if (result == 0) {
    processIdentifier = process;
  }
  return result;
}

std::int64_t AppleLocalSockets::getuid() const { return ::getuid(); }

std::ptrdiff_t AppleLocalSockets::send(int descriptor, std::span<const std::uint8_t> bytes) const {
  return ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

std::ptrdiff_t AppleLocalSockets::recv(int descriptor, std::span<std::uint8_t> bytes) const {
  return ::recv(descriptor, bytes.data(), bytes.size(), 0);
}

void AppleLocalSockets::close(int descriptor) const { ::close(descriptor); }

}  // namespace korvan
