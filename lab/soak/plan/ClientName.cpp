#include "lab/soak/plan/ClientName.h"

#include <cstddef>
#include <cstring>

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace korvan::lab::soak {
namespace {

/// The name as bytes. The process keeps those of several soaks on one machine apart.
struct WireName {
  char start = '\0';
  char purpose = 's';
  pid_t process = 0;
  ClientName name;
};

constexpr socklen_t NameSize = offsetof(sockaddr_un, sun_path) + sizeof(WireName);

}  // namespace

int bindToName(int socket, const ClientName& name) {
  WireName wire;
  std::memset(static_cast<void*>(&wire), 0, sizeof wire);
  wire.purpose = 's';
  wire.process = ::getpid();
  wire.name = name;
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, &wire, sizeof wire);
  return ::bind(socket, reinterpret_cast<const sockaddr*>(&address), NameSize);
}

std::optional<ClientName> nameOfClient(int socket) {
  sockaddr_un address{};
  socklen_t size = sizeof address;
  if (::getpeername(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0 ||
      size != NameSize) {
    return std::nullopt;
  }
  WireName wire;
  std::memcpy(static_cast<void*>(&wire), address.sun_path, sizeof wire);
  return wire.name;
}

}  // namespace korvan::lab::soak
