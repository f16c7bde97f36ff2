#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvan::lab::soak {

/// The request, and the attempt at it, that a connection belongs to.
struct ClientName {
  std::uint64_t number = 0;
  /// From 1 on.
  std::uint32_t attempt = 0;
};

// The extension's side binds its socket to a name in Linux's abstract namespace, which the host can
// read. So the host knows the request before it reads a byte, and even if the message does not
// identify it. https://man7.org/linux/man-pages/man7/unix.7.html

/// Binds the socket to the name. Returns 0, or -1 with `errno` set.
[[nodiscard]] int bindToName(int socket, const ClientName& name);

/// The name of the client at the other end. Nullopt if it has none.
[[nodiscard]] std::optional<ClientName> nameOfClient(int socket);

}  // namespace korvan::lab::soak
