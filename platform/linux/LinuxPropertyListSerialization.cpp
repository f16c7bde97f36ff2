#include "platform/linux/LinuxPropertyListSerialization.h"

#include "platform/linux/BinaryPropertyListReader.h"
#include "platform/linux/BinaryPropertyListWriter.h"
#include "platform/linux/OpenStepPropertyListReader.h"
#include "platform/linux/PropertyListCharacters.h"
#include "platform/linux/XmlPropertyListReader.h"

namespace korvan {

std::expected<Data, PropertyListError> LinuxPropertyListSerialization::encodeBinary(
    const PropertyListDictionary& propertyList) const {
  return BinaryPropertyListWriter::write(propertyList);
}

std::expected<PropertyListValue, PropertyListError> LinuxPropertyListSerialization::decode(
    const Data& bytes) const {
  if (BinaryPropertyListReader::recognizes(bytes)) {
    return BinaryPropertyListReader::read(bytes);
  }
  if (bytes.empty()) {
    return std::unexpected(PropertyListError{"There are no bytes to read a property list from."});
  }
  const auto characters = propertyListCharacters(bytes);
  if (!characters) {
    return std::unexpected(characters.error());
  }
  return XmlPropertyListReader::recognizes(viewOf(*characters))
             ? XmlPropertyListReader::read(*characters)
             : OpenStepPropertyListReader::read(*characters);
}

}  // namespace korvan
