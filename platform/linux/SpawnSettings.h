#pragma once

#include <spawn.h>

namespace korvan {

/// Starts programs that inherit nothing from this one: in a session of their own, with no signal
/// blocked or ignored, standard streams on /dev/null, and no other descriptor.
class SpawnSettings {
 public:
  /// Throws std::system_error when memory runs out.
  SpawnSettings() : SpawnSettings(-1) {}

  /// The same with a descriptor as the standard error, unless that is negative.
  explicit SpawnSettings(int standardError);
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  SpawnSettings(SpawnSettings&&) = delete;
  SpawnSettings& operator=(SpawnSettings&&) = delete;
  ~SpawnSettings();

  /// Starts the program at `path` as a child of the calling process. `arguments` ends with null,
  /// and its first element names the program. False when the kernel cannot execute it. May be
  /// called between fork() and _exit(). Sets `process`, unless that is null, to the child.
  [[nodiscard]] bool spawn(const char* path, char* const* arguments,
                           pid_t* process = nullptr) const noexcept;

 private:
  struct Defaults {};
  explicit SpawnSettings(Defaults defaults);

  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t fileActions_{};
};

}  // namespace korvan
