#include "channel/ExchangeProviderMessage.h"

#include <cerrno>
#include <cstddef>
#include <optional>
#include <utility>
#include <vector>

#include "channel/ChannelError.h"
#include "channel/PeerVerification.h"
#include "channel/ProviderFrame.h"

namespace korvan {
namespace {

/// Creates a socket and owns it, if that succeeded.
class Connection {
 public:
  explicit Connection(const LocalSockets& sockets)
      : sockets_(sockets), descriptor_(sockets.socket()) {}
  Connection(const Connection&) = delete;
  Connection& operator=(const Connection&) = delete;
  ~Connection() {
    if (isOpen()) {
      sockets_.close(descriptor_);
    }
  }

  [[nodiscard]] bool isOpen() const { return descriptor_ >= 0; }
  [[nodiscard]] int descriptor() const { return descriptor_; }

  [[nodiscard]] std::optional<Error> send(std::span<const std::uint8_t> bytes) const;
  [[nodiscard]] std::optional<Error> receive(std::span<std::uint8_t> bytes) const;

 private:
  const LocalSockets& sockets_;
  int descriptor_;
};

/// Sends all of `bytes`.
std::optional<Error> Connection::send(std::span<const std::uint8_t> bytes) const {
  while (!bytes.empty()) {
    const std::ptrdiff_t sent = sockets_.send(descriptor_, bytes);
    if (sent > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(sent));
    } else if (sent == 0 || errno != EINTR) {
      // A result of 0 sets no errno, so the error may carry that of an earlier call. That is
      // acceptable: a socket has no reason to send nothing, and any error ends the exchange.
      return systemCallError("Writing to Korvan");
    }
  }
  return std::nullopt;
}

/// Fills `bytes`.
std::optional<Error> Connection::receive(std::span<std::uint8_t> bytes) const {
  while (!bytes.empty()) {
    const std::ptrdiff_t received = sockets_.recv(descriptor_, bytes);
    if (received > 0) {
      bytes = bytes.subspan(static_cast<std::size_t>(received));
    } else if (received == 0) {
      return posixError(ECONNRESET, "Korvan closed the credential-provider connection.");
    } else if (errno != EINTR) {
      return systemCallError("Reading from Korvan");
    }
  }
  return std::nullopt;
}

std::optional<Error> refusalOfPeer(const LocalSockets& sockets, const CodeSigning& codeSigning,
                                   const Connection& connection) {
  PeerVerdict verdict =
      verifyPeer(sockets, codeSigning, connection.descriptor(), AcceptedHostIdentifiers);
  if (verdict.matchedIdentifier) {
    return std::nullopt;
  }
  // Every known rejection has a reason, but trust must not depend on that.
  return std::move(verdict.error)
      .value_or(posixError(EACCES, "The Korvan application failed code-signature validation."));
}

std::optional<Error> sendFrame(const Connection& connection, std::span<const std::uint8_t> body) {
  if (!isValidProviderMessageSize(body.size())) {
    return posixError(EMSGSIZE, "The credential-provider message has an invalid size.");
  }
  if (auto error = connection.send(encodeProviderFramePrefix(body.size()))) {
    return error;
  }
  return connection.send(body);
}

std::expected<Data, Error> receiveFrame(const Connection& connection) {
  ProviderFramePrefix prefix{};
  if (auto error = connection.receive(prefix)) {
    return std::unexpected(*std::move(error));
  }
  const std::uint32_t size = decodeProviderFramePrefix(prefix);
  if (!isValidProviderMessageSize(size)) {
    return std::unexpected(posixError(
        EMSGSIZE, "Korvan returned a credential-provider message with an invalid size."));
  }
  std::vector<std::uint8_t> body(size);
  if (auto error = connection.receive(body)) {
    return std::unexpected(*std::move(error));
  }
  return body;
}

}  // namespace

ProviderExchange exchangeProviderMessage(const LocalSockets& sockets,
                                         const CodeSigning& codeSigning,
                                         std::string_view socketPath,
                                         std::span<const std::uint8_t> requestBody) {
  const Connection connection(sockets);
  if (!connection.isOpen()) {
    return {.response = std::unexpected(systemCallError("Opening the Korvan connection"))};
  }
  // Checked only now: of two failures the socket's is the one to report.
  if (socketPath.size() > LocalSockets::MaxPathSize) {
    return {.response = std::unexpected(
                posixError(ENAMETOOLONG, "The Korvan connection path is too long."))};
  }
  if (sockets.connect(connection.descriptor(), socketPath) != 0) {
    return {.response = std::unexpected(systemCallError("Connecting to Korvan")),
            .connectFailed = true};
  }
  if (auto error = refusalOfPeer(sockets, codeSigning, connection)) {
    return {.response = std::unexpected(*std::move(error))};
  }
  if (auto error = sendFrame(connection, requestBody)) {
    return {.response = std::unexpected(*std::move(error))};
  }
  return {.response = receiveFrame(connection)};
}

}  // namespace korvan
