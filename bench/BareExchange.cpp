#include "bench/BareExchange.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace korvan::bench {
namespace {

void require(bool condition) {
  if (!condition) {
    std::abort();
  }
}

void sendAll(int descriptor, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = ::send(descriptor, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    require(sent > 0);
    bytes = bytes.subspan(static_cast<std::size_t>(sent));
  }
}

void receiveAll(int descriptor, std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t received = ::recv(descriptor, bytes.data(), bytes.size(), 0);
    require(received > 0);
    bytes = bytes.subspan(static_cast<std::size_t>(received));
  }
}

void readPeerCredentials(int descriptor) {
  ucred credentials{};
  socklen_t size = sizeof(credentials);
  require(::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0);
}

}  // namespace

Data bareExchange(const std::string& socketPath, std::span<const std::uint8_t> request) {
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  require(descriptor >= 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, socketPath.data(), socketPath.size());
  require(::connect(descriptor, reinterpret_cast<const sockaddr*>(&address),
                    static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + socketPath.size())) ==
          0);
  readPeerCredentials(descriptor);
  readPeerCredentials(descriptor);
  require(::getuid() != static_cast<uid_t>(-1));
  const auto size = static_cast<std::uint32_t>(request.size());
  std::array<std::uint8_t, 4> prefix{
      static_cast<std::uint8_t>(size >> 24), static_cast<std::uint8_t>(size >> 16),
      static_cast<std::uint8_t>(size >> 8), static_cast<std::uint8_t>(size)};
  sendAll(descriptor, prefix);
  sendAll(descriptor, request);
  receiveAll(descriptor, prefix);
  std::vector<std::uint8_t> response(std::size_t{prefix[0]} << 24 | std::size_t{prefix[1]} << 16 |
                                     std::size_t{prefix[2]} << 8 | std::size_t{prefix[3]});
  receiveAll(descriptor, response);
  ::close(descriptor);
  return response;
}

}  // namespace korvan::bench
