#pragma once

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
};

}  // namespace korvan
