#pragma once

#include <deque>
#include <expected>
#include <optional>

#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Property lists that are kept, not encoded: the bytes say which one they stand for.
class FakePropertyListSerialization : public PropertyListSerialization {
 public:
  [[nodiscard]] std::expected<Data, PropertyListError> encodeBinary(
      const PropertyListDictionary& propertyList) const override;
  [[nodiscard]] std::expected<PropertyListValue, PropertyListError> decode(
      const Data& bytes) const override;

  /// Bytes that decode to any value, dictionary or not.
  [[nodiscard]] Data bytesFor(PropertyListValue value) const;

  /// When set, every encoding, or decoding, fails with it.
  std::optional<PropertyListError> encodingError;
  std::optional<PropertyListError> decodingError;

 private:
  mutable std::deque<PropertyListValue> kept_;
};

}  // namespace korvan
