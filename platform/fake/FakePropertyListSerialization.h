#pragma once

#include <deque>
#include <expected>
#include <optional>

#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Keeps property lists instead of encoding them. The bytes are the number of the list.
class FakePropertyListSerialization : public PropertyListSerialization {
 public:
  [[nodiscard]] std::expected<Data, PropertyListError> encodeBinary(
      const PropertyListDictionary& propertyList) const override;
  [[nodiscard]] std::expected<PropertyListValue, PropertyListError> decode(
      const Data& bytes) const override;

  /// Bytes that decode to `value`, which need not be a dictionary.
  [[nodiscard]] Data bytesFor(PropertyListValue value) const;

  /// If set, every encoding, or decoding, fails with this.
  std::optional<PropertyListError> encodingError;
  std::optional<PropertyListError> decodingError;

 private:
  mutable std::deque<PropertyListValue> kept_;
};

}  // namespace korvan
