#include "lab/processes/SampleHostProcess.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <stdexcept>
#include <string_view>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace korvan::lab {
namespace {

constexpr std::chrono::milliseconds Patience = std::chrono::seconds(30);

/// How a process starts out: its files, and with no signal blocked, whatever this process does.
class SpawnAttributes {
 public:
  explicit SpawnAttributes(int standardOutput) {
    posix_spawn_file_actions_init(&actions_);
    posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions_, standardOutput, STDOUT_FILENO);
    posix_spawnattr_init(&attributes_);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK);
  }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;
  ~SpawnAttributes() {
    posix_spawn_file_actions_destroy(&actions_);
    posix_spawnattr_destroy(&attributes_);
  }

  /// 0 and the process, or an `errno` value.
  int spawn(const std::string& program, const std::vector<std::string>& arguments,
            pid_t& processIdentifier) const {
    std::vector<char*> pointers = {const_cast<char*>(program.c_str())};
    for (const std::string& argument : arguments) {
      pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    return ::posix_spawn(&processIdentifier, program.c_str(), &actions_, &attributes_,
                         pointers.data(), environ);
  }

 private:
  posix_spawn_file_actions_t actions_{};
  posix_spawnattr_t attributes_{};
};

}  // namespace

SampleHostProcess::SampleHostProcess(const std::filesystem::path& program,
                                     const std::vector<std::string>& arguments) {
  std::array<int, 2> ends{};
  if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "making a pipe");
  }
  events_ = Descriptor(ends[0]);
  const Descriptor output(ends[1]);
  const int error = SpawnAttributes(output.get()).spawn(program, arguments, processIdentifier_);
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), "starting " + program.string());
  }
}

SampleHostProcess::~SampleHostProcess() { stop(); }

nlohmann::json SampleHostProcess::nextEvent() {
  while (true) {
    if (const auto end = unread_.find('\n'); end != std::string::npos) {
      const std::string line = unread_.substr(0, end);
      unread_.erase(0, end + 1);
      return nlohmann::json::parse(line);
    }
    pollfd ready{.fd = events_.get(), .events = POLLIN, .revents = 0};
    if (::poll(&ready, 1, static_cast<int>(Patience.count())) <= 0) {
      throw std::runtime_error("The sample host told nothing for 30 seconds.");
    }
    std::array<char, 4096> some{};
    const ssize_t count = ::read(events_.get(), some.data(), some.size());
    if (count <= 0) {
      throw std::runtime_error("The sample host ended without a further word.");
    }
    unread_.append(some.data(), static_cast<std::size_t>(count));
  }
}

void SampleHostProcess::stop() {
  if (!running_) {
    return;
  }
  running_ = false;
  ::kill(processIdentifier_, SIGTERM);
  while (::waitpid(processIdentifier_, nullptr, 0) < 0 && errno == EINTR) {
  }
}

}  // namespace korvan::lab
