#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab::host {

/// The socket "acp.sock" that the extension connects to. Listens for as long as this object lives.
class HostSocket {
 public:
  /// The longest path of a socket file, in bytes: what fits into a socket address on macOS.
  static constexpr std::size_t MaxPathSize = 103;

  /// Listens in `container`, which is created with mode 0700 when missing; the socket file has mode
  /// 0600. A socket file on which nobody listens is replaced. Throws std::runtime_error that names
  /// the path, and leaves no file, when the path is too long, the container is not this user's
  /// alone, another host is listening, or something else is in the way.
  explicit HostSocket(const std::filesystem::path& container);

  HostSocket(const HostSocket&) = delete;
  HostSocket& operator=(const HostSocket&) = delete;
  HostSocket(HostSocket&&) = delete;
  HostSocket& operator=(HostSocket&&) = delete;

  /// Removes the socket file if it is still this one's.
  ~HostSocket();

  [[nodiscard]] int descriptor() const noexcept { return listener_.get(); }
  [[nodiscard]] const std::string& path() const noexcept { return path_; }

 private:
  std::string path_;
  Descriptor listener_;
  ino_t inode_ = 0;
};

}  // namespace korvan::lab::host
