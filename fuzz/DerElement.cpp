#include "fuzz/DerElement.h"

#include <utility>

namespace korvan::fuzz {
namespace {

using Bytes = DerElement::Bytes;

constexpr std::uint8_t LengthFollows = 0x80;

std::uint8_t take(std::span<const std::uint8_t>& bytes) {
  const std::uint8_t byte = bytes.front();
  bytes = bytes.subspan(1);
  return byte;
}

std::size_t takeLength(std::span<const std::uint8_t>& bytes) {
  const std::uint8_t first = take(bytes);
  if (first < LengthFollows) {
    return first;
  }
  std::size_t length = 0;
  for (int count = first - LengthFollows; count > 0; --count) {
    length = length << 8 | take(bytes);
  }
  return length;
}

void appendLength(Bytes& bytes, std::size_t length, bool isLong) {
  const std::size_t width = isLong ? 4 : length < LengthFollows ? 0 : length < 0x100 ? 1 : 2;
  bytes.push_back(static_cast<std::uint8_t>(width == 0 ? length : LengthFollows + width));
  for (std::size_t place = width; place > 0; --place) {
    bytes.push_back(static_cast<std::uint8_t>(length >> (8 * (place - 1))));
  }
}

void addPlacesIn(std::vector<DerElement>& list, std::vector<DerPlace>& places) {
  for (std::size_t index = 0; index < list.size(); ++index) {
    places.push_back({.list = &list, .index = index});
    addPlacesIn(list[index].inner, places);
  }
}

}  // namespace

std::vector<DerElement> DerElement::listOf(std::span<const std::uint8_t> bytes) {
  std::vector<DerElement> list;
  while (!bytes.empty()) {
    DerElement element;
    element.tag = take(bytes);
    const std::size_t length = takeLength(bytes);
    const auto contents = bytes.first(length);
    bytes = bytes.subspan(length);
    if (element.isConstructed()) {
      element.inner = listOf(contents);
    } else {
      element.contents.assign(contents.begin(), contents.end());
    }
    list.push_back(std::move(element));
  }
  return list;
}

void DerElement::appendTo(Bytes& bytes) const {
  Bytes whole = contents;
  for (const DerElement& element : inner) {
    element.appendTo(whole);
  }
  bytes.push_back(tag);
  appendLength(bytes, whole.size(), hasLongLength);
  bytes.insert(bytes.end(), whole.begin(), whole.end());
}

std::vector<DerPlace> placesIn(std::vector<DerElement>& list) {
  std::vector<DerPlace> places;
  addPlacesIn(list, places);
  return places;
}

}  // namespace korvan::fuzz
