#include "differential/ReaderProgram.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string_view>
#include <vector>

#include "differential/CanonicalJson.h"

namespace korvan {
namespace {

std::optional<Data> contentsOf(const std::string& name) {
  std::ifstream file(name, std::ios::binary);
  if (!file) {
    return std::nullopt;
  }
  const std::string contents{std::istreambuf_iterator<char>(file), {}};
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(contents.data()), contents.size()});
}

}  // namespace

int runReaderProgram(
    std::span<const char* const> arguments,
    const std::function<std::string(const Data& bytes, bool isToBeWritten)>& read) {
  const bool isToBeWritten =
      std::ranges::find(arguments, std::string_view("--read-only")) == arguments.end();
  for (std::string name; std::getline(std::cin, name);) {
    const auto bytes = contentsOf(name);
    std::cout << (bytes ? read(*bytes, isToBeWritten)
                        : CanonicalJson::error("The file \"" + name + "\" cannot be opened."))
              << '\n'
              << std::flush;
  }
  return 0;
}

}  // namespace korvan
