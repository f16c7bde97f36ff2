#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "platform/LocalizedStrings.h"

namespace korvan {

/// Texts from the gettext catalog `korvan-autofill`, in the language of the LC_MESSAGES locale,
/// which the program sets, and in UTF-8 whatever the locale's encoding.
/// https://www.gnu.org/software/gettext/manual/html_node/Ambiguities.html
class LinuxLocalizedStrings final : public LocalizedStrings {
 public:
  /// `catalogDirectory` holds `LANGUAGE/LC_MESSAGES/korvan-autofill.mo`; without one each text is
  /// its key. gettext keeps one directory for the process: the last object's.
  explicit LinuxLocalizedStrings(const std::optional<std::filesystem::path>& catalogDirectory);

  [[nodiscard]] std::string localizedString(std::string_view key) const override;

 private:
  const bool hasCatalog_;
};

}  // namespace korvan
