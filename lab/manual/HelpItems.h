#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace korvan::lab::manual {

/// A row of a help page's tables: "  --step NUMBER  only the step with this number".
struct HelpItem {
  std::string tag;   ///< what is described, such as "--step NUMBER"
  std::string text;  ///< empty when it starts on the next line

  /// What stands for the value in the tag of an option; empty without one.
  [[nodiscard]] std::string value() const;
};

/// Reads the line that starts a row; nullopt for any other line.
[[nodiscard]] std::optional<HelpItem> helpItemIn(std::string_view line);

/// True for a line that goes on with the text of the row above it.
[[nodiscard]] bool continuesHelpItem(std::string_view line);

/// All rows of a help page, each with its whole text.
[[nodiscard]] std::vector<HelpItem> helpItemsIn(const std::string& page);

}  // namespace korvan::lab::manual
