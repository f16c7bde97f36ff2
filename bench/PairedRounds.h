#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iomanip>
#include <iostream>
#include <string_view>
#include <vector>

namespace korvan::bench {

/// How much work one measurement repeats.
struct PairedRoundsSize {
  /// Measurements of each side, taken in turn so that both see the same load.
  std::size_t rounds = 15;
  /// Calls timed together as one measurement.
  std::size_t callsPerRound = 1;
};

template <typename Call>
double nanosecondsPerCall(Call& call, std::size_t calls) {
  const auto start = std::chrono::steady_clock::now();
  for (std::size_t done = 0; done < calls; ++done) {
    call();
  }
  const std::chrono::duration<double, std::nano> elapsed = std::chrono::steady_clock::now() - start;
  return elapsed.count() / static_cast<double>(calls);
}

inline double medianOf(std::vector<double> values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::ranges::nth_element(values, middle);
  return *middle;
}

/// Times `product` against `floor`, the least that the work could cost elsewhere, in alternating
/// rounds after one round each to warm up. Prints a line with the medians of both, and the median
/// of the rounds' ratios, which one slow round does not move.
template <typename Product, typename Floor>
void runPairedRounds(std::string_view name, PairedRoundsSize size, Product product, Floor floor) {
  nanosecondsPerCall(product, size.callsPerRound);
  nanosecondsPerCall(floor, size.callsPerRound);
  std::vector<double> products;
  std::vector<double> floors;
  std::vector<double> ratios;
  for (std::size_t round = 0; round < size.rounds; ++round) {
    products.push_back(nanosecondsPerCall(product, size.callsPerRound));
    floors.push_back(nanosecondsPerCall(floor, size.callsPerRound));
    ratios.push_back(products.back() / floors.back());
  }
  std::cout << std::left << std::setw(44) << name << std::right << std::fixed
            << std::setprecision(0) << std::setw(14) << medianOf(products) << " ns" << std::setw(14)
            << medianOf(floors) << " ns  ratio " << std::setprecision(3) << medianOf(ratios) << '\n'
            << std::flush;
}

}  // namespace korvan::bench
