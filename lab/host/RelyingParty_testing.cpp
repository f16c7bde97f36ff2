#include "lab/host/RelyingParty_testing.h"

#include <array>
#include <memory>
#include <vector>

#include <openssl/evp.h>
#include <openssl/sha.h>
#include <openssl/x509.h>

namespace korvan::lab::host {
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

}  // namespace korvan::lab::host
