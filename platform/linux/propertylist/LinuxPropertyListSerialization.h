#pragma once

#include <cstdint>
#include <cstdlib>
#include <expected>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Writes the binary format, version 1.0. Reads that, the XML format and the OpenStep format.
class LinuxPropertyListSerialization final : public PropertyListSerialization {
 public:
  [[nodiscard]] std::expected<Data, PropertyListError> encodeBinary(
      const PropertyListDictionary& propertyList) const override;

  [[nodiscard]] std::expected<PropertyListValue, PropertyListError> decode(
      const Data& bytes) const override;

 private:
  /// See writeBinaryPropertyList.
  std::uint64_t hashSecret_ = std::uint64_t{arc4random()} << 32 | arc4random();
};

}  // namespace korvan
