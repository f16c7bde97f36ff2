#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "platform/Data.h"

namespace korvan::lab {

/// Restricts an option to base64url without padding, of one byte or more.
[[nodiscard]] CLI::Validator isBase64Url();

/// Decodes an option that isBase64Url() has accepted.
[[nodiscard]] Data bytesOf(const std::string& text);
[[nodiscard]] std::vector<Data> bytesOf(const std::vector<std::string>& texts);

}  // namespace korvan::lab
