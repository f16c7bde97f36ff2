#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>

#include "lab/system/Screen.h"
#include "platform/OperatingSystem.h"

namespace korvan::lab {

/// The system that the lab stands in for.
struct LabSettings {
  /// What stands for "there is none" in place of a container or a host application.
  static constexpr std::string_view None = "none";

  /// The directory that is the app group's container, or None; unset: the user's own.
  std::optional<std::string> container;
  /// The executable that counts as the host application, or None; unset: the desktop's.
  std::optional<std::string> hostApplication;
  /// The certificate in which the host's signature has to end, as PEM text.
  std::string trustAnchorPem;
  OperatingSystemVersion operatingSystemVersion{.major = 15};
  NoticeMode noticeMode = NoticeMode::pressOk;
  bool listensToMessages = false;
};

/// The version in "15", "15.0" or "14.6.1", or a sentence about what is wrong with the text.
[[nodiscard]] std::expected<OperatingSystemVersion, std::string> parseOperatingSystemVersion(
    std::string_view text);

}  // namespace korvan::lab
