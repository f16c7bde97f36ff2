#include "lab/site/PublicKey.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <string>
#include <vector>

#include <openssl/bio.h>
#include <openssl/core_names.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/params.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

namespace korvan::lab {
namespace {

constexpr std::string_view P256 = "prime256v1";
constexpr std::size_t CoordinateSize = 32;

bool isOnP256(const EVP_PKEY* key) {
  std::array<char, 32> group{};
  std::size_t size = 0;
  return EVP_PKEY_is_a(key, "EC") == 1 &&
         EVP_PKEY_get_group_name(key, group.data(), group.size(), &size) == 1 &&
         std::string_view(group.data(), size) == P256;
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

PublicKey PublicKey::fromPoint(std::span<const std::uint8_t> x, std::span<const std::uint8_t> y) {
  if (x.size() != CoordinateSize || y.size() != CoordinateSize) {
    return PublicKey(nullptr);
  }
  // https://www.secg.org/sec1-v2.pdf, section 2.3.3
  std::vector<std::uint8_t> point = {POINT_CONVERSION_UNCOMPRESSED};
  point.insert(point.end(), x.begin(), x.end());
  point.insert(point.end(), y.begin(), y.end());
  std::string group(P256);
  std::array<OSSL_PARAM, 3> parameters = {
      OSSL_PARAM_construct_utf8_string(OSSL_PKEY_PARAM_GROUP_NAME, group.data(), group.size()),
      OSSL_PARAM_construct_octet_string(OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size()),
      OSSL_PARAM_construct_end()};
  const std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
      EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr), EVP_PKEY_CTX_free);
  EVP_PKEY* key = nullptr;
  if (context && EVP_PKEY_fromdata_init(context.get()) == 1) {
    EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, parameters.data());
  }
  return PublicKey(key);
}

Data PublicKey::der() const {
  unsigned char* bytes = nullptr;
  const int size = i2d_PUBKEY(key_.get(), &bytes);
  if (size <= 0) {
    throw std::runtime_error("a public key cannot be encoded");
  }
  Data encoded = Data::copyOf({bytes, static_cast<std::size_t>(size)});
  OPENSSL_free(bytes);
  return encoded;
}

std::string PublicKey::pem() const {
  const std::unique_ptr<BIO, decltype(&BIO_free_all)> bio(BIO_new(BIO_s_mem()), BIO_free_all);
  if (!bio || PEM_write_bio_PUBKEY(bio.get(), key_.get()) != 1) {
    throw std::runtime_error("a public key cannot be encoded");
  }
  char* text = nullptr;
  const long size = BIO_get_mem_data(bio.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

bool PublicKey::verifies(std::span<const std::uint8_t> message,
                         std::span<const std::uint8_t> signature, const EVP_MD* hash) const {
  const std::unique_ptr<EVP_MD_CTX, decltype(&EVP_MD_CTX_free)> context(EVP_MD_CTX_new(),
                                                                        EVP_MD_CTX_free);
  const bool verified =
      context != nullptr &&
      EVP_DigestVerifyInit(context.get(), nullptr, hash, nullptr, key_.get()) == 1 &&
      EVP_DigestVerify(context.get(), signature.data(), signature.size(), message.data(),
                       message.size()) == 1;
  ERR_clear_error();
  return verified;
}

}  // namespace korvan::lab
