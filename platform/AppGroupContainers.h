#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvan {

/// Directories that the applications of an app group share.
class AppGroupContainers {
 public:
  virtual ~AppGroupContainers() = default;

  /// The absolute path of the group's directory, or nullopt when this process has no such
  /// container. Called on the thread that calls the entry point.
  [[nodiscard]] virtual std::optional<std::string> containerPath(
      std::string_view groupIdentifier) const = 0;
};

}  // namespace korvan
