#include "platform/linux/SpawnSettings.h"

#include <csignal>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace korvan {
namespace {

constexpr const char* Nowhere = "/dev/null";

void require(int error) {
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), "Preparing to start a program");
  }
}

void useOwnSessionAndSignals(posix_spawnattr_t& attributes) {
  sigset_t all;
  sigset_t none;
  sigfillset(&all);
  sigemptyset(&none);
  require(::posix_spawnattr_setsigdefault(&attributes, &all));
  require(::posix_spawnattr_setsigmask(&attributes, &none));
  require(::posix_spawnattr_setflags(
      &attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK));
}

void leaveOnlyNowhereOpen(posix_spawn_file_actions_t& actions, int standardError) {
  require(::posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, Nowhere, O_RDONLY, 0));
  require(::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, Nowhere, O_WRONLY, 0));
  require(standardError < 0
              ? ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, Nowhere, O_WRONLY, 0)
              : ::posix_spawn_file_actions_adddup2(&actions, standardError, STDERR_FILENO));
  require(::posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1));
}

}  // namespace

SpawnSettings::SpawnSettings(Defaults /*defaults*/) {
  require(::posix_spawnattr_init(&attributes_));
  require(::posix_spawn_file_actions_init(&fileActions_));
}

// Delegates, so that the destructor releases what there is when a setting fails.
SpawnSettings::SpawnSettings(int standardError) : SpawnSettings(Defaults()) {
  useOwnSessionAndSignals(attributes_);
  leaveOnlyNowhereOpen(fileActions_, standardError);
}

SpawnSettings::~SpawnSettings() {
  ::posix_spawn_file_actions_destroy(&fileActions_);
  ::posix_spawnattr_destroy(&attributes_);
}

bool SpawnSettings::spawn(const char* path, char* const* arguments, pid_t* process) const noexcept {
  pid_t child = -1;
  const bool started =
      ::posix_spawn(&child, path, &fileActions_, &attributes_, arguments, environ) == 0;
  if (started && process != nullptr) {
    *process = child;
  }
  return started;
}

}  // namespace korvan
