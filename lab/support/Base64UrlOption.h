#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "platform/Data.h"

namespace korvan::lab {

/// Lets an option take nothing but base64url without padding.
[[nodiscard]] CLI::Validator isBase64Url();

/// The bytes that an option's text stands for, once isBase64Url() has let it through.
[[nodiscard]] Data bytesOf(const std::string& text);
[[nodiscard]] std::vector<Data> bytesOf(const std::vector<std::string>& texts);

}  // namespace korvan::lab
