#pragma once

#include <cstdint>
#include <filesystem>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// A new directory with mode 0700, removed with everything in it when this object is destroyed.
class TemporaryDirectory {
 public:
  /// What becomes of the directory when its process is killed. One that is swept is locked with
  /// flock(2) meanwhile, so it cannot be a container: a host locks its container.
  enum class IfKilled : std::uint8_t { stays, isSwept };

  /// Throws std::system_error when it cannot be created.
  explicit TemporaryDirectory(IfKilled ifKilled = IfKilled::stays);
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
  /// If it is swept, locked for as long as this process, or one that it has forked, lives.
  Descriptor lock_;
};

/// Where the directories are made.
[[nodiscard]] std::filesystem::path placeOfTemporaryDirectories();

/// Removes the swept directories in `place` that killed processes of this user have left behind.
/// Does nothing where it may not.
void removeAbandonedDirectories(const std::filesystem::path& place);

}  // namespace korvan::lab
