#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

#include "lab/commands/Narrator.h"

namespace korvan::lab {

inline constexpr std::size_t DemoStepCount = 16;

/// Runs the whole tour, or the step with that number (1 to DemoStepCount), with sample hosts of its
/// own in `directory`, which must be empty. `program` is the lab's name as the user typed it. True
/// when every step was verified.
[[nodiscard]] bool runDemo(Narrator& narrator, const std::filesystem::path& directory,
                           const std::string& program, std::optional<std::size_t> step);

}  // namespace korvan::lab
