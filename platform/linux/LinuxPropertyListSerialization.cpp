#include "platform/linux/LinuxPropertyListSerialization.h"

#include "platform/linux/BinaryPropertyListReader.h"
#include "platform/linux/BinaryPropertyListWriter.h"

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
  return std::unexpected(
      PropertyListError{"The bytes are not a property list in a format that can be read."});
}

}  // namespace korvan
