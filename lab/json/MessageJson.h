#pragma once

#include <nlohmann/json.hpp>

#include "platform/Data.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab {

/// A message's body for people and scripts: the dictionary, with bytes as {"data": base64url},
/// dates as {"date": seconds since 2001} and keyed-archiver references as {"uid": number}. A body
/// that is not a dictionary, or whose repeated references would make the JSON very large, is shown
/// as bytes.
[[nodiscard]] nlohmann::ordered_json messageJson(const PropertyListSerialization& propertyLists,
                                                 const Data& body);

}  // namespace korvan::lab
