#pragma once

#include <string>
#include <string_view>

#include "platform/LocalizedStrings.h"

namespace korvan {

/// The main bundle's default strings table, Localizable.strings; in an extension the main bundle is
/// the extension's own.
class AppleLocalizedStrings final : public LocalizedStrings {
 public:
  /// A key that is not UTF-8, or a text that cannot be had in UTF-8, gives the key.
  [[nodiscard]] std::string localizedString(std::string_view key) const override;
};

}  // namespace korvan
