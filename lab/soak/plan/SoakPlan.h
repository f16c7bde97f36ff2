#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "lab/soak/plan/Behaviour.h"
#include "platform/Data.h"

namespace korvan::lab::soak {

/// What the system asks of the extension.
enum class Ask : std::uint8_t {
  silentAssertion,
  interactiveAssertion,
  listAssertion,
  interactiveRegistration,
  conditionalRegistration,
  configuration,
  updateUserName,
  removeUnknownCredential,
  acceptedCredentials,
};

struct AskTraits {
  Ask ask;
  std::string_view name;
  /// The `type` of the message that the host gets.
  std::string_view messageType;
};

/// All of them, in the order of their values.
inline constexpr auto Asks = std::to_array<AskTraits>({
    {.ask = Ask::silentAssertion, .name = "silent assertion", .messageType = "assertion"},
    {.ask = Ask::interactiveAssertion,
     .name = "interactive assertion",
     .messageType = "interactiveAssertion"},
    {.ask = Ask::listAssertion,
     .name = "assertion from the list",
     .messageType = "interactiveAssertion"},
    {.ask = Ask::interactiveRegistration,
     .name = "interactive registration",
     .messageType = "registration"},
    {.ask = Ask::conditionalRegistration,
     .name = "conditional registration",
     .messageType = "registration"},
    {.ask = Ask::configuration, .name = "configuration", .messageType = "synchronize"},
    {.ask = Ask::updateUserName, .name = "report of a user name", .messageType = "updateUserName"},
    {.ask = Ask::removeUnknownCredential,
     .name = "report of an unknown credential",
     .messageType = "removeUnknownCredential"},
    {.ask = Ask::acceptedCredentials,
     .name = "report of accepted credentials",
     .messageType = "acceptedCredentials"},
});

[[nodiscard]] constexpr const AskTraits& traitsOf(Ask ask) noexcept {
  return Asks[static_cast<std::size_t>(ask)];
}

/// Which requests there are and what the host does with each: the same for the same seed, on both
/// sides of the socket. Requests are numbered from 0 on.
class SoakPlan {
 public:
  /// With `always`, the host does the same with every request.
  explicit SoakPlan(std::uint64_t seed, std::optional<Behaviour> always = std::nullopt)
      : seed_(seed), always_(always) {}

  /// Throws std::runtime_error when `file` cannot be read or holds no plan.
  [[nodiscard]] static SoakPlan readFrom(const std::filesystem::path& file);
  /// Throws std::runtime_error when it cannot be written.
  void writeTo(const std::filesystem::path& file) const;

  [[nodiscard]] Ask askOf(std::uint64_t number) const;
  [[nodiscard]] Behaviour behaviourOf(std::uint64_t number) const;
  [[nodiscard]] std::optional<Behaviour> always() const noexcept { return always_; }

  /// A number out of all 64-bit numbers for whatever else is to be chosen for a request; `purpose`
  /// tells the choices apart.
  [[nodiscard]] std::uint64_t choiceFor(std::uint64_t number, std::uint64_t purpose) const;

  // What a request and the answer to it hold.
  [[nodiscard]] static std::string relyingPartyOf(std::uint64_t number);
  /// The bytes of the field of this name: 32 of them.
  [[nodiscard]] Data dataOf(std::uint64_t number, std::string_view field) const;

 private:
  std::uint64_t seed_;
  std::optional<Behaviour> always_;
};

}  // namespace korvan::lab::soak
