#pragma once

#include <filesystem>
#include <set>
#include <string>

namespace korvan::lab::host {

/// What is in the directory, by name.
[[nodiscard]] inline std::set<std::string> namesIn(const std::filesystem::path& directory) {
  std::set<std::string> names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.insert(entry.path().filename());
  }
  return names;
}

}  // namespace korvan::lab::host
