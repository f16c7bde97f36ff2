#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace korvan::lab::soak {

/// Prints from time to time how far a soak has come.
class SoakProgress {
 public:
  static constexpr double SecondsBetweenLines = 10;

  /// The soak is to take `seconds`.
  explicit SoakProgress(double seconds) : seconds_(seconds) {}

  /// A line after `elapsed` seconds, when the last one was long enough ago. `requests` are over by
  /// now, and `flaws` things were wrong.
  [[nodiscard]] std::optional<std::string> lineAt(double elapsed, std::uint64_t requests,
                                                  std::size_t flaws);

 private:
  const double seconds_;
  double next_ = SecondsBetweenLines;
};

}  // namespace korvan::lab::soak
