#include "lab/check/ProcessUsage.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>

namespace korvan::lab::check {

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
