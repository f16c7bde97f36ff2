#include "lab/host/HostServer.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <span>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include "lab/host/Refusal.h"
#include "lab/support/SystemError.h"
#include "platform/Data.h"

namespace korvan::lab::host {
namespace {

constexpr std::size_t PrefixSize = 4;

void setTimeout(int socket, std::chrono::milliseconds timeout) {
  const auto microseconds = std::chrono::microseconds(timeout).count();
  const timeval value{.tv_sec = microseconds / 1'000'000, .tv_usec = microseconds % 1'000'000};
  ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, &value, sizeof value);
  ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &value, sizeof value);
}

bool isOfThisUser(int socket) {
  ucred peer{};
  socklen_t size = sizeof peer;
  return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::getuid();
}

/// Fills `bytes`; false when the client closes, fails or stalls first.
bool receive(int socket, std::span<std::uint8_t> bytes, std::size_t& received) {
  while (!bytes.empty()) {
    const ssize_t count = ::recv(socket, bytes.data(), bytes.size(), 0);
    if (count == 0 || (count < 0 && errno != EINTR)) {
      return false;
    }
    const std::size_t advance = count > 0 ? static_cast<std::size_t>(count) : 0;
    received += advance;
    bytes = bytes.subspan(advance);
  }
  return true;
}

bool send(int socket, std::span<const std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR) {
      return false;
    }
    bytes = bytes.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  return true;
}

std::uint32_t sizeFrom(const std::array<std::uint8_t, PrefixSize>& prefix) {
  std::uint32_t size = 0;
  for (const std::uint8_t byte : prefix) {
    size = (size << 8U) | byte;
  }
  return size;
}

std::array<std::uint8_t, PrefixSize> prefixOf(std::size_t size) {
  return {static_cast<std::uint8_t>(size >> 24U), static_cast<std::uint8_t>(size >> 16U),
          static_cast<std::uint8_t>(size >> 8U), static_cast<std::uint8_t>(size)};
}

PropertyListDictionary failure(const std::string& description) {
  return Refusal("failed", description).response();
}

std::optional<std::string> stringIn(const PropertyListDictionary& message, std::string_view key) {
  const PropertyListValue* value = valueForKey(message, key);
  const Text* text = value == nullptr ? nullptr : value->text();
  return text == nullptr ? std::nullopt : std::optional<std::string>(text->view());
}

}  // namespace

struct HostServer::Connection {
  Descriptor socket;
  std::atomic<bool> finished = false;
  std::jthread thread;  // last, so that it has ended when the socket is closed
};

HostServer::HostServer(const PropertyListSerialization& serialization, Callbacks callbacks,
                       std::chrono::milliseconds timeout)
    : serialization_(serialization),
      callbacks_(std::move(callbacks)),
      timeout_(timeout),
      finished_(::eventfd(0, EFD_CLOEXEC)) {
  requireSystem(finished_.get() >= 0, "Making an event");
}

HostServer::~HostServer() { endAll(); }

void HostServer::run(int listener, int stop) {
  while (true) {
    const bool full = connections_.size() >= MaxConnections;
    std::array events{pollfd{.fd = stop, .events = POLLIN, .revents = 0},
                      pollfd{.fd = finished_.get(), .events = POLLIN, .revents = 0},
                      pollfd{.fd = full ? -1 : listener, .events = POLLIN, .revents = 0}};
    requireSystem(::poll(events.data(), events.size(), -1) >= 0 || errno == EINTR,
                  "Waiting for clients");
    if (events[0].revents != 0) {
      break;
    }
    if (events[1].revents != 0) {
      forgetFinished();
    }
    if (events[2].revents != 0) {
      accept(listener);
    }
  }
  endAll();
}

void HostServer::accept(int listener) {
  Descriptor socket(::accept4(listener, nullptr, nullptr, SOCK_CLOEXEC));
  if (socket.get() < 0 && (errno == EINTR || errno == ECONNABORTED || errno == EAGAIN)) {
    return;
  }
  requireSystem(socket.get() >= 0, "Accepting a client");
  Connection& connection = connections_.emplace_back();
  connection.socket = std::move(socket);
  connection.thread = std::jthread([this, &connection] { serve(connection); });
}

void HostServer::forgetFinished() {
  eventfd_t count = 0;
  ::eventfd_read(finished_.get(), &count);
  connections_.remove_if([](const Connection& connection) { return connection.finished.load(); });
}

void HostServer::endAll() {
  for (const Connection& connection : connections_) {
    // Ends the wait for a request, and still lets an answer out that is on its way.
    ::shutdown(connection.socket.get(), SHUT_RD);
  }
  connections_.clear();
}

void HostServer::serve(Connection& connection) const {
  const int socket = connection.socket.get();
  ConnectionSummary summary;
  if (isOfThisUser(socket)) {
    setTimeout(socket, timeout_);
    converse(socket, summary);
  }
  ::shutdown(socket, SHUT_RDWR);
  callbacks_.closed(summary);
  connection.finished = true;
  ::eventfd_write(finished_.get(), 1);
}

void HostServer::converse(int socket, ConnectionSummary& summary) const {
  std::array<std::uint8_t, PrefixSize> prefix{};
  if (!receive(socket, prefix, summary.bytesReceived)) {
    return;
  }
  const std::uint32_t size = sizeFrom(prefix);
  PropertyListDictionary response;
  if (size == 0 || size > MaxBodySize) {
    response = failure("The request's frame announces " + std::to_string(size) +
                       " bytes instead of 1 to 4194304.");
  } else {
    std::vector<std::uint8_t> body(size);
    if (!receive(socket, body, summary.bytesReceived)) {
      return;
    }
    response = respond(body, summary);
  }
  const Data encoded = encode(response);
  if (send(socket, prefixOf(encoded.size())) && send(socket, encoded.bytes())) {
    summary.ok = valueForKey(response, "ok")->truthValue();
    summary.errorCode = stringIn(response, "errorCode");
  }
}

PropertyListDictionary HostServer::respond(const Data& body, ConnectionSummary& summary) const {
  const auto request = serialization_.decode(body);
  if (!request) {
    return failure("The request is not a property list: " +
                   request.error().localizedDescription.value_or("no reason is known."));
  }
  if (request->dictionary() == nullptr) {
    return failure("The request is a property list, but not a dictionary.");
  }
  summary.type = stringIn(*request->dictionary(), "type");
  return callbacks_.answer(*request->dictionary());
}

/// Replaces a response that cannot be sent, as when it repeats something endless of the request.
Data HostServer::encode(PropertyListDictionary& response) const {
  auto encoded = serialization_.encodeBinary(response);
  if (!encoded || encoded->size() > MaxBodySize) {
    response = failure("The response to the request cannot be encoded.");
    encoded = serialization_.encodeBinary(response);
  }
  return encoded.value();
}

}  // namespace korvan::lab::host
