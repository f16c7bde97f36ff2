#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace korvan {

/// The directories that the applications of one group share.
class AppGroupContainers {
 public:
  virtual ~AppGroupContainers() = default;

  /// The absolute path of the group's directory, or none when this process has no such container.
  /// Called on the thread that makes a request.
  [[nodiscard]] virtual std::optional<std::string> containerPath(
      std::string_view groupIdentifier) const = 0;
};

}  // namespace korvan
