#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "lab/soak/SoakRequest.h"
#include "lab/soak/plan/HostScript.h"
#include "lab/system/Outcome.h"

namespace korvan::lab::soak {

/// What the host does with one request, and the right outcomes.
struct HostPart {
  HostScript script;
  /// The right outcome if the extension accepts the host's answer.
  std::optional<Outcome> answered = std::nullopt;
  /// Otherwise the right error descriptions: one, or several where the kernel may report the same
  /// failure in several ways.
  // NOLINTNEXTLINE(readability-redundant-member-init): g++ warns where it is left out otherwise
  std::vector<std::string> failures = {};
};

/// One way for a host to behave.
struct Behavior {
  using PartIn = HostPart (*)(const SoakRequest& request);

  constexpr Behavior(std::string_view itsName, unsigned itsWeight, PartIn part)
      : name(itsName), weight(itsWeight), partIn(part) {}

  std::string_view name;
  /// How often it is chosen, relative to the sum of all weights.
  unsigned weight;
  PartIn partIn;
};

/// All of them: hosts that answer, that send invalid answers, that close, and that die.
[[nodiscard]] std::span<const Behavior> behaviors() noexcept;

/// The right outcomes of a request if the host did its part. `isLaunched`: the extension opened the
/// host for it.
[[nodiscard]] std::vector<Outcome> rightOutcomes(const SoakRequest& request, bool isLaunched);

/// The other right outcomes of a request during which the host was down, started or died: every way
/// to report a connection that fails or breaks.
[[nodiscard]] std::vector<Outcome> outcomesOfOutage(const SoakRequest& request, bool isLaunched);

}  // namespace korvan::lab::soak
