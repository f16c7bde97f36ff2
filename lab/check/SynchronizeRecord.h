#pragma once

#include <cstdint>
#include <vector>

#include "lab/check/Connection.h"
#include "platform/Data.h"

namespace korvan::lab::check {

/// What a host did on one connection, for a request `synchronize`.
struct SynchronizeRecord {
  /// What it sent before the request.
  std::vector<std::uint8_t> early;
  /// What it sent afterwards, until it closed the connection or sent no more.
  std::vector<std::uint8_t> answer;
  /// `closed`, `reset`, or `timedOut` when it left the connection open.
  Ending ending = Ending::closed;
};

/// Sends the request, and takes whatever comes until the host has been silent for a second after
/// the first byte.
[[nodiscard]] SynchronizeRecord recordSynchronize(Connection connection, const Data& requestBody);

}  // namespace korvan::lab::check
