#pragma once

#include <filesystem>
#include <string>

#include "lab/Narrator.h"

namespace korvan::lab {

/// The whole tour, with embedded sample hosts in `directory`, which is empty at first. `program` is
/// what the lab was called as. True when every step showed what it should.
[[nodiscard]] bool runDemo(Narrator& narrator, const std::filesystem::path& directory,
                           const std::string& program);

}  // namespace korvan::lab
