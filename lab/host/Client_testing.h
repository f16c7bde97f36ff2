#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include <sys/socket.h>
#include <sys/un.h>

#include "lab/support/Descriptor.h"
#include "lab/support/SystemError.h"
#include "platform/Data.h"

namespace korvan::lab::host {

/// A client of the host that controls every byte. It gives up on a host that neither sends nor
/// closes for 20 seconds, so that a test fails instead of hanging.
class Client {
 public:
  explicit Client(const std::filesystem::path& path)
      : socket_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::ranges::copy(path.string(), static_cast<char*>(address.sun_path));
    requireSystem(socket_.get() >= 0, "Making a socket");
    const timeval patience{.tv_sec = 20, .tv_usec = 0};
    ::setsockopt(socket_.get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
    connected_ =
        ::connect(socket_.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  }

  [[nodiscard]] bool connected() const noexcept { return connected_; }

  bool send(std::span<const std::uint8_t> bytes) {
    return ::send(socket_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL) == std::ssize(bytes);
  }

  bool sendFrame(const Data& body) {
    const std::size_t size = body.size();
    const std::array prefix{static_cast<std::uint8_t>(size >> 24U),
                            static_cast<std::uint8_t>(size >> 16U),
                            static_cast<std::uint8_t>(size >> 8U), static_cast<std::uint8_t>(size)};
    return send(prefix) && send(body.bytes());
  }

  void finishSending() { ::shutdown(socket_.get(), SHUT_WR); }

  /// Everything that the host sends until it closes the connection; empty when it does not close.
  [[nodiscard]] std::vector<std::uint8_t> receiveAll() {
    std::vector<std::uint8_t> received;
    std::array<std::uint8_t, 4096> buffer{};
    while (true) {
      const ssize_t count = ::recv(socket_.get(), buffer.data(), buffer.size(), 0);
      if (count <= 0) {
        return count == 0 ? received : std::vector<std::uint8_t>();
      }
      received.insert(received.end(), buffer.begin(), buffer.begin() + count);
    }
  }

  /// The body of the only frame that the host sends before it closes the connection.
  [[nodiscard]] std::optional<Data> receiveFrame() {
    const std::vector<std::uint8_t> bytes = receiveAll();
    if (bytes.size() < 4) {
      return std::nullopt;
    }
    std::size_t size = 0;
    for (const std::uint8_t byte : std::span(bytes).first(4)) {
      size = size << 8U | byte;
    }
    const auto body = std::span(bytes).subspan(4);
    return size == body.size() ? std::optional(Data::copyOf(body)) : std::nullopt;
  }

 private:
  Descriptor socket_;
  bool connected_ = false;
};

}  // namespace korvan::lab::host
