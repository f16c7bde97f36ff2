#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace korvan {

/// One property list as a line of JSON that loses nothing, so that what several readers make of the
/// same bytes can be compared as text:
///
///     null  true  {"integer":"-1"}  {"real":"3ff0000000000000"}  {"date":"41b7e7d780000000"}
///     {"data":"00ff"}  {"uid":"7"}  {"text":"a"}
///     {"array":[…]}  {"set":[…]}  {"dictionary":[["key",…],…]}
///
/// A real is its bits; a date is those of the seconds since 2001-01-01 00:00:00 UTC. Entries are in
/// the order in which they were given.
class CanonicalJson {
 public:
  /// Values written at most. Bytes whose containers are shared can stand for more than any memory.
  static constexpr std::size_t MaxNodes = std::size_t{8} * 1024 * 1024;

  void null() { scalar("null"); }
  void boolean(bool value) { scalar(value ? "true" : "false"); }
  void integer(std::int64_t value);
  void integer(std::uint64_t value);
  void real(double value);
  void date(double secondsSinceReferenceDate);
  void data(std::span<const std::uint8_t> bytes);
  void uid(std::uint64_t value);
  void text(std::string_view utf8);
  /// For texts that may hold half a surrogate pair.
  void text(std::u16string_view utf16);

  /// `kind` is "array" or "set".
  void openItems(std::string_view kind);
  void closeItems();

  void openDictionary() { openItems("dictionary"); }
  void key(std::string_view utf8);
  void key(std::u16string_view utf16);
  /// Ends with a key's value.
  void endEntry() { line_ += ']'; }
  void closeDictionary() { closeItems(); }

  /// Whether more values came than are written; what is written from then on is lost.
  [[nodiscard]] bool isFull() const noexcept { return nodes_ > MaxNodes; }

  /// The line without its end; of a value that is too large, an error.
  [[nodiscard]] std::string finish() &&;

  /// The line that stands for bytes that are refused.
  static std::string error(std::string_view description);

 private:
  void separate();
  void scalar(std::string_view json);
  void tagged(std::string_view kind, std::string_view quoted);
  void quote(std::string_view utf8);
  void quote(std::u16string_view utf16);

  std::string line_;
  std::size_t nodes_ = 0;
};

}  // namespace korvan
