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

/// The result of one exchange with the host application.
struct ProviderExchange {
  /// The response body, exactly as long as the host announced, or the error of the first step that
  /// failed.
  std::expected<Data, Error> response;
  /// True only when the connection to the socket could not be made: the host is not listening.
  bool connectFailed = false;
};

/// Makes one exchange on a new connection: connects to the socket at `socketPath`, verifies the
/// peer before it sends a single byte, sends `requestBody` as one frame, reads one frame, and
/// closes.
///
/// `requestBody` is an encoded message without a frame; it is not copied. Blocks for as long as the
/// host takes, without a timeout, so call it on a background thread. Thread-safe. Keeps nothing
/// between calls, and leaves nothing open.
[[nodiscard]] ProviderExchange exchangeProviderMessage(const LocalSockets& sockets,
                                                       const CodeSigning& codeSigning,
                                                       std::string_view socketPath,
                                                       std::span<const std::uint8_t> requestBody);

}  // namespace korvan
