#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/AppGroupContainers.h"

namespace korvan {

/// NSFileManager's app-group containers. Usable from any thread.
class AppleAppGroupContainers final : public AppGroupContainers {
 public:
  /// Nullopt when the system returns no URL, or the identifier is not UTF-8. The system returns a
  /// URL even for a group that this process does not belong to; connecting then fails.
  [[nodiscard]] std::optional<std::string> containerPath(
      std::string_view groupIdentifier) const override;
};

}  // namespace korvan
