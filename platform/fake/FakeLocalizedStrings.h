#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "platform/LocalizedStrings.h"

namespace korvan {

/// A strings table that the test fills.
class FakeLocalizedStrings : public LocalizedStrings {
 public:
  [[nodiscard]] std::string localizedString(std::string_view key) const override {
    lookedUp.emplace_back(key);
    const auto found = table.find(std::string(key));
    return found != table.end() ? found->second : std::string(key);
  }

  std::map<std::string, std::string> table;
  mutable std::vector<std::string> lookedUp;
};

}  // namespace korvan
