#include "lab/PublicKey.h"

#include <array>
#include <cstddef>
#include <stdexcept>

#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace korvan::lab {
namespace {

bool isOnP256(const EVP_PKEY* key) {
  std::array<char, 32> group{};
  std::size_t size = 0;
  return EVP_PKEY_is_a(key, "EC") == 1 &&
         EVP_PKEY_get_group_name(key, group.data(), group.size(), &size) == 1 &&
         std::string_view(group.data(), size) == "prime256v1";
}

}  // namespace

PublicKey::PublicKey(EVP_PKEY* key) : key_(key, EVP_PKEY_free) {
  const bool usable = key != nullptr && isOnP256(key);
  ERR_clear_error();
  if (!usable) {
    throw std::invalid_argument("is no P-256 public key");
  }
}

PublicKey PublicKey::fromDer(std::span<const std::uint8_t> der) {
  const std::uint8_t* next = der.data();
  return PublicKey(d2i_PUBKEY(nullptr, &next, static_cast<long>(der.size())));
}

PublicKey PublicKey::fromPem(std::string_view pem) {
  const std::unique_ptr<BIO, decltype(&BIO_free_all)> bio(
      BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())), BIO_free_all);
  return PublicKey(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr));
}

bool PublicKey::verifies(std::span<const std::uint8_t> message,
                         std::span<const std::uint8_t> signature) const {
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        EVP_MD_CTX_free);
  const bool verified =
      context != nullptr &&
      EVP_DigestVerifyInit(context.get(), nullptr, EVP_sha256(), nullptr, key_.get()) == 1 &&
      EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(),
                       message.size()) == 1;
  ERR_clear_error();
  return verified;
}

}  // namespace korvan::lab
