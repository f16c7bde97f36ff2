#include "lab/support/VisibleText.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <ios>
#include <sstream>

#include <glib.h>

namespace korvan::lab {
namespace {

struct Range {
  gunichar first;
  gunichar last;
};

/// Joiners are left out: they are part of many scripts and pictures, and deceive nobody.
constexpr std::array<Range, 10> Deceptive{{
    {.first = 0x00, .last = 0x1F},        // C0 controls
    {.first = 0x7F, .last = 0x9F},        // DEL, and C1 controls
    {.first = 0xAD, .last = 0xAD},        // soft hyphen
    {.first = 0x061C, .last = 0x061C},    // Arabic letter mark
    {.first = 0x200B, .last = 0x200B},    // zero width space
    {.first = 0x200E, .last = 0x200F},    // direction marks
    {.first = 0x2028, .last = 0x202E},    // line and paragraph separators, embeddings and overrides
    {.first = 0x2060, .last = 0x206F},    // word joiner, isolates and other format characters
    {.first = 0xFEFF, .last = 0xFEFF},    // byte order mark
    {.first = 0xE0000, .last = 0xE007F},  // tags
}};

bool isDeceptive(gunichar character) {
  return std::ranges::any_of(Deceptive, [character](const Range& range) {
    return range.first <= character && character <= range.last;
  });
}

/// A character at the start of a text, or a byte that starts none.
struct Start {
  std::string_view bytes;
  gunichar character = 0;
  bool valid = false;
};

Start startOf(std::string_view text) {
  // GLib takes it for the end of the text.
  if (text.front() == '\0') {
    return {.bytes = text.substr(0, 1), .character = 0, .valid = true};
  }
  const gunichar character =
      g_utf8_get_char_validated(text.data(), static_cast<gssize>(text.size()));
  // Either of its two errors is above every character.
  if (character > 0x10FFFF) {
    return {.bytes = text.substr(0, 1)};
  }
  const auto size = static_cast<std::size_t>(g_unichar_to_utf8(character, nullptr));
  return {.bytes = text.substr(0, size), .character = character, .valid = true};
}

std::string hexadecimal(std::uint32_t number) {
  std::ostringstream text;
  text << std::hex << std::uppercase << number;
  return text.str();
}

std::string shown(const Start& start) {
  if (!start.valid) {
    return "\\x" + hexadecimal(static_cast<std::uint8_t>(start.bytes.front()));
  }
  return isDeceptive(start.character) ? "\\u{" + hexadecimal(start.character) + "}"
                                      : std::string(start.bytes);
}

}  // namespace

std::string visibleText(std::string_view text) {
  std::string visible;
  while (!text.empty()) {
    const Start start = startOf(text);
    visible += shown(start);
    text.remove_prefix(start.bytes.size());
  }
  return visible;
}

}  // namespace korvan::lab
