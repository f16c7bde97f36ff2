#include "lab/soak/plan/Behaviour.h"

#include <algorithm>
#include <cstddef>

namespace korvan::lab::soak {

std::string_view nameOf(Behaviour behaviour) noexcept {
  return Behaviours[static_cast<std::size_t>(behaviour)].name;
}

std::optional<Behaviour> behaviourNamed(std::string_view name) noexcept {
  const auto* const found = std::ranges::find(Behaviours, name, &BehaviourTraits::name);
  return found != Behaviours.end() ? std::optional(found->behaviour) : std::nullopt;
}

bool readsWholeRequest(Behaviour behaviour) noexcept {
  switch (behaviour) {
    case Behaviour::closeAtOnce:
    case Behaviour::closeAfterPrefix:
    case Behaviour::closeInRequest:
    case Behaviour::dieBeforeAccept:
    case Behaviour::dieAtOnce:
    case Behaviour::dieAfterPrefix:
    case Behaviour::dieInRequest:
      return false;
    default:
      return true;
  }
}

}  // namespace korvan::lab::soak
