#pragma once

#include <string>
#include <string_view>

namespace korvan {

/// The texts that users see, in the user's language. Main thread.
class LocalizedStrings {
 public:
  virtual ~LocalizedStrings() = default;

  /// The translation of `key`, which is the English text, or `key` itself when there is none.
  [[nodiscard]] virtual std::string localizedString(std::string_view key) const = 0;
};

}  // namespace korvan
