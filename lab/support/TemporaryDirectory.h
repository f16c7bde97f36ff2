#pragma once

#include <filesystem>

namespace korvan::lab {

/// A new directory with mode 0700, removed with everything in it when this object goes.
class TemporaryDirectory {
 public:
  /// Throws std::system_error when it cannot be created.
  TemporaryDirectory();
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  ~TemporaryDirectory();

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace korvan::lab
