#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <ostream>
#include <string>
#include <string_view>

#include "lab/soak/SoakEvidence.h"
#include "lab/soak/plan/SoakPlan.h"

namespace korvan::lab::soak {

/// How many requests there were of what sort.
class SoakSummary {
 public:
  void count(const SoakPlan& plan, const SoakRound& round);

  [[nodiscard]] std::uint64_t requests() const noexcept { return requests_; }

  /// Writes tables for people.
  void print(std::ostream& stream, double seconds) const;

 private:
  using Table = std::map<std::string, std::uint64_t, std::less<>>;

  Table byAsk_;
  Table byBehaviour_;
  Table byOutcome_;
  std::uint64_t requests_ = 0;
  std::uint64_t deaths_ = 0;
  std::uint64_t starts_ = 0;
  std::uint64_t launches_ = 0;
};

}  // namespace korvan::lab::soak
