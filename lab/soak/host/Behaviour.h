#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace korvan::soak {

/// What the misbehaving host does with a request. It never says why.
enum class Behaviour : std::uint8_t {
  // Answers.
  answer,
  answerInDrops,        ///< a byte at a time
  answerWithMore,       ///< more bytes than the frame announces
  answerLarge,          ///< more than a socket's buffer holds
  answerWithoutFields,  ///< `ok` alone
  answerMistyped,       ///< each field of another kind
  answerOtherRequest,   ///< the values of another request
  answerOtherType,      ///< the answer to a request of another type
  answerWithoutOk,
  answerMistypedOk,
  refuse,
  refuseWithNotice,  ///< asks for the notice
  // Answers that are none.
  sendArray,
  sendOtherFormat,  ///< a property list as text
  sendGarbage,
  announceNothing,
  announceTooMuch,
  announceLess,  ///< fewer bytes than the body has
  // Closes without an answer, or within it.
  closeAtOnce,
  closeAfterPrefix,
  closeInRequest,
  closeAfterRequest,
  stallAndClose,
  closeInAnswerPrefix,
  closeAfterAnswerPrefix,
  closeInAnswer,
  // Dies: SIGKILL ends the whole process.
  dieBeforeAccept,
  dieAtOnce,
  dieAfterPrefix,
  dieInRequest,
  dieAfterRequest,
  dieInAnswerPrefix,
  dieAfterAnswerPrefix,
  dieInAnswer,
};

struct BehaviourTraits {
  Behaviour behaviour;
  std::string_view name;
  /// How often it is chosen, out of all the weights' sum.
  unsigned weight;
};

/// All behaviours, in the order of their values.
inline constexpr std::array Behaviours = {
    BehaviourTraits{Behaviour::answer, "answer", 250},
    BehaviourTraits{Behaviour::answerInDrops, "answerInDrops", 30},
    BehaviourTraits{Behaviour::answerWithMore, "answerWithMore", 30},
    BehaviourTraits{Behaviour::answerLarge, "answerLarge", 10},
    BehaviourTraits{Behaviour::answerWithoutFields, "answerWithoutFields", 30},
    BehaviourTraits{Behaviour::answerMistyped, "answerMistyped", 30},
    BehaviourTraits{Behaviour::answerOtherRequest, "answerOtherRequest", 30},
    BehaviourTraits{Behaviour::answerOtherType, "answerOtherType", 30},
    BehaviourTraits{Behaviour::answerWithoutOk, "answerWithoutOk", 30},
    BehaviourTraits{Behaviour::answerMistypedOk, "answerMistypedOk", 30},
    BehaviourTraits{Behaviour::refuse, "refuse", 100},
    BehaviourTraits{Behaviour::refuseWithNotice, "refuseWithNotice", 30},
    BehaviourTraits{Behaviour::sendArray, "sendArray", 30},
    BehaviourTraits{Behaviour::sendOtherFormat, "sendOtherFormat", 30},
    BehaviourTraits{Behaviour::sendGarbage, "sendGarbage", 30},
    BehaviourTraits{Behaviour::announceNothing, "announceNothing", 30},
    BehaviourTraits{Behaviour::announceTooMuch, "announceTooMuch", 30},
    BehaviourTraits{Behaviour::announceLess, "announceLess", 30},
    BehaviourTraits{Behaviour::closeAtOnce, "closeAtOnce", 30},
    BehaviourTraits{Behaviour::closeAfterPrefix, "closeAfterPrefix", 20},
    BehaviourTraits{Behaviour::closeInRequest, "closeInRequest", 20},
    BehaviourTraits{Behaviour::closeAfterRequest, "closeAfterRequest", 30},
    BehaviourTraits{Behaviour::stallAndClose, "stallAndClose", 40},
    BehaviourTraits{Behaviour::closeInAnswerPrefix, "closeInAnswerPrefix", 20},
    BehaviourTraits{Behaviour::closeAfterAnswerPrefix, "closeAfterAnswerPrefix", 20},
    BehaviourTraits{Behaviour::closeInAnswer, "closeInAnswer", 30},
    // Happens before the host can know which request it is, and so to every request or to none.
    BehaviourTraits{Behaviour::dieBeforeAccept, "dieBeforeAccept", 0},
    BehaviourTraits{Behaviour::dieAtOnce, "dieAtOnce", 2},
    BehaviourTraits{Behaviour::dieAfterPrefix, "dieAfterPrefix", 1},
    BehaviourTraits{Behaviour::dieInRequest, "dieInRequest", 1},
    BehaviourTraits{Behaviour::dieAfterRequest, "dieAfterRequest", 2},
    BehaviourTraits{Behaviour::dieInAnswerPrefix, "dieInAnswerPrefix", 1},
    BehaviourTraits{Behaviour::dieAfterAnswerPrefix, "dieAfterAnswerPrefix", 1},
    BehaviourTraits{Behaviour::dieInAnswer, "dieInAnswer", 2},
};

[[nodiscard]] std::string_view nameOf(Behaviour behaviour) noexcept;

/// None for a name that no behaviour has.
[[nodiscard]] std::optional<Behaviour> behaviourNamed(std::string_view name) noexcept;

/// True when the behaviour ends the host's process.
[[nodiscard]] constexpr bool isDeath(Behaviour behaviour) noexcept {
  return behaviour >= Behaviour::dieBeforeAccept;
}

/// True when the host reads the whole request before anything else.
[[nodiscard]] bool readsWholeRequest(Behaviour behaviour) noexcept;

}  // namespace korvan::soak
