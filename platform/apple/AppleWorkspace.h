#pragma once

#include <cstddef>
#include <string_view>

#include "platform/Workspace.h"

namespace korvan {

/// NSWorkspace and NSRunningApplication.
class AppleWorkspace final : public Workspace {
 public:
  /// Also false for a text that is not a URL.
  [[nodiscard]] bool openURL(std::string_view url) const override;

  /// 0 for an identifier that is not UTF-8.
  [[nodiscard]] std::size_t runningApplicationCount(
      std::string_view bundleIdentifier) const override;
};

}  // namespace korvan
