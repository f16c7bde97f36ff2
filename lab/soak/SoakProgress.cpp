#include "lab/soak/SoakProgress.h"

#include <cmath>

namespace korvan::lab::soak {

std::optional<std::string> SoakProgress::lineAt(double elapsed, std::uint64_t requests,
                                                std::size_t flaws) {
  if (elapsed < next_) {
    return std::nullopt;
  }
  next_ = elapsed + SecondsBetweenLines;
  return std::to_string(std::llround(elapsed)) + " of " + std::to_string(std::llround(seconds_)) +
         " s: " + std::to_string(requests) + " requests, " +
         (flaws == 0 ? "nothing" : std::to_string(flaws) + " things") + " wrong";
}

}  // namespace korvan::lab::soak
