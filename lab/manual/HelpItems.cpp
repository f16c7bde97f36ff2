#include "lab/manual/HelpItems.h"

#include <sstream>

namespace korvan::lab::manual {
namespace {

constexpr std::size_t Indentation = 2;

std::size_t indentationOf(std::string_view line) {
  const std::size_t first = line.find_first_not_of(' ');
  return first == std::string_view::npos ? 0 : first;
}

}  // namespace

std::string HelpItem::value() const {
  const std::size_t space = tag.find(' ');
  return space == std::string::npos ? std::string() : tag.substr(space + 1);
}

std::optional<HelpItem> helpItemIn(std::string_view line) {
  if (indentationOf(line) != Indentation) {
    return std::nullopt;
  }
  line.remove_prefix(Indentation);
  const std::size_t gap = line.find("  ");
  if (gap == std::string_view::npos) {
    return HelpItem{.tag = std::string(line), .text = {}};
  }
  const std::string_view text = line.substr(gap);
  return HelpItem{.tag = std::string(line.substr(0, gap)),
                  .text = std::string(text.substr(indentationOf(text)))};
}

bool continuesHelpItem(std::string_view line) { return indentationOf(line) > Indentation; }

std::vector<HelpItem> helpItemsIn(const std::string& page) {
  std::vector<HelpItem> items;
  std::istringstream lines(page);
  for (std::string line; std::getline(lines, line);) {
    if (auto item = helpItemIn(line)) {
      items.push_back(*std::move(item));
    } else if (continuesHelpItem(line) && !items.empty()) {
      std::string& text = items.back().text;
      text += (text.empty() ? "" : " ") + line.substr(indentationOf(line));
    }
  }
  return items;
}

}  // namespace korvan::lab::manual
