#include "platform/Text.h"

#include <cstdint>
#include <vector>

namespace korvan {

std::string_view Text::view() const noexcept {
  return {reinterpret_cast<const char*>(utf8_.bytes().data()), utf8_.size()};
}

Data Text::copyOf(std::string_view characters) {
  return std::vector<std::uint8_t>(characters.begin(), characters.end());
}

}  // namespace korvan
