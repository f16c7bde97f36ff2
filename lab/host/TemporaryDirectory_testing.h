#pragma once

#include <cstdlib>
#include <filesystem>
#include <set>
#include <stdexcept>
#include <string>

namespace korvan::host {

/// A new directory of mode 0700 that goes away with everything in it.
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

  [[nodiscard]] std::set<std::string> names() const {
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(path_)) {
      names.insert(entry.path().filename());
    }
    return names;
  }

 private:
  std::filesystem::path path_;
};

}  // namespace korvan::host
