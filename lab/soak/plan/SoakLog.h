#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <utility>
#include <vector>

#include "lab/support/Descriptor.h"

namespace korvan::lab::soak {

/// The monotonic clock in nanoseconds, the same in all processes.
[[nodiscard]] std::int64_t now() noexcept;

/// A hash to tell frames apart: 64-bit FNV-1a (http://www.isthe.com/chongo/tech/comp/fnv/).
[[nodiscard]] std::uint64_t digestOf(std::span<const std::uint8_t> frame) noexcept;

/// An event of the misbehaving host.
struct SoakRecord {
  enum class Event : std::uint32_t {
    ready,     ///< it serves clients from now on
    received,  ///< it has a whole request
    dying,     ///< it ends itself with SIGKILL next
  };

  Event event = Event::ready;
  /// The attempt at the request, from 1 on.
  std::uint32_t attempt = 0;
  std::uint64_t number = 0;
  /// The digest of the request's frame, including its prefix.
  std::uint64_t digest = 0;
  std::int64_t time = now();
};

/// The file in which a host logs what it does, across restarts.
///
/// All records have the same size, which divides a page, so that SIGKILL leaves only whole ones.
class SoakLog {
 public:
  /// Creates the file when missing. Throws std::system_error on failure.
  explicit SoakLog(const std::filesystem::path& file);

  /// Thread-safe.
  void write(const SoakRecord& record) const;

 private:
  Descriptor file_;
};

/// Reads a log while it grows.
class SoakLogReader {
 public:
  explicit SoakLogReader(std::filesystem::path file) : file_(std::move(file)) {}

  /// The records written since the last call.
  [[nodiscard]] std::vector<SoakRecord> next();

 private:
  std::filesystem::path file_;
  std::streamoff position_ = 0;
};

}  // namespace korvan::lab::soak
