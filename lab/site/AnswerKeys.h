#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "channel/ProviderMessage.h"
#include "lab/site/AnswerJudge.h"
#include "lab/site/Finding.h"
#include "platform/Data.h"

namespace korvan::lab {

/// A key that an answer must have.
struct WantedKey {
  enum class Kind : std::uint8_t { string, data };
  std::string_view name;
  Kind kind = Kind::data;
  /// The right value of a data key, if it is known.
  const Data* value = nullptr;
};

/// Whether all keys are there, each of its kind: one failure for each that is not.
[[nodiscard]] FindingList judgeKinds(const ProviderMessage& answer,
                                     std::span<const WantedKey> keys);

/// Whether the relying party and the client data's hash are the request's. Says nothing of a value
/// that is missing or of another kind.
[[nodiscard]] FindingList judgeEchoes(const ProviderMessage& answer, const RequestTerms& terms);

}  // namespace korvan::lab
