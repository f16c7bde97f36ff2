#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <span>
#include <utility>
#include <vector>

#include "lab/support/Descriptor.h"

namespace korvan::lab::soak {

/// Nanoseconds of the monotonic clock, which all processes share.
[[nodiscard]] std::int64_t now() noexcept;

/// Tells frames apart: 64-bit FNV-1a (http://www.isthe.com/chongo/tech/comp/fnv/).
[[nodiscard]] std::uint64_t digestOf(std::span<const std::uint8_t> frame) noexcept;

/// One thing that the misbehaving host did.
struct SoakRecord {
  enum class Event : std::uint32_t {
    ready,     ///< it serves clients from now on
    received,  ///< it has a whole request
    dying,     ///< it ends itself with SIGKILL next
  };

  Event event = Event::ready;
  /// Which attempt of the request, from 1 on.
  std::uint32_t attempt = 0;
  std::uint64_t number = 0;
  /// Of the request's frame, with its prefix.
  std::uint64_t digest = 0;
  std::int64_t time = now();
};

/// The file in which a host, however often it is started, says what it did.
///
/// Records are of one size that divides a page's, so that SIGKILL leaves whole ones only; what is
/// written stays when the process ends.
class SoakLog {
 public:
  /// Makes the file when it is not there. Throws std::system_error when it cannot.
  explicit SoakLog(const std::filesystem::path& file);

  /// From any thread.
  void write(const SoakRecord& record) const;

 private:
  Descriptor file_;
};

/// Reads a log while it grows.
class SoakLogReader {
 public:
  explicit SoakLogReader(std::filesystem::path file) : file_(std::move(file)) {}

  /// The records since the last call.
  [[nodiscard]] std::vector<SoakRecord> next();

 private:
  std::filesystem::path file_;
  std::streamoff position_ = 0;
};

}  // namespace korvan::lab::soak
