#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lab/check/CheckContext.h"

namespace korvan::lab::check {

// What the checks of a host's robustness are made of.

using RequestBytes = std::vector<std::uint8_t>;

/// The request that asks whether a host still serves.
[[nodiscard]] ProviderMessage plainRequest(const CheckContext& context);

/// A plain request with one more key, which holds `fillerSize` bytes.
[[nodiscard]] Data filledRequest(const CheckContext& context, std::size_t fillerSize);

/// A request of a type that does not exist.
[[nodiscard]] ProviderMessage unknownRequest();

/// A frame with the body.
[[nodiscard]] RequestBytes frameOf(const Data& body);

/// Gives a check of many steps the whole timeout for the next one. Ends the check as skipped when
/// all since `start` took longer than one timeout.
void startStep(CheckContext& context, Waits::Clock::time_point start);

/// Throws a CheckEnd "failed", which says what has become of the host, when a plain request is not
/// answered. `reason` is what the host got before; `question` asks for the mistake of one that has
/// ended.
void requireNextAnswer(CheckContext& context, const std::string& reason,
                       const std::string& question = "");

/// The answer to a silent assertion, with the hash of its request. Throws a CheckEnd "skipped" when
/// it is another.
[[nodiscard]] ProviderMessage silentAssertion(CheckContext& context, std::string_view relyingParty,
                                              const Data& credentialID);

}  // namespace korvan::lab::check
