#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <cbor.h>

#include "platform/Data.h"

namespace korvan::lab {

struct ReleaseCbor {
  void operator()(cbor_item_t* item) const { cbor_decref(&item); }
};
using CborItem = std::unique_ptr<cbor_item_t, ReleaseCbor>;

/// The item that some bytes start with, or null, and how many bytes it takes.
struct CborStart {
  CborItem item;
  std::size_t size = 0;
};
[[nodiscard]] CborStart loadCbor(const Data& bytes);

// These read an item of another kind, or null, as nullopt or nothing.

[[nodiscard]] std::optional<std::int64_t> cborInteger(const cbor_item_t* item);
[[nodiscard]] std::optional<std::string_view> cborText(const cbor_item_t* item);
[[nodiscard]] std::optional<Data> cborBytes(const cbor_item_t* item);
[[nodiscard]] std::vector<cbor_pair> cborPairs(const cbor_item_t* item);

// The value of a key in a map, or null.
[[nodiscard]] const cbor_item_t* cborMember(const cbor_item_t* map, std::string_view key);
[[nodiscard]] const cbor_item_t* cborMember(const cbor_item_t* map, std::int64_t key);

/// An item with its kind, safe to print on a terminal.
[[nodiscard]] std::string wordsFor(const cbor_item_t* item);

/// What keeps the item that `bytes` start with from being in canonical form, or nullopt.
/// https://fidoalliance.org/specs/fido-v2.1-ps-20210615/fido-client-to-authenticator-protocol-v2.1-ps-errata-20220621.html#ctap2-canonical-cbor-encoding-form
[[nodiscard]] std::optional<std::string> flawOfCanonicalCbor(const Data& bytes);

}  // namespace korvan::lab
