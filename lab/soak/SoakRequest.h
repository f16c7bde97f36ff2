#pragma once

#include <cstdint>
#include <random>
#include <span>
#include <string>
#include <string_view>

#include "lab/system/Call.h"
#include "platform/Data.h"

namespace korvan::lab::soak {

/// A kind of request that the system makes.
struct Ask {
  enum class Kind : std::uint8_t { assertion, registration, configuration, report };

  using CallFor = Call (*)(std::uint64_t number);

  constexpr Ask(std::string_view itsName, Kind itsKind, std::string_view type, CallFor callFor)
      : name(itsName), kind(itsKind), messageType(type), call(callFor) {}

  std::string_view name;
  Kind kind;
  /// The `type` of the message to the host.
  std::string_view messageType;
  /// The call for the request with this number.
  CallFor call;
};

/// All of them.
[[nodiscard]] std::span<const Ask> asks() noexcept;

struct Behavior;

/// One request, and what the host does with it.
struct SoakRequest {
  /// From 0 on.
  std::uint64_t number = 0;
  const Ask* ask = nullptr;
  const Behavior* behavior = nullptr;
  /// The code of the refusal, if the host refuses it.
  std::string_view errorCode = "failed";
  /// If the host dies, it is restarted by itself, and not when the extension opens it.
  bool revives = false;
};

/// The relying party in the request with this number, and in the answer.
[[nodiscard]] std::string relyingPartyOf(std::uint64_t number);

/// The data with this name in the request with this number, and in the answer.
[[nodiscard]] Data dataOf(std::uint64_t number, std::string_view name);

/// The requests of a soak, numbered from 0 on. The same for the same seed.
class SoakPlan {
 public:
  explicit SoakPlan(std::uint64_t seed) : random_(seed) {}

  [[nodiscard]] SoakRequest next();

 private:
  std::mt19937_64 random_;
  std::uint64_t count_ = 0;
};

}  // namespace korvan::lab::soak
