#include "lab/site/Cbor.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

#include "lab/site/ValueWords.h"

namespace korvan::lab {
namespace {

using MaybeFlaw = std::optional<std::string>;

constexpr const char* NotShortest = "a number or a size is not in its shortest form";

Data encoded(const cbor_item_t* item) {
  unsigned char* bytes = nullptr;
  std::size_t capacity = 0;
  const std::size_t size = cbor_serialize_alloc(item, &bytes, &capacity);
  const std::unique_ptr<unsigned char, decltype(&std::free)> owner(bytes, std::free);
  return Data::copyOf({bytes, size});
}

/// The narrowest of libcbor's widths that holds the number.
cbor_int_width narrowestWidth(std::uint64_t number) {
  if (number <= std::numeric_limits<std::uint8_t>::max()) {
    return CBOR_INT_8;
  }
  if (number <= std::numeric_limits<std::uint16_t>::max()) {
    return CBOR_INT_16;
  }
  return number <= std::numeric_limits<std::uint32_t>::max() ? CBOR_INT_32 : CBOR_INT_64;
}

bool isInPieces(const cbor_item_t* item) {
  return (cbor_isa_bytestring(item) && !cbor_bytestring_is_definite(item)) ||
         (cbor_isa_string(item) && !cbor_string_is_definite(item)) ||
         (cbor_isa_array(item) && !cbor_array_is_definite(item)) ||
         (cbor_isa_map(item) && !cbor_map_is_definite(item));
}

MaybeFlaw flawOfOrder(const std::vector<cbor_pair>& pairs) {
  for (std::size_t next = 1; next < pairs.size(); ++next) {
    const Data former = encoded(pairs[next - 1].key);
    const Data latter = encoded(pairs[next].key);
    if (former == latter) {
      return wordsFor(pairs[next].key) + " is a key twice";
    }
    if (!std::ranges::lexicographical_compare(former.bytes(), latter.bytes())) {
      return "keys out of order: " + wordsFor(pairs[next - 1].key) + " before " +
             wordsFor(pairs[next].key);
    }
  }
  return std::nullopt;
}

std::vector<const cbor_item_t*> itemsIn(const cbor_item_t* item) {
  std::vector<const cbor_item_t*> items;
  for (const cbor_pair& pair : cborPairs(item)) {
    items.insert(items.end(), {pair.key, pair.value});
  }
  if (cbor_isa_array(item)) {
    const auto* const first = cbor_array_handle(item);
    items.insert(items.end(), first, first + cbor_array_size(item));
  }
  return items;
}

/// Flaws that an encoder keeps; those of sizes show when the item is encoded again.
MaybeFlaw flawOf(const cbor_item_t* item) {
  if (isInPieces(item)) {
    return "an item of indefinite length";
  }
  if (cbor_isa_tag(item)) {
    return "a tag";
  }
  if (cbor_is_int(item) && cbor_int_get_width(item) != narrowestWidth(cbor_get_int(item))) {
    return NotShortest;
  }
  for (const cbor_item_t* const each : itemsIn(item)) {
    if (auto flaw = flawOf(each)) {
      return flaw;
    }
  }
  return flawOfOrder(cborPairs(item));
}

}  // namespace

CborStart loadCbor(const Data& bytes) {
  cbor_load_result result{};
  CborItem item(cbor_load(bytes.bytes().data(), bytes.size(), &result));
  const std::size_t size = item ? result.read : 0;
  return {.item = std::move(item), .size = size};
}

std::optional<std::int64_t> cborInteger(const cbor_item_t* item) {
  if (item == nullptr || !cbor_is_int(item) ||
      cbor_get_int(item) > std::numeric_limits<std::int64_t>::max()) {
    return std::nullopt;
  }
  const auto magnitude = static_cast<std::int64_t>(cbor_get_int(item));
  return cbor_isa_negint(item) ? -1 - magnitude : magnitude;
}

std::optional<std::string_view> cborText(const cbor_item_t* item) {
  if (item == nullptr || !cbor_isa_string(item) || !cbor_string_is_definite(item)) {
    return std::nullopt;
  }
  const auto* first = reinterpret_cast<const char*>(cbor_string_handle(item));
  return std::string_view(first, cbor_string_length(item));
}

std::optional<Data> cborBytes(const cbor_item_t* item) {
  if (item == nullptr || !cbor_isa_bytestring(item) || !cbor_bytestring_is_definite(item)) {
    return std::nullopt;
  }
  return Data::copyOf({cbor_bytestring_handle(item), cbor_bytestring_length(item)});
}

std::vector<cbor_pair> cborPairs(const cbor_item_t* item) {
  if (item == nullptr || !cbor_isa_map(item)) {
    return {};
  }
  const cbor_pair* first = cbor_map_handle(item);
  return {first, first + cbor_map_size(item)};
}

const cbor_item_t* cborMember(const cbor_item_t* map, std::string_view key) {
  for (const cbor_pair& pair : cborPairs(map)) {
    if (cborText(pair.key) == key) {
      return pair.value;
    }
  }
  return nullptr;
}

const cbor_item_t* cborMember(const cbor_item_t* map, std::int64_t key) {
  for (const cbor_pair& pair : cborPairs(map)) {
    if (cborInteger(pair.key) == key) {
      return pair.value;
    }
  }
  return nullptr;
}

std::string wordsFor(const cbor_item_t* item) {
  if (item == nullptr) {
    return "nothing";
  }
  if (const auto integer = cborInteger(item)) {
    return std::to_string(*integer);
  }
  if (const auto text = cborText(item)) {
    return quotedText(*text);
  }
  if (const auto bytes = cborBytes(item)) {
    return wordsFor(*bytes);
  }
  if (cbor_isa_map(item)) {
    return "a map of " + std::to_string(cbor_map_size(item));
  }
  return cbor_isa_array(item) ? "an array of " + std::to_string(cbor_array_size(item))
                              : "an item of another kind";
}

std::optional<std::string> flawOfCanonicalCbor(const Data& bytes) {
  const CborStart start = loadCbor(bytes);
  if (!start.item) {
    return "no CBOR";
  }
  if (auto flaw = flawOf(start.item.get())) {
    return flaw;
  }
  return encoded(start.item.get()) == bytes.slice(0, start.size) ? std::nullopt
                                                                 : MaybeFlaw(NotShortest);
}

}  // namespace korvan::lab
