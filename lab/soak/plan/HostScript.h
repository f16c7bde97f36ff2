#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <vector>

namespace korvan::lab::soak {

/// How much of a request the host reads before it answers.
enum class Reading : std::uint8_t { noConnection, nothing, prefix, halfOfTheBody, everything };

/// What the misbehaving host does on one connection, in this order, before it closes it. It reads
/// this from a file, and never learns why.
struct HostScript {
  Reading reading = Reading::everything;
  /// Waits a little.
  bool stalls = false;
  /// Sends a byte at a time.
  bool inDrops = false;
  /// Ends its process with SIGKILL.
  bool dies = false;
  /// The bytes to send, including the frame's prefix.
  // NOLINTNEXTLINE(readability-redundant-member-init): g++ warns where it is left out otherwise
  std::vector<std::uint8_t> sends = {};

  /// Nullopt when there is no such file.
  [[nodiscard]] static std::optional<HostScript> readFrom(const std::filesystem::path& file);
  /// Throws std::runtime_error when it cannot be written.
  void writeTo(const std::filesystem::path& file) const;

  friend bool operator==(const HostScript&, const HostScript&) = default;
};

}  // namespace korvan::lab::soak
