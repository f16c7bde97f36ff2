#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <vector>

#include "lab/support/Descriptor.h"

namespace korvan::lab::soak {

/// Nanoseconds of the monotonic clock, which all processes share.
[[nodiscard]] std::int64_t now() noexcept;

/// One thing that the misbehaving host did.
struct SoakRecord {
  enum class Event : std::uint32_t {
    ready,     ///< it serves clients from now on
    received,  ///< it has a whole request
    mistaken,  ///< the request is not the one that its connection was numbered as
    dying,     ///< it ends itself with SIGKILL next
  };

  Event event = Event::ready;
  /// Which attempt of the request, from 1 on.
  std::uint32_t attempt = 0;
  std::uint64_t number = 0;
  /// Of the request's frame, with its prefix.
  std::uint64_t bytes = 0;
  std::int64_t time = 0;
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
  void write(SoakRecord::Event event, std::uint64_t number = 0, std::uint32_t attempt = 0,
             std::uint64_t bytes = 0) const;

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
