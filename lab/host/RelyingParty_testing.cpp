#include "lab/host/RelyingParty_testing.h"

#include <algorithm>
#include <array>
#include <memory>
#include <optional>
#include <vector>

#include <cbor.h>
#include <openssl/evp.h>
#include <openssl/sha.h>
#include <openssl/x509.h>

namespace korvan::host {
namespace {

struct Release {
  void operator()(cbor_item_t* item) const { cbor_decref(&item); }
};
using Item = std::unique_ptr<cbor_item_t, Release>;

Item loadWhole(const Data& bytes) {
  cbor_load_result result{};
  Item item(cbor_load(bytes.bytes().data(), bytes.size(), &result));
  return item && result.read == bytes.size() ? std::move(item) : nullptr;
}

std::optional<std::int64_t> integerOf(const cbor_item_t* item) {
  if (!cbor_is_int(item)) {
    return std::nullopt;
  }
  const auto magnitude = static_cast<std::int64_t>(cbor_get_int(item));
  return cbor_isa_negint(item) ? -1 - magnitude : magnitude;
}

std::optional<std::string> stringOf(const cbor_item_t* item) {
  if (!cbor_isa_string(item)) {
    return std::nullopt;
  }
  const auto* first = reinterpret_cast<const char*>(cbor_string_handle(item));
  return std::string(first, cbor_string_length(item));
}

Data bytesOf(const cbor_item_t* item) {
  if (!cbor_isa_bytestring(item)) {
    return {};
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

Data testBytes(std::size_t size, std::uint8_t value) {
  return Data::copyOf(std::vector<std::uint8_t>(size, value));
}

Data p384Pkcs8() {
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(EVP_EC_gen("P-384"),
                                                                &EVP_PKEY_free);
  const std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)> info(
      EVP_PKEY2PKCS8(key.get()), &PKCS8_PRIV_KEY_INFO_free);
  std::vector<std::uint8_t> der(
      static_cast<std::size_t>(i2d_PKCS8_PRIV_KEY_INFO(info.get(), nullptr)));
  std::uint8_t* position = der.data();
  i2d_PKCS8_PRIV_KEY_INFO(info.get(), &position);
  return Data::copyOf(der);
}

Data sha256(const Data& bytes) {
  std::array<std::uint8_t, SHA256_DIGEST_LENGTH> digest{};
  SHA256(bytes.bytes().data(), bytes.size(), digest.data());
  return Data::copyOf(digest);
}

bool verifies(const Data& publicKey, const Data& signature, const Data& message) {
  const std::uint8_t* position = publicKey.bytes().data();
  const std::unique_ptr<EVP_PKEY, decltype(&EVP_PKEY_free)> key(
      d2i_PUBKEY(nullptr, &position, static_cast<long>(publicKey.size())), &EVP_PKEY_free);
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        &EVP_MD_CTX_free);
  return EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()) == 1 &&
         EVP_DigestVerify(context.get(), signature.bytes().data(), signature.size(),
                          message.bytes().data(), message.size()) == 1;
}

ParsedAuthenticatorData parseAuthenticatorData(const Data& bytes) {
  if (bytes.size() < 37) {
    return {};
  }
  const auto at = [&bytes](std::size_t index) { return std::uint32_t{bytes.bytes()[index]}; };
  return {.relyingPartyHash = bytes.slice(0, 32),
          .flags = bytes.bytes()[32],
          .signCount = at(33) << 24U | at(34) << 16U | at(35) << 8U | at(36),
          .rest = bytes.slice(37, bytes.size() - 37)};
}

Point parseCoseKey(const Data& coseKey) {
  const Item item = loadWhole(coseKey);
  const std::vector<cbor_pair> pairs = pairsOf(item);
  const std::array<std::int64_t, 5> labels{1, 3, -1, -2, -3};
  const bool labelled = std::ranges::equal(
      pairs, labels, {}, [](const cbor_pair& pair) { return integerOf(pair.key); });
  if (!labelled || integerOf(pairs[0].value) != 2 || integerOf(pairs[1].value) != -7 ||
      integerOf(pairs[2].value) != 1) {
    return {};
  }
  return {.x = bytesOf(pairs[3].value), .y = bytesOf(pairs[4].value)};
}

Data parseAttestationObject(const Data& bytes) {
  const Item item = loadWhole(bytes);
  const std::vector<cbor_pair> pairs = pairsOf(item);
  const std::array<std::string, 3> names{"fmt", "attStmt", "authData"};
  const bool named = std::ranges::equal(pairs, names, {},
                                        [](const cbor_pair& pair) { return stringOf(pair.key); });
  if (!named || stringOf(pairs[0].value) != "none" || !cbor_isa_map(pairs[1].value) ||
      cbor_map_size(pairs[1].value) != 0) {
    return {};
  }
  return bytesOf(pairs[2].value);
}

}  // namespace korvan::host
