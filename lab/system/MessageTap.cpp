#include "lab/system/MessageTap.h"

#include <algorithm>
#include <cerrno>
#include <optional>

#include "channel/ProviderFrame.h"

namespace korvan::lab {
namespace {

std::optional<Data> wholeFrame(std::span<const std::uint8_t> bytes) {
  ProviderFramePrefix prefix{};
  if (bytes.size() < prefix.size()) {
    return std::nullopt;
  }
  std::ranges::copy(bytes.first(prefix.size()), prefix.begin());
  const std::size_t size = decodeProviderFramePrefix(prefix);
  const auto body = bytes.subspan(prefix.size());
  if (!isValidProviderMessageSize(size) || body.size() < size) {
    return std::nullopt;
  }
  return Data::copyOf(body.first(size));
}

}  // namespace

int MessageTap::connect(int descriptor, std::string_view path) const {
  const int result = ForwardedSockets::connect(descriptor, path);
  const int keptErrno = errno;
  {
    const std::scoped_lock lock(mutex_);
    if (result == 0) {
      open_[descriptor] = connections_.size();
      connections_.emplace_back();
    } else {
      ++failedConnections_;
    }
  }
  errno = keptErrno;
  return result;
}

std::ptrdiff_t MessageTap::send(int descriptor, std::span<const std::uint8_t> bytes) const {
  const std::ptrdiff_t sent = ForwardedSockets::send(descriptor, bytes);
  if (sent > 0) {
    record(descriptor, &Connection::sent, bytes.first(static_cast<std::size_t>(sent)));
  }
  return sent;
}

std::ptrdiff_t MessageTap::recv(int descriptor, std::span<std::uint8_t> bytes) const {
  const std::ptrdiff_t received = ForwardedSockets::recv(descriptor, bytes);
  if (received > 0) {
    record(descriptor, &Connection::received, bytes.first(static_cast<std::size_t>(received)));
  }
  return received;
}

void MessageTap::close(int descriptor) const {
  tellMessages(descriptor, true);
  {
    // Before the close: afterwards another thread may be given the same number.
    const std::scoped_lock lock(mutex_);
    open_.erase(descriptor);
  }
  ForwardedSockets::close(descriptor);
}

void MessageTap::record(int descriptor, Bytes Connection::* direction,
                        std::span<const std::uint8_t> bytes) const {
  const int keptErrno = errno;
  {
    const std::scoped_lock lock(mutex_);
    if (const auto found = open_.find(descriptor); found != open_.end()) {
      Bytes& all = connections_[found->second].*direction;
      all.insert(all.end(), bytes.begin(), bytes.end());
    }
  }
  tellMessages(descriptor, false);
  errno = keptErrno;
}

std::vector<PassingMessage> MessageTap::untoldMessages(int descriptor, bool isClosed) const {
  std::vector<PassingMessage> messages;
  const std::scoped_lock lock(mutex_);
  const auto found = open_.find(descriptor);
  if (found == open_.end()) {
    return messages;
  }
  Connection& connection = connections_[found->second];
  if (auto body = connection.requestTold ? std::nullopt : wholeFrame(connection.sent)) {
    connection.requestTold = true;
    messages.push_back({.direction = Direction::request, .bytes = *std::move(body)});
  }
  if (auto body = connection.answerTold ? std::nullopt : wholeFrame(connection.received)) {
    connection.answerTold = true;
    messages.push_back({.direction = Direction::response, .bytes = *std::move(body)});
  }
  if (isClosed && connection.requestTold && !connection.answerTold) {
    connection.answerTold = true;
    messages.push_back({.direction = Direction::response,
                        .isWhole = false,
                        .bytes = Data::copyOf(connection.received)});
  }
  return messages;
}

void MessageTap::tellMessages(int descriptor, bool isClosed) const {
  if (!listener_) {
    return;
  }
  for (const PassingMessage& message : untoldMessages(descriptor, isClosed)) {
    listener_(message);
  }
}

std::vector<RecordedFrame> MessageTap::frames() const {
  const std::scoped_lock lock(mutex_);
  std::vector<RecordedFrame> frames;
  for (const Connection& connection : connections_) {
    if (auto body = wholeFrame(connection.sent)) {
      frames.push_back({.direction = Direction::request, .body = *std::move(body)});
    }
    if (auto body = wholeFrame(connection.received)) {
      frames.push_back({.direction = Direction::response, .body = *std::move(body)});
    }
  }
  return frames;
}

std::size_t MessageTap::failedConnections() const {
  const std::scoped_lock lock(mutex_);
  return failedConnections_;
}

}  // namespace korvan::lab
