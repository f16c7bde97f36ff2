#pragma once

#include <string_view>

#include <nlohmann/json.hpp>

namespace korvan::lab {

/// Reads untrusted JSON, which code may then recurse into. Throws nlohmann::json::parse_error when
/// it is not JSON, and std::invalid_argument when it nests deeper than anything a page sends.
[[nodiscard]] nlohmann::json shallowJson(std::string_view text);

}  // namespace korvan::lab
