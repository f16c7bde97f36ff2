#pragma once

#include <spawn.h>

namespace korvan {

/// How to start a program that has nothing to do with this one: in a session of its own, with no
/// signal blocked or ignored, standard streams from and to /dev/null, and no other descriptor.
class SpawnSettings {
 public:
  /// Throws std::system_error when there is no memory.
  SpawnSettings();
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;
  SpawnSettings(SpawnSettings&&) = delete;
  SpawnSettings& operator=(SpawnSettings&&) = delete;
  ~SpawnSettings();

  /// Starts the program at `path` as a child of the calling process. `arguments` end with null, the
  /// first names the program. False when the kernel cannot execute it. Callable between fork() and
  /// _exit().
  [[nodiscard]] bool spawn(const char* path, char* const* arguments) const noexcept;

 private:
  struct Defaults {};
  explicit SpawnSettings(Defaults defaults);

  posix_spawnattr_t attributes_{};
  posix_spawn_file_actions_t fileActions_{};
};

}  // namespace korvan
