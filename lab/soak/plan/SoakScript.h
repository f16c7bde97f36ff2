#pragma once

#include <array>
#include <cstdint>
#include <string_view>

#include "channel/ProviderMessage.h"
#include "lab/soak/plan/SoakPlan.h"
#include "platform/Data.h"

namespace korvan::lab::soak {

/// How much of a request the host reads before it goes on.
enum class Reading : std::uint8_t { nothing, prefix, halfOfTheBody, everything };

/// What the host does on one connection, in this order; at last it closes.
struct SoakScript {
  Reading reading = Reading::everything;
  /// Waits a little, without a word.
  bool stalls = false;
  /// As they go over the socket, frame and all.
  Data sends;
  /// Sends a byte at a time.
  bool inDrops = false;
  /// Ends its process with SIGKILL.
  bool dies = false;
};

[[nodiscard]] SoakScript scriptFor(const SoakPlan& plan, std::uint64_t number);

/// The answer to a request that succeeds: what a host would say, of the right kinds.
[[nodiscard]] ProviderMessage successOf(const SoakPlan& plan, Ask ask, std::uint64_t number);

/// The type that the host takes the request for in Behaviour::answerOtherType.
[[nodiscard]] Ask mistakenAsk(Ask ask) noexcept;

/// The request that the host takes it for in Behaviour::answerOtherRequest.
[[nodiscard]] constexpr std::uint64_t mistakenNumber(std::uint64_t number) noexcept {
  return number + 1;
}

/// The `errorCode` with which the host refuses the request.
[[nodiscard]] std::string_view refusalOf(const SoakPlan& plan, std::uint64_t number);

/// The `errorDescription` of a refusal.
inline constexpr std::string_view RefusalDescription = "The host refuses.";

/// The body that the extension takes from what the host sends: as many bytes as are announced.
/// None when it does not get as many.
[[nodiscard]] Data receivedBody(const SoakScript& script);

}  // namespace korvan::lab::soak
