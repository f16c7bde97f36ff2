#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace korvan {

/// A new directory with mode 0700, removed with everything in it when this object is destroyed.
class TemporaryDirectory {
 public:
  TemporaryDirectory() {
    std::string path = "/tmp/korvan-XXXXXX";  // short: a socket's path has 103 bytes
    if (::mkdtemp(path.data()) == nullptr) {
      throw std::runtime_error("There is no temporary directory.");
    }
    path_ = path;
  }
  TemporaryDirectory(const TemporaryDirectory&) = delete;
  TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;
  TemporaryDirectory(TemporaryDirectory&&) = delete;
  TemporaryDirectory& operator=(TemporaryDirectory&&) = delete;
  ~TemporaryDirectory() { std::filesystem::remove_all(path_); }

  [[nodiscard]] const std::filesystem::path& path() const noexcept { return path_; }

 private:
  std::filesystem::path path_;
};

}  // namespace korvan
