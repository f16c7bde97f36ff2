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

/// What the host does with one request, and what is right for the extension to make of it.
struct HostPart {
  HostScript script;
  /// The right outcome where the extension takes the host's answer.
  std::optional<Outcome> answered = std::nullopt;
  /// Where it gets none that it can take: in which words it may say so. One, or where the kernel
  /// may report the same in several ways, a few.
  // NOLINTNEXTLINE(readability-redundant-member-init): g++ warns where it is left out otherwise
  std::vector<std::string> failures = {};
};

/// A way in which hosts behave.
struct Behavior {
  using PartIn = HostPart (*)(const SoakRequest& request);

  constexpr Behavior(std::string_view itsName, unsigned itsWeight, PartIn part)
      : name(itsName), weight(itsWeight), partIn(part) {}

  std::string_view name;
  /// How often it is chosen, out of all the weights' sum.
  unsigned weight;
  PartIn partIn;
};

/// All of them: those that answer, that answer what is no answer, that close, and that die.
[[nodiscard]] std::span<const Behavior> behaviors() noexcept;

/// The right outcomes of a request with which the host did its part. `isLaunched`: the extension
/// had the host opened for it.
[[nodiscard]] std::vector<Outcome> rightOutcomes(const SoakRequest& request, bool isLaunched);

/// The right outcomes, besides those, of a request while which the host was down, came up or died:
/// each way in which a connection that cannot be made or is cut is told.
[[nodiscard]] std::vector<Outcome> outcomesOfOutage(const SoakRequest& request, bool isLaunched);

}  // namespace korvan::lab::soak
