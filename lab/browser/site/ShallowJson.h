#pragma once

#include <string_view>

#include <nlohmann/json.hpp>

namespace korvan::lab {

/// Reads JSON that a stranger wrote, and that code may then recurse into. Throws
/// nlohmann::json::parse_error when it is not JSON, and std::invalid_argument when it nests deeper
/// than what a page sends.
[[nodiscard]] nlohmann::json shallowJson(std::string_view text);

}  // namespace korvan::lab
