#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "lab/check/Check.h"

namespace korvan::lab::check {

// The checks of each group, in the order in which they run. One file a group.
[[nodiscard]] std::vector<Check> launchChecks();
[[nodiscard]] std::vector<Check> socketChecks();
[[nodiscard]] std::vector<Check> signatureChecks();
[[nodiscard]] std::vector<Check> framingChecks();
[[nodiscard]] std::vector<Check> robustnessChecks();
[[nodiscard]] std::vector<Check> clientChecks();
[[nodiscard]] std::vector<Check> registrationChecks();
[[nodiscard]] std::vector<Check> assertionChecks();
[[nodiscard]] std::vector<Check> refusalChecks();
[[nodiscard]] std::vector<Check> reportChecks();
[[nodiscard]] std::vector<Check> processChecks();

/// All checks, in the order in which they run.
[[nodiscard]] const std::vector<Check>& allChecks();

/// The checks whose names match one of the patterns `only` (all, if there are none) and none of
/// `skip`. In a pattern "*" stands for any characters and "?" for one. Throws std::invalid_argument
/// for a pattern that matches no check. What a check comes after holds across those left out.
[[nodiscard]] std::vector<Check> chosenChecks(const std::vector<Check>& checks,
                                              const std::vector<std::string>& only,
                                              const std::vector<std::string>& skip);

/// A line for each check: its name, and what passes.
[[nodiscard]] std::string listOf(const std::vector<Check>& checks);

}  // namespace korvan::lab::check
