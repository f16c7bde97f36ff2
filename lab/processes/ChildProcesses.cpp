#include "lab/processes/ChildProcesses.h"

#include <charconv>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include <unistd.h>

namespace korvan::lab {

void signalChildren(int signal) {
  for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    pid_t process = 0;
    std::from_chars(name.data(), name.data() + name.size(), process);
    std::ifstream stat(entry.path() / "stat");
    if (process > 0 && parentIn(stat) == ::getpid()) {
      ::kill(process, signal);
    }
  }
}

std::optional<pid_t> parentIn(std::istream& stat) {
  std::string text;
  // Reading fails when the process has ended; an iterator of the stream's buffer would throw.
  std::getline(stat, text, '\0');
  // "ID (NAME) STATE PARENT ...", in which the name may hold anything.
  const std::size_t nameEnd = text.rfind(") ");
  constexpr std::size_t FromNameEndToParent = 4;
  if (nameEnd == std::string::npos || nameEnd + FromNameEndToParent >= text.size()) {
    return std::nullopt;
  }
  pid_t parent = 0;
  std::from_chars(text.data() + nameEnd + FromNameEndToParent, text.data() + text.size(), parent);
  return parent;
}

}  // namespace korvan::lab
