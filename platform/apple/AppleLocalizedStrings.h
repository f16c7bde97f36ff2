#pragma once

#include <string>
#include <string_view>

#include "platform/LocalizedStrings.h"

namespace korvan {

/// The main bundle's default strings table, Localizable.strings. An extension's main bundle is its
/// own.
class AppleLocalizedStrings final : public LocalizedStrings {
 public:
  /// Returns the key if it is not UTF-8, or if the text cannot be encoded in UTF-8.
  [[nodiscard]] std::string localizedString(std::string_view key) const override;
};

}  // namespace korvan
