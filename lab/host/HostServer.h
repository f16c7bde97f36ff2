#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <list>
#include <optional>
#include <string>

#include "lab/support/Descriptor.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab::host {

/// What happened on one connection. A nullopt part was not reached.
struct ConnectionSummary {
  std::size_t bytesReceived = 0;         ///< of the request's frame, with its prefix
  std::optional<std::string> type;       ///< the request's `type`
  std::optional<bool> ok;                ///< of the response, once it is sent
  std::optional<std::string> errorCode;  ///< of the response, once it is sent
};

/// Serves the extension's requests. A connection carries one frame each way: the size of the body
/// in 4 bytes, big-endian, and the body, a message as a property list.
///
/// Every connection has a thread, so that a client that stalls holds up nobody else. It is dropped
/// when it neither sends nor takes anything for `timeout`. Clients of other users are dropped
/// before a byte is read.
class HostServer {
 public:
  /// The most bytes in a frame's body. The fewest are 1.
  static constexpr std::size_t MaxBodySize = 4'194'304;

  /// How many connections are served at a time; others wait.
  static constexpr std::size_t MaxConnections = 64;

  struct Callbacks {
    /// Returns the response to a request. Called on several connections' threads at once.
    std::function<PropertyListDictionary(const PropertyListDictionary&)> answer;

    /// Called on the connection's thread when it is closed.
    std::function<void(const ConnectionSummary&)> closed;
  };

  /// Refers to `serialization`, which outlives it. Both callbacks are set, and do not throw. Throws
  /// std::system_error when the system is out of resources.
  HostServer(const PropertyListSerialization& serialization, Callbacks callbacks,
             std::chrono::milliseconds timeout = std::chrono::seconds(30));

  HostServer(const HostServer&) = delete;
  HostServer& operator=(const HostServer&) = delete;
  HostServer(HostServer&&) = delete;
  HostServer& operator=(HostServer&&) = delete;
  ~HostServer();

  /// Serves the clients of the listening socket `listener` until `stop` becomes readable, then
  /// closes all connections. No thread is left on return. Throws std::system_error when no client
  /// can be accepted any more.
  void run(int listener, int stop);

 private:
  struct Connection;

  void accept(int listener);
  void forgetFinished();
  void endAll();

  void serve(Connection& connection) const;
  void converse(int socket, ConnectionSummary& summary) const;
  [[nodiscard]] PropertyListDictionary respond(const Data& body, ConnectionSummary& summary) const;
  [[nodiscard]] Data encode(PropertyListDictionary& response) const;

  const PropertyListSerialization& serialization_;
  const Callbacks callbacks_;
  const std::chrono::milliseconds timeout_;
  const Descriptor finished_;  ///< an event: a connection's thread is about to end
  std::list<Connection> connections_;
};

}  // namespace korvan::lab::host
