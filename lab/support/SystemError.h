#pragma once

#include <cerrno>
#include <string>
#include <system_error>

namespace korvan::lab {

/// Throws the error in `errno`, with the name of the step, unless `done`.
inline void requireSystem(bool done, const std::string& step) {
  if (!done) {
    throw std::system_error(errno, std::generic_category(), step);
  }
}

}  // namespace korvan::lab
