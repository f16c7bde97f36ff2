#include "platform/linux/LinuxLocalizedStrings.h"

#include <libintl.h>

namespace korvan {
namespace {

constexpr const char* CatalogName = "korvan-autofill";

}  // namespace

LinuxLocalizedStrings::LinuxLocalizedStrings(
    const std::optional<std::filesystem::path>& catalogDirectory)
    : hasCatalog_(catalogDirectory.has_value()) {
  if (catalogDirectory) {
    ::bindtextdomain(CatalogName, catalogDirectory->c_str());
    ::bind_textdomain_codeset(CatalogName, "UTF-8");
  }
}

std::string LinuxLocalizedStrings::localizedString(std::string_view key) const {
  // A catalog keeps its header under the empty key.
  if (!hasCatalog_ || key.empty()) {
    return std::string(key);
  }
  return ::dgettext(CatalogName, std::string(key).c_str());
}

}  // namespace korvan
