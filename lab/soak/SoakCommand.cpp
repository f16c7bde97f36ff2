#include "lab/soak/SoakCommand.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <iterator>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <tuple>
#include <vector>

#include "lab/processes/Supervisor.h"
#include "lab/soak/ProcessCounts.h"
#include "lab/soak/SoakRunner.h"
#include "lab/soak/SoakSummary.h"
#include "lab/support/HelpPage.h"
#include "lab/system/TrustAnchor.h"

namespace korvan::lab::soak {
namespace {

constexpr std::string_view HelpPage =
    R"(Usage: korvan-lab soak --minutes N [--seed S]

Keeps 32 requests of all types in flight, with host applications that answer,
refuse, stall, lie and die at random. Verifies that each request had the one
outcome that is right for what the host did, that the hosts' log and the
extension's agree, and that descriptors, threads and memory stay as they are.
Everything happens in a private directory that is removed again.

  --minutes N  how long, such as 10 or 0.5
  --seed S     chooses the requests and what the hosts do with them, from 0 to
               18446744073709551615; otherwise one is drawn, and printed
  --help       this page

The exit status is 0 when all is well, otherwise 1.

Example:
  korvan-lab soak --minutes 0.1 --seed 1
)";

constexpr double SecondsPerMinute = 60;
constexpr double NanosecondsPerSecond = 1e9;
/// Rounds end with no request in flight, so that what is known of them can be forgotten.
constexpr double MaxRoundSeconds = 5;
constexpr double RoundsAtLeast = 8;
/// The first so many rounds warm up; what is held after them is compared with the end.
constexpr int WarmUpRounds = 2;
constexpr std::size_t MaxFlawsShown = 20;

template <typename Number>
std::optional<Number> numberIn(std::string_view text) {
  Number number{};
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool isNumber = error == std::errc() && end == text.data() + text.size();
  return isNumber ? std::optional(number) : std::nullopt;
}

std::string flawOfMinutes(const std::string& text) {
  const double minutes = numberIn<double>(text).value_or(0);
  return std::isfinite(minutes) && minutes > 0
             ? ""
             : "\"" + text + "\" is no time; it must be a number of minutes above 0, such as 0.5";
}

std::string flawOfSeed(const std::string& text) {
  return numberIn<std::uint64_t>(text) ? ""
                                       : "\"" + text +
                                             "\" is no seed; it must be a whole number from 0 to "
                                             "18446744073709551615";
}

std::uint64_t drawnSeed() {
  std::random_device device;
  return (std::uint64_t{device()} << 32U) | device();
}

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

void printCounts(const ProcessCounts& before, const ProcessCounts& after) {
  std::cout << "descriptors " << before.descriptors << " -> " << after.descriptors << ", threads "
            << before.threads << " -> " << after.threads << " (at most " << SpareThreads
            << " more), resident KiB " << before.residentBytes / 1024 << " -> "
            << after.residentBytes / 1024 << " (at most " << ResidentTolerance / 1024 << " more)\n";
}

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
  ProcessCounts before;
  for (int round = 0; round <= WarmUpRounds || now() < end; ++round) {
    if (round == WarmUpRounds) {
      before = settledCounts(threads);
    }
    flaws.add(runner.runRound(now() + roundLength, summary));
  }
  const double elapsed = static_cast<double>(now() - start) / NanosecondsPerSecond;
  const ProcessCounts after = settledCounts(threads);
  flaws.add(growthBetween(before, after));
  summary.print(std::cout, elapsed);
  printCounts(before, after);
  if (flaws.count() != 0) {
    std::cout << "failed: " << flaws.count() << " things were wrong with seed " << seed << '\n';
    return EXIT_FAILURE;
  }
  std::cout
      << "passed: every request had its one right outcome, the logs agree, and nothing grew\n";
  return EXIT_SUCCESS;
}

struct Options {
  std::string minutes;
  std::string seed;
};

int run(const Options& options) {
  const std::uint64_t seed =
      options.seed.empty() ? drawnSeed() : numberIn<std::uint64_t>(options.seed).value();
  const double seconds = numberIn<double>(options.minutes).value() * SecondsPerMinute;
  std::cout << "seed " << seed << '\n' << std::flush;
  // Who reads the summary may go away; the hosts are ended all the same.
  std::ignore = std::signal(SIGPIPE, SIG_IGN);
  return runSupervised([seed, seconds](const std::filesystem::path& directory) {
    return runSoak(directory, seed, seconds);
  });
}

}  // namespace

void addSoakCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command =
      *app.add_subcommand("soak", "many requests to hosts that misbehave, each outcome verified");
  const auto options = std::make_shared<Options>();
  command.add_option("--minutes", options->minutes)
      ->required()
      ->check(CLI::Validator(flawOfMinutes, ""));
  command.add_option("--seed", options->seed)->check(CLI::Validator(flawOfSeed, ""));
  setHelpPage(command, HelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab::soak
