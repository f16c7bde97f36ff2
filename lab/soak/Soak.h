#pragma once

#include <cstdint>
#include <filesystem>

namespace korvan::lab::soak {

/// Keeps the extension busy for this many seconds with hosts that misbehave, whose files go into
/// `directory`, and prints a summary. The seed chooses the requests and what the hosts do with
/// them. Returns the program's exit status. Main thread. Throws std::runtime_error when the hosts'
/// files cannot be created.
[[nodiscard]] int runSoak(const std::filesystem::path& directory, std::uint64_t seed,
                          double seconds);

}  // namespace korvan::lab::soak
