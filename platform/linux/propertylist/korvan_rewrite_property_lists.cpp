// Reads each file named on standard input and answers a line: the value, in a dictionary as
// "value", written in the binary format as hexadecimal digits, or the reason why it is not.

#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace {

using namespace korvan;

Data contentsOf(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  const std::vector<char> contents{std::istreambuf_iterator<char>(file), {}};
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(contents.data()), contents.size()});
}

std::string rewritten(const Data& contents) {
  const LinuxPropertyListSerialization serialization;
  const auto value = serialization.decode(contents);
  if (!value) {
    return "not read: " + value.error().localizedDescription.value_or("");
  }
  const auto bytes = serialization.encodeBinary({{"value", *value}});
  if (!bytes) {
    return "not written: " + bytes.error().localizedDescription.value_or("");
  }
  constexpr std::string_view HexDigits = "0123456789abcdef";
  std::string digits;
  for (const std::uint8_t byte : bytes->bytes()) {
    digits += HexDigits[byte >> 4];
    digits += HexDigits[byte & 0x0F];
  }
  return digits;
}

}  // namespace

int main() {
  for (std::string name; std::getline(std::cin, name);) {
    std::cout << rewritten(contentsOf(name)) << std::endl;  // NOLINT(performance-avoid-endl)
  }
  return 0;
}
