#pragma once

#include <expected>
#include <optional>
#include <string>

#include "platform/Data.h"
#include "platform/PropertyList.h"

namespace korvan {

/// Why a property list could not be encoded or decoded.
struct PropertyListError {
  /// A text for people: what was wrong, and where. Nullopt when the platform gives no text.
  std::optional<std::string> localizedDescription;
};

/// Encodes and decodes property lists. Thread-safe.
class PropertyListSerialization {
 public:
  virtual ~PropertyListSerialization() = default;

  /// Encodes in the binary format, version 1.0 ("bplist00"). Fails for a value that a property list
  /// cannot hold: null, or a text that is not UTF-8.
  [[nodiscard]] virtual std::expected<Data, PropertyListError> encodeBinary(
      const PropertyListDictionary& propertyList) const = 0;

  /// Decodes any property-list format, detected from the bytes, into immutable values. The values
  /// may share the bytes.
  [[nodiscard]] virtual std::expected<PropertyListValue, PropertyListError> decode(
      const Data& bytes) const = 0;
};

}  // namespace korvan
