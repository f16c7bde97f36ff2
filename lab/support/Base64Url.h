#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Data.h"

namespace korvan::lab {

/// Base64 with the URL-safe alphabet and without padding, as WebAuthn uses it in JSON
/// (https://www.rfc-editor.org/rfc/rfc4648#section-5).
[[nodiscard]] std::string base64Url(std::span<const std::uint8_t> bytes);

/// Decodes what base64Url() writes; nullopt for anything else.
[[nodiscard]] std::optional<Data> fromBase64Url(std::string_view text);

}  // namespace korvan::lab
