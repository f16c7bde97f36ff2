#pragma once

#include <array>
#include <expected>
#include <span>
#include <string_view>

#include "channel/HostIdentifiers.h"
#include "platform/CodeSigning.h"
#include "platform/Error.h"
#include "platform/LocalSockets.h"

namespace korvan {

/// The code-signing identifiers that the host application may have, in the order they are tried.
inline constexpr std::array<std::string_view, 1> AcceptedHostIdentifiers{HostBundleIdentifier};

/// Verifies that the connected peer runs as this user and is validly signed by the host's team,
/// with one of the accepted identifiers: gives that identifier, or why the peer is not to be
/// trusted. Sends and receives nothing.
[[nodiscard]] std::expected<std::string_view, Error> verifyPeer(
    const LocalSockets& sockets, const CodeSigning& codeSigning, int descriptor,
    std::span<const std::string_view> acceptedHostIdentifiers);

}  // namespace korvan
