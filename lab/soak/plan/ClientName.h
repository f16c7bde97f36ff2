#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvan::lab::soak {

/// Which attempt of which request a connection belongs to.
struct ClientName {
  std::uint64_t number = 0;
  /// From 1 on.
  std::uint32_t attempt = 0;
};

// The extension's side gives its socket a name, an abstract one of Linux, and the kernel shows it
// to the host. So the host knows the request before it reads a byte, and also where a message, such
// as the configuration's, tells nothing about itself.
// https://man7.org/linux/man-pages/man7/unix.7.html

/// Binds the socket to the name. 0, or -1 with `errno` set.
[[nodiscard]] int bindToName(int socket, const ClientName& name);

/// The name of the client at the other end; none when it has no name.
[[nodiscard]] std::optional<ClientName> nameOfClient(int socket);

}  // namespace korvan::lab::soak
