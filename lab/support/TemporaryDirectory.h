#pragma once

#include <filesystem>

namespace korvan::lab {

/// A new directory for this user only, removed with all that is in it.
class TemporaryDirectory {
 public:
  /// Throws std::system_error when it cannot be made.
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace korvan::lab
