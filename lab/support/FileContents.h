#pragma once

#include <string>

namespace korvan::lab {

/// All of a file. Throws std::system_error that names it when it cannot be read.
[[nodiscard]] std::string contentsOf(const std::string& file);

}  // namespace korvan::lab
