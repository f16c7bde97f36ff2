#include "lab/host/SigningKey.h"

#include <array>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/bn.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/x509.h>

namespace korvan::lab::host {
namespace {

using KeyInfo = std::unique_ptr<PKCS8_PRIV_KEY_INFO, decltype(&PKCS8_PRIV_KEY_INFO_free)>;

void require(bool done, const char* step) {
  if (!done) {
    throw std::runtime_error(std::string(step) + " failed.");
  }
}

/// Runs an i2d function twice, as they are meant to be: for the size and for the bytes.
template <typename Object>
Data derOf(int (*encode)(Object*, unsigned char**), Object* object, const char* step) {
  const int size = encode(object, nullptr);
  require(size > 0, step);
  std::vector<std::uint8_t> der(static_cast<std::size_t>(size));
  unsigned char* position = der.data();
  require(encode(object, &position) == size, step);
  return der;
}

bool isOnP256(const EVP_PKEY* key) {
  std::array<char, 32> name{};
  return EVP_PKEY_get_group_name(key, name.data(), name.size(), nullptr) == 1 &&
         std::string_view(name.data()) == "prime256v1";
}

}  // namespace

SigningKey::SigningKey(EVP_PKEY* key) : key_(key, &EVP_PKEY_free) {}

SigningKey SigningKey::generate() {
  EVP_PKEY* key = EVP_EC_gen("P-256");
  require(key != nullptr, "Making a P-256 key");
  return SigningKey(key);
}

SigningKey SigningKey::fromPkcs8(std::span<const std::uint8_t> der) {
  const unsigned char* position = der.data();
  const KeyInfo info(d2i_PKCS8_PRIV_KEY_INFO(nullptr, &position, static_cast<long>(der.size())),
                     &PKCS8_PRIV_KEY_INFO_free);
  const bool whole = info && position == der.data() + der.size();
  const SigningKey key(whole ? EVP_PKCS82PKEY(info.get()) : nullptr);
  if (!key.key_ || !isOnP256(key.key_.get())) {
    throw std::invalid_argument("is not a P-256 private key in PKCS #8");
  }
  return key;
}

Data SigningKey::pkcs8() const {
  const KeyInfo info(EVP_PKEY2PKCS8(key_.get()), &PKCS8_PRIV_KEY_INFO_free);
  require(info != nullptr, "Encoding a private key");
  return derOf<const PKCS8_PRIV_KEY_INFO>(&i2d_PKCS8_PRIV_KEY_INFO, info.get(),
                                          "Encoding a private key");
}

Data SigningKey::subjectPublicKeyInfo() const {
  return derOf<const EVP_PKEY>(&i2d_PUBKEY, key_.get(), "Encoding a public key");
}

Data SigningKey::publicX() const { return publicCoordinate(OSSL_PKEY_PARAM_EC_PUB_X); }
Data SigningKey::publicY() const { return publicCoordinate(OSSL_PKEY_PARAM_EC_PUB_Y); }

Data SigningKey::publicCoordinate(const char* parameter) const {
  BIGNUM* number = nullptr;
  require(EVP_PKEY_get_bn_param(key_.get(), parameter, &number) == 1, "Reading a public key");
  const std::unique_ptr<BIGNUM, decltype(&BN_free)> owner(number, &BN_free);
  std::vector<std::uint8_t> bytes(CoordinateSize);
  require(BN_bn2binpad(number, bytes.data(), CoordinateSize) == CoordinateSize,
          "Reading a public key");
  return bytes;
}

Data SigningKey::sign(std::span<const std::uint8_t> message) const {
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        &EVP_MD_CTX_free);
  require(EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key_.get()) == 1,
          "Signing");
  auto size = static_cast<std::size_t>(EVP_PKEY_get_size(key_.get()));
  std::vector<std::uint8_t> signature(size);
  require(
      EVP_DigestSign(context.get(), signature.data(), &size, message.data(), message.size()) == 1,
      "Signing");
  signature.resize(size);
  return signature;
}

}  // namespace korvan::lab::host
