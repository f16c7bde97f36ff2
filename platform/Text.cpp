#include "platform/Text.h"

#include <cstdint>
#include <span>

namespace korvan {
namespace {

std::span<const std::uint8_t> bytesOf(std::string_view text) {
  return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

}  // namespace

Text::Text(std::string_view text) : Text(Data::copyOf(bytesOf(text))) {}

}  // namespace korvan
