#pragma once

#include <nlohmann/json.hpp>

#include "platform/Data.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab {

/// A message's body for people and scripts: the dictionary with bytes as {"data": base64url}, dates
/// as {"date": seconds since 2001} and reference numbers as {"uid": number}. What is no dictionary,
/// or would become very large because its values are repeated references to a few, is shown as the
/// body's own bytes.
[[nodiscard]] nlohmann::ordered_json messageJson(const PropertyListSerialization& propertyLists,
                                                 const Data& body);

}  // namespace korvan::lab
