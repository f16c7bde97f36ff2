#pragma once

#include <cstddef>
#include <expected>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Data.h"
#include "platform/PropertyList.h"
#include "platform/PropertyListSerialization.h"

namespace korvan {

/// Reads the text format that came with OpenStep: strings, quoted or bare, `<hexadecimal data>`,
/// `(arrays)`, `{dictionaries = "like this";}` and comments; also the entries of a dictionary
/// without its braces, as a file of strings has them. What is only space is an empty dictionary.
/// See https://github.com/apple-oss-distributions/CF/blob/main/CFOldStylePList.c.
///
/// Data and the strings without escapes share the characters that they were read from. Of a
/// repeated key the last value counts. Time and memory are proportional to the characters (sorting
/// a dictionary's keys adds a logarithm).
class OpenStepPropertyListReader {
 public:
  /// The property list in `characters`, which are UTF-8. The error names the line and column and
  /// what is wrong there.
  static std::expected<PropertyListValue, PropertyListError> read(const Data& characters);

 private:
  explicit OpenStepPropertyListReader(const Data& characters) noexcept;

  // A function that cannot do its part calls fail(), after which hasFailed() says true and what the
  // function answers means nothing.

  PropertyListValue readTop();
  PropertyListValue readValue();
  PropertyListValue readArray();
  PropertyListValue readDictionary();
  /// Entries up to the character that ends them, which stays, or up to the end.
  PropertyListDictionary readEntries();
  void readEntry(PropertyListDictionary& dictionary);
  PropertyListValue readData();
  Text readText();
  Text readBareText();
  Text readQuotedText();
  /// Reads what follows a backslash, and appends the character that it stands for.
  void readEscape(std::string& text);
  void readUnicodeEscape(std::string& text);
  /// The number of up to `most` digits in the base 8 or 16.
  std::uint32_t readDigits(int base, std::size_t most);

  /// Moves past spaces and comments; whether anything is left after them.
  bool skipSpace();
  void skipComment();
  /// Moves past the character if it is what comes next.
  bool take(char expected);
  bool enter();

  [[nodiscard]] bool isAtEnd() const noexcept { return next_ == view_.size(); }
  /// The next character's first byte; nothing is left for it when isAtEnd().
  [[nodiscard]] char next() const noexcept { return view_[next_]; }
  [[nodiscard]] bool isNext(std::string_view text) const noexcept {
    return view_.substr(next_).starts_with(text);
  }

  [[gnu::cold]] bool fail(std::size_t offset, std::string_view what);
  [[nodiscard]] bool hasFailed() const noexcept { return error_.localizedDescription.has_value(); }

  const Data& characters_;
  std::string_view view_;
  std::size_t next_ = 0;
  std::size_t depth_ = 0;
  PropertyListError error_;
};

}  // namespace korvan
