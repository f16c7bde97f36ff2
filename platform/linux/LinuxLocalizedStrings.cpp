#include "platform/linux/LinuxLocalizedStrings.h"

#include <libintl.h>

namespace korvan {
namespace {

constexpr const char* CatalogueName = "korvan-autofill";

}  // namespace

LinuxLocalizedStrings::LinuxLocalizedStrings(
    const std::optional<std::filesystem::path>& catalogueDirectory)
    : hasCatalogue_(catalogueDirectory.has_value()) {
  if (catalogueDirectory) {
    ::bindtextdomain(CatalogueName, catalogueDirectory->c_str());
    ::bind_textdomain_codeset(CatalogueName, "UTF-8");
  }
}

std::string LinuxLocalizedStrings::localizedString(std::string_view key) const {
  // A catalogue keeps its header under the empty key.
  if (!hasCatalogue_ || key.empty()) {
    return std::string(key);
  }
  return ::dgettext(CatalogueName, std::string(key).c_str());
}

}  // namespace korvan
