#pragma once

#include <string>

namespace korvan::lab {

/// Reads a whole file. Throws std::system_error that names the file on failure.
[[nodiscard]] std::string contentsOf(const std::string& file);

}  // namespace korvan::lab
