#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {

// What the mistakes in answers are made of.

using Message = PropertyListDictionary;
using IsOfKind = bool (*)(const Message& request);

// Kinds of requests.
[[nodiscard]] bool isRegistration(const Message& request);
[[nodiscard]] bool isAssertion(const Message& request);
[[nodiscard]] bool isInteractive(const Message& request);
[[nodiscard]] bool isReport(const Message& request);

// Where the flags and the sign count are in authenticator data.
inline constexpr std::size_t FlagsPlace = 32;
inline constexpr std::size_t CountPlace = 33;

[[nodiscard]] Message refusal(std::string_view code);

/// The data in a request's array.
[[nodiscard]] std::vector<Data> identifiersIn(const Message& request, std::string_view key);

/// Cuts a request's array to the first twenty.
void keepTwentyOf(Message& request, std::string_view key);

[[nodiscard]] bool contains(const std::vector<Data>& all, const Data& one);

/// Refuses all requests of a kind.
[[nodiscard]] decltype(Mistake::answer) refusing(IsOfKind isOfKind, std::string_view code);

/// Alters the requests of a kind.
[[nodiscard]] decltype(Mistake::request) inRequests(IsOfKind isOfKind,
                                                    void (*alter)(Message& request));

/// Alters the answers to the requests of a kind that are served.
[[nodiscard]] decltype(Mistake::answer) inAnswers(IsOfKind isOfKind,
                                                  void (*alter)(Message& answer));

/// Alters the authenticator data in the answers to requests of a kind.
[[nodiscard]] decltype(Mistake::statement) inStatements(IsOfKind isOfKind,
                                                        void (*alter)(Bytes& statement));

/// Sets or clears flags there.
[[nodiscard]] decltype(Mistake::statement) withFlags(IsOfKind isOfKind, std::uint8_t flags);
[[nodiscard]] decltype(Mistake::statement) withoutFlags(IsOfKind isOfKind, std::uint8_t flags);

/// Serves all requests but those of a kind, for which it asks a user who never answers, or closes.
[[nodiscard]] decltype(Mistake::serve) waitingForUser(IsOfKind isOfKind);
[[nodiscard]] decltype(Mistake::serve) closing(IsOfKind isOfKind);

}  // namespace korvan::lab::broken
