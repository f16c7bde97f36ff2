#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace korvan::lab::soak {

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
  sendOtherFormat,  ///< success without any other field, as XML
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
inline constexpr auto Behaviours = std::to_array<BehaviourTraits>({
    {.behaviour = Behaviour::answer, .name = "answer", .weight = 250},
    {.behaviour = Behaviour::answerInDrops, .name = "answerInDrops", .weight = 30},
    {.behaviour = Behaviour::answerWithMore, .name = "answerWithMore", .weight = 30},
    {.behaviour = Behaviour::answerLarge, .name = "answerLarge", .weight = 10},
    {.behaviour = Behaviour::answerWithoutFields, .name = "answerWithoutFields", .weight = 30},
    {.behaviour = Behaviour::answerMistyped, .name = "answerMistyped", .weight = 30},
    {.behaviour = Behaviour::answerOtherRequest, .name = "answerOtherRequest", .weight = 30},
    {.behaviour = Behaviour::answerOtherType, .name = "answerOtherType", .weight = 30},
    {.behaviour = Behaviour::answerWithoutOk, .name = "answerWithoutOk", .weight = 30},
    {.behaviour = Behaviour::answerMistypedOk, .name = "answerMistypedOk", .weight = 30},
    {.behaviour = Behaviour::refuse, .name = "refuse", .weight = 100},
    {.behaviour = Behaviour::refuseWithNotice, .name = "refuseWithNotice", .weight = 30},
    {.behaviour = Behaviour::sendArray, .name = "sendArray", .weight = 30},
    {.behaviour = Behaviour::sendOtherFormat, .name = "sendOtherFormat", .weight = 30},
    {.behaviour = Behaviour::sendGarbage, .name = "sendGarbage", .weight = 30},
    {.behaviour = Behaviour::announceNothing, .name = "announceNothing", .weight = 30},
    {.behaviour = Behaviour::announceTooMuch, .name = "announceTooMuch", .weight = 30},
    {.behaviour = Behaviour::announceLess, .name = "announceLess", .weight = 30},
    {.behaviour = Behaviour::closeAtOnce, .name = "closeAtOnce", .weight = 30},
    {.behaviour = Behaviour::closeAfterPrefix, .name = "closeAfterPrefix", .weight = 20},
    {.behaviour = Behaviour::closeInRequest, .name = "closeInRequest", .weight = 20},
    {.behaviour = Behaviour::closeAfterRequest, .name = "closeAfterRequest", .weight = 30},
    {.behaviour = Behaviour::stallAndClose, .name = "stallAndClose", .weight = 40},
    {.behaviour = Behaviour::closeInAnswerPrefix, .name = "closeInAnswerPrefix", .weight = 20},
    {.behaviour = Behaviour::closeAfterAnswerPrefix,
     .name = "closeAfterAnswerPrefix",
     .weight = 20},
    {.behaviour = Behaviour::closeInAnswer, .name = "closeInAnswer", .weight = 30},
    // Happens before the host can know which request it is, and so to every request or to none.
    {.behaviour = Behaviour::dieBeforeAccept, .name = "dieBeforeAccept", .weight = 0},
    {.behaviour = Behaviour::dieAtOnce, .name = "dieAtOnce", .weight = 2},
    {.behaviour = Behaviour::dieAfterPrefix, .name = "dieAfterPrefix", .weight = 1},
    {.behaviour = Behaviour::dieInRequest, .name = "dieInRequest", .weight = 1},
    {.behaviour = Behaviour::dieAfterRequest, .name = "dieAfterRequest", .weight = 2},
    {.behaviour = Behaviour::dieInAnswerPrefix, .name = "dieInAnswerPrefix", .weight = 1},
    {.behaviour = Behaviour::dieAfterAnswerPrefix, .name = "dieAfterAnswerPrefix", .weight = 1},
    {.behaviour = Behaviour::dieInAnswer, .name = "dieInAnswer", .weight = 2},
});

[[nodiscard]] std::string_view nameOf(Behaviour behaviour) noexcept;

/// None for a name that no behaviour has.
[[nodiscard]] std::optional<Behaviour> behaviourNamed(std::string_view name) noexcept;

/// True when the behaviour ends the host's process.
[[nodiscard]] constexpr bool isDeath(Behaviour behaviour) noexcept {
  return behaviour >= Behaviour::dieBeforeAccept;
}

/// True when the host reads the whole request before anything else.
[[nodiscard]] bool readsWholeRequest(Behaviour behaviour) noexcept;

}  // namespace korvan::lab::soak
