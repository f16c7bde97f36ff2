#include "platform/Text.h"

#include <cstdint>
#include <span>

namespace korvan {
Data Text::copyOf(std::string_view text) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

}  // namespace korvan
