#include "lab/check/ProcessUsage.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace korvan::lab::check {

namespace {

std::size_t childrenOf(const std::filesystem::path& process) {
  std::size_t count = 0;
  std::error_code error;
  for (const auto& thread : std::filesystem::directory_iterator(process / "task", error)) {
    std::ifstream children(thread.path() / "children");
    count += static_cast<std::size_t>(
        std::distance(std::istream_iterator<pid_t>(children), std::istream_iterator<pid_t>()));
  }
  return count;
}

}  // namespace

std::optional<ProcessUsage> usageOf(pid_t process) {
  namespace fs = std::filesystem;
  const fs::path directory = "/proc/" + std::to_string(process);
  std::error_code error;
  const fs::directory_iterator descriptors(directory / "fd", error);
  std::ifstream status(directory / "status");
  if (error || !status) {
    return std::nullopt;
  }
  ProcessUsage usage;
  usage.children = childrenOf(directory);
  usage.descriptors = static_cast<std::size_t>(std::distance(begin(descriptors), end(descriptors)));
  for (std::string word; status >> word;) {
    if (word == "Threads:") {
      status >> usage.threads;
    } else if (word == "RssAnon:") {
      status >> usage.memory;
    }
  }
  return usage;
}

}  // namespace korvan::lab::check
