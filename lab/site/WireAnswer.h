#pragma once

#include <optional>

#include "channel/ProviderMessage.h"
#include "lab/site/Finding.h"
#include "lab/system/Outcome.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab {

/// The last answer that came over the socket in a call. Nullopt if none came, or none that is a
/// dictionary.
[[nodiscard]] std::optional<ProviderMessage> wireAnswer(
    const PropertyListSerialization& propertyLists, const CallResult& result);

/// Whether that answer's `ok` is sound and, if it refuses, the refusal; `silent` if the request did
/// not allow interaction. Empty without an answer.
[[nodiscard]] FindingList judgeWireAnswer(const PropertyListSerialization& propertyLists,
                                          const CallResult& result, bool silent);

}  // namespace korvan::lab
