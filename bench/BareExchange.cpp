#include "bench/BareExchange.h"

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>

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

int connectTo(const std::string& socketPath) {
  const int descriptor = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
  require(descriptor >= 0);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  require(socketPath.size() < sizeof(address.sun_path));
  std::memcpy(address.sun_path, socketPath.data(), socketPath.size());
  require(::connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) == 0);
  return descriptor;
}

void readPeerCredentials(int descriptor) {
  ucred credentials{};
  socklen_t size = sizeof(credentials);
  require(::getsockopt(descriptor, SOL_SOCKET, SO_PEERCRED, &credentials, &size) == 0);
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

/// A frame there and one back, each a length of four bytes, the highest first, and a body. Closes
/// the connection.
std::vector<std::uint8_t> exchangeFrames(int descriptor, std::span<const std::uint8_t> request) {
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

}  // namespace

std::vector<std::uint8_t> bareExchange(const std::string& socketPath,
                                       std::span<const std::uint8_t> request) {
  const int descriptor = connectTo(socketPath);
  readPeerCredentials(descriptor);
  readPeerCredentials(descriptor);
  require(::getuid() != static_cast<uid_t>(-1));
  return exchangeFrames(descriptor, request);
}

void listOneKey(const std::string& agentSocketPath) {
  constexpr std::array<std::uint8_t, 1> RequestIdentities{11};
  constexpr std::array<std::uint8_t, 5> AnswerOfOneKey{12, 0, 0, 0, 1};
  const auto answer = exchangeFrames(connectTo(agentSocketPath), RequestIdentities);
  require(answer.size() > AnswerOfOneKey.size() &&
          std::memcmp(answer.data(), AnswerOfOneKey.data(), AnswerOfOneKey.size()) == 0);
}

}  // namespace korvan::bench
