#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace korvan::fuzz {

/// An element of a DER encoding (ITU-T X.690) that can be changed: writing it again corrects the
/// lengths, so that a change gets past the parser to the code that interprets it.
struct DerElement {
  using Bytes = std::vector<std::uint8_t>;

  std::uint8_t tag = 0;
  /// Of a primitive element.
  Bytes contents;
  /// Of a constructed element.
  std::vector<DerElement> inner;
  /// Writes the length in more bytes than it needs, as BER may and DER may not.
  bool hasLongLength = false;

  [[nodiscard]] bool isConstructed() const { return (tag & 0x20) != 0; }

  /// Of bytes that are well-formed, with tags of one byte.
  static std::vector<DerElement> listOf(std::span<const std::uint8_t> bytes);

  void appendTo(Bytes& bytes) const;
};

/// An element's place in the elements around it.
struct DerPlace {
  std::vector<DerElement>* list = nullptr;
  std::size_t index = 0;

  [[nodiscard]] DerElement& element() const { return (*list)[index]; }
};

/// All elements, each before those inside it; good until one is added or removed.
[[nodiscard]] std::vector<DerPlace> placesIn(std::vector<DerElement>& list);

}  // namespace korvan::fuzz
