#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/AppGroupContainers.h"

namespace korvan {

/// One container for every group, or none.
class FakeAppGroupContainers : public AppGroupContainers {
 public:
  [[nodiscard]] std::optional<std::string> containerPath(
      std::string_view groupIdentifier) const override {
    requestedGroups.emplace_back(groupIdentifier);
    return path;
  }

  std::optional<std::string> path = "/groups/korvan";
  mutable std::vector<std::string> requestedGroups;
};

}  // namespace korvan
