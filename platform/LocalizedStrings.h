#pragma once

#include <string>
#include <string_view>

namespace korvan {

/// The default table of the texts that a person sees. Main thread.
class LocalizedStrings {
 public:
  virtual ~LocalizedStrings() = default;

  /// The text in the person's language, or `key`, which is the English text, when there is none.
  [[nodiscard]] virtual std::string localizedString(std::string_view key) const = 0;
};

}  // namespace korvan
