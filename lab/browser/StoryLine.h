#pragma once

#include <string>

#include <nlohmann/json.hpp>

namespace korvan::lab {

/// A story that a bridge sent, on one line and safe to print on a terminal: who asked, for what,
/// the entry points, and the outcome with its reason.
[[nodiscard]] std::string storyLine(const nlohmann::json& story);

}  // namespace korvan::lab
