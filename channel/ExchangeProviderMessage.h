#pragma once

#include <cstdint>
#include <expected>
#include <span>
#include <string_view>

#include "platform/CodeSigning.h"
#include "platform/Data.h"
#include "platform/Error.h"
#include "platform/LocalSockets.h"

namespace korvan {

/// What one exchange with the host application came to.
struct ProviderExchange {
  /// The response body, exactly as long as the host announced it, or the first failing step's
  /// error.
  std::expected<Data, Error> response;
  /// True only when the connection to the socket could not be made: the host is not listening.
  bool connectFailed = false;
};

/// Makes one exchange on a connection of its own: connects to the socket at `socketPath`, verifies
/// the peer before it is sent a single byte, sends `requestBody` as one frame, reads one frame, and
/// closes.
///
/// `requestBody` is an encoded message, unframed; it is sent from where it lies. Blocks without a
/// time limit for as long as the host takes, so it is called on a background thread; any number of
/// calls may run at once. Nothing is kept between calls, and nothing is left open.
[[nodiscard]] ProviderExchange exchangeProviderMessage(const LocalSockets& sockets,
                                                       const CodeSigning& codeSigning,
                                                       std::string_view socketPath,
                                                       std::span<const std::uint8_t> requestBody);

}  // namespace korvan
