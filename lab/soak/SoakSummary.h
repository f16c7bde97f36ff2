#pragma once

#include <cstdint>
#include <map>
#include <ostream>
#include <string>

#include "lab/soak/SoakChecks.h"

namespace korvan::lab::soak {

/// Counts requests by kind.
class SoakSummary {
 public:
  void count(const SoakRound& round);

  [[nodiscard]] std::uint64_t requests() const noexcept { return requests_; }

  /// Prints tables for people.
  void print(std::ostream& stream, double seconds) const;

 private:
  using Table = std::map<std::string, std::uint64_t>;

  Table byAsk_;
  Table byBehavior_;
  Table byOutcome_;
  std::uint64_t requests_ = 0;
  std::uint64_t deaths_ = 0;
  std::uint64_t starts_ = 0;
  std::uint64_t launches_ = 0;
};

}  // namespace korvan::lab::soak
