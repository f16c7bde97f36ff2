#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <limits>
#include <string_view>
#include <vector>

#include "lab/host/RequestHandler.h"
#include "lab/host/SigningKey.h"
#include "lab/host/Vault.h"
#include "lab/support/Descriptor.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab::broken {

using Bytes = std::vector<std::uint8_t>;

/// What a connection is served with.
struct Surroundings {
  host::RequestHandler& handler;
  /// Belongs to the handler while it answers.
  host::Vault& vault;
  const PropertyListSerialization& propertyLists;
};

/// What an assertion's signature is made with.
struct Signing {
  const host::SigningKey& key;
  Data statement;
  Data clientDataHash;
};

// NOLINTBEGIN(readability-redundant-member-init): so that initializers may leave members out

/// A host's one mistake, and what a run must say of it. What is left empty is as in a sound host.
struct Mistake {
  /// Words with hyphens.
  std::string_view name;
  /// The checks that fail, and no others, in the order in which they run.
  std::vector<std::string_view> fails;
  /// Part of the hint of the first of them, or of the first warning where nothing fails.
  std::string_view hint;
  /// The exit status of the run; by default 1 where something fails.
  int status = 1;
  /// Whether the host must be started by root.
  bool asRoot = false;
  /// The checks that warn, and no others.
  std::vector<std::string_view> warns = {};
  /// Whether the run launches the host, and may start it again.
  bool launched = false;
  /// Options of korvan-lab check-host, besides those.
  std::vector<std::string_view> options = {};

  /// Alters the request that the handler sees.
  std::function<void(PropertyListDictionary& request)> request = {};
  /// Alters the answer to `request`, which is as it came.
  std::function<void(const PropertyListDictionary& request, PropertyListDictionary& answer)>
      answer = {};
  /// Alters the encoded answer.
  std::function<void(Bytes& body)> body = {};
  /// Alters the answer's frame.
  std::function<void(Bytes& frame)> frame = {};
  /// Runs on a new connection, before the request is read and before the next one is accepted.
  std::function<void(int socket)> greet = {};
  /// Runs after the answer is sent, before the connection is closed.
  std::function<void(int socket)> afterAnswer = {};
  /// Serves a connection instead of serveSoundly().
  std::function<void(int socket, const Mistake& mistake, const Surroundings& surroundings)> serve =
      {};
  /// Makes the listening socket in the container instead of HostSocket.
  std::function<Descriptor(const std::filesystem::path& container)> listen = {};
  /// How many connections are served at once. The next ones wait to be accepted.
  int mostAtOnce = std::numeric_limits<int>::max();
  /// Runs before anything else.
  std::function<void()> start = {};
  /// Alters authenticator data, in registrations too, before it is signed.
  std::function<void(const PropertyListDictionary& request, Bytes& statement)> statement = {};
  /// Makes an assertion's signature.
  std::function<Data(const Signing& signing)> sign = {};
  /// Alters what the host keeps, after it has answered the request.
  std::function<void(const PropertyListDictionary& request, std::vector<host::Passkey>& passkeys)>
      keep = {};
  /// Whether the passkeys are lost when the host ends, or only when SIGKILL ends it.
  bool forgetsPasskeys = false;
  bool forgetsPasskeysWhenKilled = false;
};

// NOLINTEND(readability-redundant-member-init)

// The mistakes of each group of checks. One file a group.
[[nodiscard]] std::vector<Mistake> socketMistakes();
[[nodiscard]] std::vector<Mistake> framingMistakes();
[[nodiscard]] std::vector<Mistake> robustnessMistakes();
[[nodiscard]] std::vector<Mistake> stallMistakes();
[[nodiscard]] std::vector<Mistake> registrationMistakes();
[[nodiscard]] std::vector<Mistake> assertionMistakes();
[[nodiscard]] std::vector<Mistake> refusalMistakes();
[[nodiscard]] std::vector<Mistake> reportMistakes();
[[nodiscard]] std::vector<Mistake> processMistakes();

/// That of a host which looks at nothing in a request but its kind. It is not among allMistakes().
[[nodiscard]] const Mistake& heedlessness();

/// That of a host which takes its time for each answer. It is not among allMistakes() either.
[[nodiscard]] const Mistake& slowness();

/// All mistakes. Their names are different.
[[nodiscard]] const std::vector<Mistake>& allMistakes();

// What a serving function is made of.

/// Reads one frame's body. Empty when the client leaves before.
[[nodiscard]] Bytes readFrame(int socket);

/// The frame of the answer to a request's body, with what the mistake alters.
[[nodiscard]] Bytes answerFrame(const Bytes& requestBody, const Mistake& mistake,
                                const Surroundings& surroundings);

/// Sends all bytes; gives up when the client has left.
void sendAll(int socket, const Bytes& bytes);

/// Serves one connection without a mistake but those of `mistake`'s parts. Does not close it.
void serveSoundly(int socket, const Mistake& mistake, const Surroundings& surroundings);

}  // namespace korvan::lab::broken
