#pragma once

#include <chrono>
#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include "lab/system/views/Screen.h"
#include "platform/OperatingSystem.h"

namespace korvan::lab {

/// The system that the lab plays.
struct LabSettings {
  /// Means that there is no container, or no host application.
  static constexpr std::string_view None = "none";

  /// The directory that stands for the app group's container, or None. Default: the user's own.
  std::optional<std::string> container;
  /// The executable that counts as the host application, or None. Default: the desktop's.
  std::optional<std::string> hostApplication;
  /// The certificate that the chain of the host's signature must end in, as PEM text.
  std::string trustAnchorPem;
  OperatingSystemVersion operatingSystemVersion{.major = 15};
  NoticeMode noticeMode = NoticeMode::pressOk;
  /// How long a call may wait for the host. Default: as long as the host takes.
  std::optional<std::chrono::milliseconds> timeout = std::nullopt;
};

/// Parses a version such as "15", "15.0" or "14.6.1". On failure a sentence says what is wrong.
[[nodiscard]] std::expected<OperatingSystemVersion, std::string> parseOperatingSystemVersion(
    std::string_view text);

}  // namespace korvan::lab
