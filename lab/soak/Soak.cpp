#include "lab/soak/Soak.h"

#include <algorithm>
#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

#include "lab/soak/ProcessCounts.h"
#include "lab/soak/SoakProgress.h"
#include "lab/soak/SoakRunner.h"
#include "lab/soak/SoakSummary.h"
#include "lab/support/ExitStatus.h"
#include "lab/system/TrustAnchor.h"

namespace korvan::lab::soak {
namespace {

constexpr double NanosecondsPerSecond = 1e9;
/// Rounds end with no request in flight, so that what is known of them can be forgotten.
constexpr double MaxRoundSeconds = 5;
constexpr double RoundsAtLeast = 8;
/// The first so many rounds warm up; what is held after them is compared with the end.
constexpr int WarmUpRounds = 2;
constexpr std::size_t MaxFlawsShown = 20;

/// All that was wrong, of which the first few are shown.
class FlawList {
 public:
  void add(const std::vector<std::string>& flaws) {
    for (const std::string& flaw : flaws) {
      if (++count_ <= MaxFlawsShown) {
        std::cout << "wrong: " << flaw << '\n' << std::flush;
      }
    }
  }
  [[nodiscard]] std::size_t count() const noexcept { return count_; }

 private:
  std::size_t count_ = 0;
};

double secondsSince(std::int64_t start) {
  return static_cast<double>(now() - start) / NanosecondsPerSecond;
}

void printCounts(const ProcessCounts& before, const ProcessCounts& after) {
  std::cout << "descriptors " << before.descriptors << " -> " << after.descriptors << ", threads "
            << before.threads << " -> " << after.threads << " (at most " << spareThreads()
            << " more), resident KiB " << before.residentBytes / 1024 << " -> "
            << after.residentBytes / 1024 << " (at most " << ResidentTolerance / 1024 << " more)\n";
}

}  // namespace

int runSoak(const std::filesystem::path& directory, std::uint64_t seed, double seconds) {
  const std::size_t threads = threadCount();
  SoakRunner runner(directory, seed,
                    {.container = std::nullopt,
                     .hostApplication = std::nullopt,
                     .trustAnchorPem = std::string(TrustAnchorPem)});
  SoakSummary summary;
  FlawList flaws;
  const auto roundLength = static_cast<std::int64_t>(
      std::min(seconds / RoundsAtLeast, MaxRoundSeconds) * NanosecondsPerSecond);
  const std::int64_t start = now();
  const std::int64_t end = start + static_cast<std::int64_t>(seconds * NanosecondsPerSecond);
  SoakProgress progress(seconds);
  ProcessCounts before;
  for (int round = 0; round <= WarmUpRounds || now() < end; ++round) {
    if (round == WarmUpRounds) {
      before = settledCounts(threads);
    }
    flaws.add(runner.runRound(now() + roundLength, summary));
    if (const auto line = progress.lineAt(secondsSince(start), summary.requests(), flaws.count())) {
      std::cout << *line << '\n' << std::flush;
    }
    if (!std::cout) {
      // Nobody would learn of the rest.
      return NotVerified;
    }
  }
  const double elapsed = secondsSince(start);
  const ProcessCounts after = settledCounts(threads);
  flaws.add(growthBetween(before, after));
  summary.print(std::cout, elapsed);
  printCounts(before, after);
  if (flaws.count() != 0) {
    std::cout << "failed: " << flaws.count() << " things were wrong with seed " << seed << '\n';
    return NotVerified;
  }
  std::cout
      << "passed: every request had its one right outcome, the logs agree, and nothing grew\n";
  return Well;
}

}  // namespace korvan::lab::soak
