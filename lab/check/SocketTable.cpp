#include "lab/check/SocketTable.h"

#include <charconv>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace korvan::lab::check {
namespace {

namespace fs = std::filesystem;

fs::path directoryOf(pid_t process) { return fs::path("/proc") / std::to_string(process); }

bool holds(const fs::path& process, const std::string& socket) {
  std::error_code error;
  for (const auto& descriptor : fs::directory_iterator(process / "fd", error)) {
    if (fs::read_symlink(descriptor.path(), error) == socket) {
      return true;
    }
  }
  return false;
}

}  // namespace

std::vector<SocketEntry> socketsAt(const std::string& path) {
  std::vector<SocketEntry> found;
  std::ifstream table("/proc/net/unix");
  for (std::string line; std::getline(table, line);) {
    // "Num RefCount Protocol Flags Type State Inode Path"
    std::istringstream words(line);
    std::string ignored;
    std::string flags;
    SocketEntry entry;
    std::string boundTo;
    words >> ignored >> ignored >> ignored >> flags >> ignored >> ignored >> entry.inode >> std::ws;
    std::getline(words, boundTo);
    if (boundTo == path) {
      constexpr std::string_view Listening = "00010000";
      entry.listens = flags == Listening;
      found.push_back(entry);
    }
  }
  return found;
}

std::vector<pid_t> holdersOf(const SocketEntry& socket) {
  const std::string name = "socket:[" + std::to_string(socket.inode) + "]";
  std::vector<pid_t> holders;
  for (const auto& entry : fs::directory_iterator("/proc")) {
    const std::string word = entry.path().filename();
    pid_t process = 0;
    std::from_chars(word.data(), word.data() + word.size(), process);
    if (process > 0 && holds(entry.path(), name)) {
      holders.push_back(process);
    }
  }
  return holders;
}

std::string executableOf(pid_t process) {
  std::error_code error;
  return fs::read_symlink(directoryOf(process) / "exe", error);
}

std::vector<std::string> commandOf(pid_t process) {
  std::ifstream file(directoryOf(process) / "cmdline");
  std::vector<std::string> words;
  for (std::string word; std::getline(file, word, '\0');) {
    words.push_back(word);
  }
  return words;
}

}  // namespace korvan::lab::check
