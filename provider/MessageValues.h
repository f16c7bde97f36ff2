#pragma once

#include <optional>
#include <string>

#include "platform/CredentialRequest.h"
#include "platform/Data.h"
#include "platform/OperatingSystem.h"
#include "platform/PropertyList.h"

namespace korvan {

// Conversions from the platform's records to a message's values. A field of an absent object is
// absent too. A request never leaves out a key: an absent value becomes an empty one.

/// The object's field, or null when the object or the field is absent. Valid as long as the object.
template <typename Object, typename Field>
[[nodiscard]] const Field* fieldOf(const Object* object, std::optional<Field> Object::* field) {
  return object != nullptr && (object->*field) ? &*(object->*field) : nullptr;
}

[[nodiscard]] inline PropertyListValue stringOrEmpty(const std::string* text) {
  return text != nullptr ? Text(*text) : Text();
}

[[nodiscard]] inline PropertyListValue dataOrEmpty(const Data* data) {
  return data != nullptr ? *data : Data();
}

/// The relying party's preference, or the platform's default.
[[nodiscard]] inline PropertyListValue userVerificationOrDefault(const std::string* preference,
                                                                 const OperatingSystem& system) {
  return Text(preference != nullptr ? *preference : system.preferredUserVerification());
}

[[nodiscard]] inline PropertyListValue arrayOrEmpty(const PropertyListValue::Array* list) {
  return list != nullptr ? *list : PropertyListValue::Array();
}

}  // namespace korvan
