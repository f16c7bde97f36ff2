#include "lab/site/AttestationReader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <string_view>
#include <vector>

#include <cbor.h>

namespace korvan::lab {
namespace {

constexpr std::size_t RelyingPartyHashSize = 32;
constexpr std::size_t StatementSize = RelyingPartyHashSize + 1 + 4;
constexpr std::size_t AaguidSize = 16;

struct Release {
  void operator()(cbor_item_t* item) const { cbor_decref(&item); }
};
using Item = std::unique_ptr<cbor_item_t, Release>;

Data tail(const Data& bytes, std::size_t offset) {
  return bytes.slice(offset, bytes.size() - offset);
}

Item loadWhole(const Data& bytes) {
  cbor_load_result result{};
  Item item(cbor_load(bytes.bytes().data(), bytes.size(), &result));
  return item && result.read == bytes.size() ? std::move(item) : nullptr;
}

std::optional<std::int64_t> integerOf(const cbor_item_t* item) {
  if (!cbor_is_int(item) || cbor_get_int(item) > std::numeric_limits<std::int64_t>::max()) {
    return std::nullopt;
  }
  const auto magnitude = static_cast<std::int64_t>(cbor_get_int(item));
  return cbor_isa_negint(item) ? -1 - magnitude : magnitude;
}

std::optional<std::string_view> stringOf(const cbor_item_t* item) {
  if (!cbor_isa_string(item) || !cbor_string_is_definite(item)) {
    return std::nullopt;
  }
  const auto* first = reinterpret_cast<const char*>(cbor_string_handle(item));
  return std::string_view(first, cbor_string_length(item));
}

std::optional<Data> bytesOf(const cbor_item_t* item) {
  if (!cbor_isa_bytestring(item) || !cbor_bytestring_is_definite(item)) {
    return std::nullopt;
  }
  return Data::copyOf({cbor_bytestring_handle(item), cbor_bytestring_length(item)});
}

std::vector<cbor_pair> pairsOf(const Item& item) {
  if (!item || !cbor_isa_map(item.get())) {
    return {};
  }
  const cbor_pair* first = cbor_map_handle(item.get());
  return {first, first + cbor_map_size(item.get())};
}

}  // namespace

std::optional<AuthenticatorStatement> readAuthenticatorData(const Data& bytes) {
  if (bytes.size() < StatementSize) {
    return std::nullopt;
  }
  std::uint32_t signCount = 0;
  for (const std::uint8_t byte : bytes.bytes().subspan(RelyingPartyHashSize + 1, 4)) {
    signCount = signCount << 8U | byte;
  }
  return AuthenticatorStatement{.relyingPartyHash = bytes.slice(0, RelyingPartyHashSize),
                                .flags = bytes.bytes()[RelyingPartyHashSize],
                                .signCount = signCount,
                                .rest = tail(bytes, StatementSize)};
}

std::optional<AttestedCredential> readAttestedCredentialData(const Data& bytes) {
  if (bytes.size() < AaguidSize + 2) {
    return std::nullopt;
  }
  const std::size_t size =
      std::size_t{bytes.bytes()[AaguidSize]} << 8U | bytes.bytes()[AaguidSize + 1];
  const Data rest = tail(bytes, AaguidSize + 2);
  if (rest.size() < size) {
    return std::nullopt;
  }
  return AttestedCredential{.aaguid = bytes.slice(0, AaguidSize),
                            .credentialID = rest.slice(0, size),
                            .coseKey = tail(rest, size)};
}

std::optional<Point> readCoseKey(const Data& coseKey) {
  const Item item = loadWhole(coseKey);
  const std::vector<cbor_pair> pairs = pairsOf(item);
  const std::array<std::int64_t, 5> labels{1, 3, -1, -2, -3};
  const bool labeled = std::ranges::equal(
      pairs, labels, {}, [](const cbor_pair& pair) { return integerOf(pair.key); });
  if (!labeled || integerOf(pairs[0].value) != 2 || integerOf(pairs[1].value) != -7 ||
      integerOf(pairs[2].value) != 1) {
    return std::nullopt;
  }
  const auto x = bytesOf(pairs[3].value);
  const auto y = bytesOf(pairs[4].value);
  return x && y ? std::optional(Point{.x = *x, .y = *y}) : std::nullopt;
}

std::optional<Data> readAttestationObject(const Data& bytes) {
  const Item item = loadWhole(bytes);
  const std::vector<cbor_pair> pairs = pairsOf(item);
  const std::array<std::string_view, 3> names{"fmt", "attStmt", "authData"};
  const bool named = std::ranges::equal(pairs, names, {},
                                        [](const cbor_pair& pair) { return stringOf(pair.key); });
  if (!named || stringOf(pairs[0].value) != "none" || !cbor_isa_map(pairs[1].value) ||
      cbor_map_size(pairs[1].value) != 0) {
    return std::nullopt;
  }
  return bytesOf(pairs[2].value);
}

}  // namespace korvan::lab
