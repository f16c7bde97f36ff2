#pragma once

#include <string>

#include "platform/Data.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab {

/// What the extension read of an answer that is not a whole frame, and which mistake that looks
/// like. Empty for no bytes.
[[nodiscard]] std::string wordsForBrokenFrame(const Data& bytes);

/// The size, the first bytes and the likely format of a body that does not decode to a dictionary.
[[nodiscard]] std::string wordsForStrangeBody(const PropertyListSerialization& propertyLists,
                                              const Data& body);

}  // namespace korvan::lab
