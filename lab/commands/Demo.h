#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>

#include "lab/commands/Narrator.h"

namespace korvan::lab {

inline constexpr std::size_t DemoStepCount = 16;

/// The whole tour, or the step of that number (from 1 to DemoStepCount), with embedded sample hosts
/// in `directory`, which is empty at first. `program` is what the lab was called as. True when
/// every step showed what it should.
[[nodiscard]] bool runDemo(Narrator& narrator, const std::filesystem::path& directory,
                           const std::string& program, std::optional<std::size_t> step);

}  // namespace korvan::lab
