#pragma once

#include <cstdint>
#include <string>

#include <sys/types.h>

#include "lab/check/CheckContext.h"

namespace korvan::lab::check {

/// Who listens, as the kernel recorded it when listen() was called.
struct Peer {
  std::int64_t user = -1;
  pid_t process = -1;
  /// The executable that runs, where it was when it was started; empty when the process has ended.
  std::string executable;
  /// Whether the file there is not the running one any more.
  bool replaced = false;
};

/// The peer of a connection.
[[nodiscard]] Peer peerOf(const Connection& connection);

/// That of the connection which sends nothing. Throws a CheckEnd "failed" when nobody listens.
[[nodiscard]] inline Peer peerOf(CheckContext& context) {
  return peerOf(context.silentConnection());
}

/// A user as "alice, 1000", or by the number alone.
[[nodiscard]] std::string nameOfUser(std::int64_t user);

}  // namespace korvan::lab::check
