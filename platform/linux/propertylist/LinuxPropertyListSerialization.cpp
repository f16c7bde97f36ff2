#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

#include "platform/linux/propertylist/PropertyListCharacters.h"
#include "platform/linux/propertylist/PropertyListFormats.h"

namespace korvan {

std::expected<Data, PropertyListError> LinuxPropertyListSerialization::encodeBinary(
    const PropertyListDictionary& propertyList) const {
  return writeBinaryPropertyList(propertyList, hashSecret_);
}

std::expected<PropertyListValue, PropertyListError> LinuxPropertyListSerialization::decode(
    const Data& bytes) const {
  if (isBinaryPropertyList(bytes)) {
    return readBinaryPropertyList(bytes);
  }
  if (bytes.empty()) {
    return std::unexpected(PropertyListError{"There are no bytes to read a property list from."});
  }
  const auto characters = propertyListCharacters(bytes);
  if (!characters) {
    return std::unexpected(characters.error());
  }
  return isXmlPropertyList(viewOf(*characters)) ? readXmlPropertyList(*characters)
                                                : readOpenStepPropertyList(*characters);
}

}  // namespace korvan
