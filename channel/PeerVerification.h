#pragma once

#include <array>
#include <optional>
#include <span>
#include <string_view>

#include "channel/HostIdentifiers.h"
#include "platform/CodeSigning.h"
#include "platform/Error.h"
#include "platform/LocalSockets.h"

namespace korvan {

/// The code-signing identifiers that the host application may have, in the order they are tried.
inline constexpr std::array<std::string_view, 1> AcceptedHostIdentifiers{HostBundleIdentifier};

/// The result of verifying the process at the other end of a connection.
struct PeerVerdict {
  /// The accepted identifier in the peer's valid signature. Nullopt: do not trust the peer.
  std::optional<std::string_view> matchedIdentifier;
  /// Why the peer is not trusted.
  std::optional<Error> error;
};

/// Verifies that the connected peer runs as this user and is validly signed by the host's team,
/// with one of the accepted identifiers. Sends and receives nothing.
[[nodiscard]] PeerVerdict verifyPeer(const LocalSockets& sockets, const CodeSigning& codeSigning,
                                     int descriptor,
                                     std::span<const std::string_view> acceptedHostIdentifiers);

}  // namespace korvan
