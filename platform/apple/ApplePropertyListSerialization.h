#pragma once

#include <expected>

#include "platform/PropertyListSerialization.h"

namespace korvan {

/// NSPropertyListSerialization, which documents no limit for nesting; this enforces
/// MaxPropertyListNesting.
class ApplePropertyListSerialization final : public PropertyListSerialization {
 public:
  /// A value without a counterpart among the platform's objects, which is null, a text that is not
  /// UTF-8 or a keyed archiver's reference, is refused as NSPropertyListSerialization refuses
  /// NSNull.
  [[nodiscard]] std::expected<Data, PropertyListError> encodeBinary(
      const PropertyListDictionary& propertyList) const override;

  /// Booleans, integers and reals stay what they are; an integer keeps its 64 bits, signed or not.
  /// An object of a class that property lists do not document, such as a keyed archiver's
  /// reference, becomes null; a dictionary's entry whose key is not a string is left out. Data
  /// shares the bytes of the platform's object.
  [[nodiscard]] std::expected<PropertyListValue, PropertyListError> decode(
      const Data& bytes) const override;
};

}  // namespace korvan
