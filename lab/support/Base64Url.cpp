#include "lab/support/Base64Url.h"

#include <algorithm>
#include <memory>

#include <glib.h>

namespace korvan::lab {

std::string base64Url(std::span<const std::uint8_t> bytes) {
  const std::unique_ptr<char, decltype(&g_free)> base64(g_base64_encode(bytes.data(), bytes.size()),
                                                        &g_free);
  std::string text(base64.get());
  std::ranges::replace(text, '+', '-');
  std::ranges::replace(text, '/', '_');
  std::erase(text, '=');
  return text;
}

std::optional<Data> fromBase64Url(std::string_view text) {
  std::string base64(text);
  std::ranges::replace(base64, '-', '+');
  std::ranges::replace(base64, '_', '/');
  base64.append((4 - base64.size() % 4) % 4, '=');
  std::size_t size = 0;
  const std::unique_ptr<std::uint8_t, decltype(&g_free)> bytes(
      g_base64_decode(base64.c_str(), &size), &g_free);
  // The decoder skips what it does not know; what came out has to be all that went in.
  const std::span decoded(bytes.get(), size);
  return base64Url(decoded) == text ? std::optional(Data::copyOf(decoded)) : std::nullopt;
}

}  // namespace korvan::lab
