#include "channel/ProviderFrame.h"

namespace korvan {

ProviderFramePrefix encodeProviderFramePrefix(std::size_t bodySize) noexcept {
  return {static_cast<std::uint8_t>(bodySize >> 24), static_cast<std::uint8_t>(bodySize >> 16),
          static_cast<std::uint8_t>(bodySize >> 8), static_cast<std::uint8_t>(bodySize)};
}

std::uint32_t decodeProviderFramePrefix(const ProviderFramePrefix& prefix) noexcept {
  std::uint32_t size = 0;
  for (const std::uint8_t byte : prefix) {
    size = size << 8 | byte;
  }
  return size;
}

}  // namespace korvan
