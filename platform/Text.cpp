#include "platform/Text.h"

#include <cstdint>
#include <vector>

namespace korvan {

Data Text::copyOf(std::string_view characters) {
  return std::vector<std::uint8_t>(characters.begin(), characters.end());
}

}  // namespace korvan
