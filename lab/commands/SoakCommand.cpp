#include "lab/commands/SoakCommand.h"

#include <cmath>
#include <cstdint>
#include <filesystem>
#include <iostream>
#include <memory>
#include <optional>
#include <random>
#include <string>

#include <CLI/CLI.hpp>

#include "lab/processes/Supervisor.h"
#include "lab/soak/Soak.h"
#include "lab/support/HelpPage.h"
#include "lab/support/NumberOption.h"

namespace korvan::lab {
namespace {

constexpr std::string_view SoakHelpPage =
    R"(Usage: korvan-lab soak --minutes N [--seed S]

Keeps 32 requests of all types in flight, with host applications that answer,
refuse, stall, lie and die at random. Verifies that each request has the one
outcome that is right for what the host did, that both sides' records agree, and
that descriptors, threads and memory do not grow. Prints its progress every ten
seconds. Everything happens in a private directory, removed at the end.

  --minutes N  how long, such as 10 or 0.5
  --seed S     repeats the run with this seed, 0 to 18446744073709551615;
               default: a random one, which is printed
  --help       this page

Exit status: 0 when all is well, 1 when not, 2 for a usage error.

Example:
  korvan-lab soak --minutes 0.1 --seed 1
)";

constexpr double SecondsPerMinute = 60;
std::string flawOfMinutes(const std::string& text) {
  const double minutes = numberIn<double>(text).value_or(0);
  return std::isfinite(minutes) && minutes > 0
             ? ""
             : "\"" + text +
                   "\" is not a time; it must be a number of minutes above 0, such as 0.5";
}

std::string flawOfSeed(const std::string& text) {
  return numberIn<std::uint64_t>(text)
             ? ""
             : "\"" + text +
                   "\" is not a seed; it must be a whole number from 0 to "
                   "18446744073709551615";
}

std::uint64_t drawnSeed() {
  std::random_device device;
  return (std::uint64_t{device()} << 32U) | device();
}

struct SoakOptions {
  std::string minutes;
  std::string seed;
};

int run(const SoakOptions& options) {
  const std::uint64_t seed =
      options.seed.empty() ? drawnSeed() : numberIn<std::uint64_t>(options.seed).value();
  const double seconds = numberIn<double>(options.minutes).value() * SecondsPerMinute;
  return runSupervised([seed, seconds](const std::filesystem::path& directory) {
    std::cout << "seed " << seed << '\n' << std::flush;
    return soak::runSoak(directory, seed, seconds);
  });
}

}  // namespace

void addSoakCommand(CLI::App& app, int& exitStatus) {
  CLI::App& command =
      *app.add_subcommand("soak", "many requests to hosts that misbehave, each outcome verified");
  const auto options = std::make_shared<SoakOptions>();
  command.add_option("--minutes", options->minutes)
      ->required()
      ->check(CLI::Validator(flawOfMinutes, ""));
  command.add_option("--seed", options->seed)->check(CLI::Validator(flawOfSeed, ""));
  setHelpPage(command, SoakHelpPage);
  command.callback([options, &exitStatus] { exitStatus = run(*options); });
}

}  // namespace korvan::lab
