#include "lab/system/LabSettings.h"

#include <array>
#include <charconv>
#include <cstddef>
#include <system_error>

namespace korvan::lab {

std::expected<OperatingSystemVersion, std::string> parseOperatingSystemVersion(
    std::string_view text) {
  std::array<int, 3> numbers{};
  const char* next = text.data();
  const char* const end = next + text.size();
  bool complete = false;
  for (std::size_t index = 0; index < numbers.size() && !complete; ++index) {
    const bool isDigit = next != end && *next >= '0' && *next <= '9';
    const auto [stopped, error] = std::from_chars(next, end, numbers[index]);
    if (!isDigit || error != std::errc()) {
      break;
    }
    complete = stopped == end;
    next = stopped != end && *stopped == '.' ? stopped + 1 : end;
  }
  if (!complete) {
    return std::unexpected("\"" + std::string(text) +
                           "\" is not a version; it must be one to three numbers with dots between "
                           "them, such as 15.0");
  }
  return OperatingSystemVersion{.major = numbers[0], .minor = numbers[1], .patch = numbers[2]};
}

}  // namespace korvan::lab
