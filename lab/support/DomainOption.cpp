#include "lab/support/DomainOption.h"

#include <string>
#include <string_view>

namespace korvan::lab {
namespace {

constexpr std::string_view InLabels =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-";

/// True for labels with a dot between each two.
bool isDomainName(std::string_view text) {
  const std::size_t end = text.find_first_not_of(InLabels);
  if (end == 0 || text.empty()) {
    return false;
  }
  return end == std::string_view::npos || (text[end] == '.' && isDomainName(text.substr(end + 1)));
}

}  // namespace

CLI::Validator isDomain() {
  return {[](const std::string& text) {
            return isDomainName(text) ? std::string()
                                      : "\"" + text + "\" is not a domain, such as example.com";
          },
          ""};
}

}  // namespace korvan::lab
