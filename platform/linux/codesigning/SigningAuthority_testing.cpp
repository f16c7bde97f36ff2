#include "platform/linux/codesigning/SigningAuthority_testing.h"

#include <stdexcept>

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

namespace korvan {
namespace {

constexpr long SecondsADay = 86'400;

using Bio = std::unique_ptr<BIO, decltype([](BIO* stream) { BIO_free(stream); })>;
using Signature =
    std::unique_ptr<CMS_ContentInfo,
                    decltype([](CMS_ContentInfo* content) { CMS_ContentInfo_free(content); })>;

void require(bool condition) {
  if (!condition) {
    throw std::runtime_error("OpenSSL could not make what a test needs.");
  }
}

void addToName(X509_NAME* name, const char* field, const std::string& value) {
  if (!value.empty()) {
    require(X509_NAME_add_entry_by_txt(name, field, MBSTRING_UTF8,
                                       reinterpret_cast<const unsigned char*>(value.data()),
                                       static_cast<int>(value.size()), -1, 0) == 1);
  }
}

void addExtension(X509* certificate, int kind, const std::string& value) {
  if (value.empty()) {
    return;
  }
  X509_EXTENSION* const extension = X509V3_EXT_conf_nid(nullptr, nullptr, kind, value.c_str());
  require(extension != nullptr && X509_add_ext(certificate, extension, -1) == 1);
  X509_EXTENSION_free(extension);
}

std::string contentsOf(BIO* stream) {
  char* text = nullptr;
  const long size = BIO_get_mem_data(stream, &text);
  return {text, static_cast<std::size_t>(size)};
}

X509* newCertificate(EVP_PKEY* key, int validFrom, int validUntil) {
  static long serial = 0;
  X509* const certificate = X509_new();
  require(certificate != nullptr && X509_set_version(certificate, X509_VERSION_3) == 1 &&
          ASN1_INTEGER_set(X509_get_serialNumber(certificate), ++serial) == 1 &&
          X509_gmtime_adj(X509_getm_notBefore(certificate), validFrom * SecondsADay) != nullptr &&
          X509_gmtime_adj(X509_getm_notAfter(certificate), validUntil * SecondsADay) != nullptr &&
          X509_set_pubkey(certificate, key) == 1);
  return certificate;
}

}  // namespace

SigningAuthority::SigningAuthority() : SigningAuthority(nullptr) {}

SigningAuthority::SigningAuthority(const SigningAuthority* issuer)
    : key_(EVP_EC_gen("P-256")),
      certificate_(newCertificate(key_.get(), -365, 365)),
      isRoot_(issuer == nullptr) {
  X509_NAME* const name = X509_get_subject_name(certificate_.get());
  addToName(name, "CN", isRoot_ ? "Authority of a test" : "Intermediate authority of a test");
  const SigningAuthority& signer = isRoot_ ? *this : *issuer;
  require(X509_set_issuer_name(certificate_.get(),
                               X509_get_subject_name(signer.certificate_.get())) == 1);
  addExtension(certificate_.get(), NID_basic_constraints, "critical,CA:TRUE");
  addExtension(certificate_.get(), NID_key_usage, "critical,keyCertSign");
  require(X509_sign(certificate_.get(), signer.key_.get(), EVP_sha256()) > 0);
}

SigningAuthority SigningAuthority::issueAuthority() const { return SigningAuthority(this); }

std::string SigningAuthority::pem() const {
  const Bio stream(BIO_new(BIO_s_mem()));
  require(PEM_write_bio_X509(stream.get(), certificate_.get()) == 1);
  return contentsOf(stream.get());
}

std::string SigningAuthority::pemUnder(const std::string& password) const {
  const Bio stream(BIO_new(BIO_s_mem()));
  const auto encode = [](const void* certificate, unsigned char** der) {
    return i2d_X509(static_cast<const X509*>(certificate), der);
  };
  require(PEM_ASN1_write_bio(encode, PEM_STRING_X509, stream.get(), certificate_.get(),
                             EVP_aes_128_cbc(),
                             reinterpret_cast<const unsigned char*>(password.data()),
                             static_cast<int>(password.size()), nullptr, nullptr) == 1);
  return contentsOf(stream.get());
}

SigningAuthority::Certificate SigningAuthority::issue(const SignatureRecipe& recipe,
                                                      EVP_PKEY* key) const {
  Certificate leaf(newCertificate(key, recipe.validFrom, recipe.validUntil));
  X509_NAME* const name = X509_get_subject_name(leaf.get());
  addToName(name, "OU", recipe.organizationalUnit);
  addToName(name, "OU", recipe.secondOrganizationalUnit.value_or(""));
  addToName(name, "CN", recipe.commonName);
  addToName(name, "CN", recipe.secondCommonName.value_or(""));
  require(X509_set_issuer_name(leaf.get(), X509_get_subject_name(certificate_.get())) == 1);
  addExtension(leaf.get(), NID_basic_constraints, "critical,CA:FALSE");
  addExtension(leaf.get(), NID_key_usage, recipe.keyUsage);
  addExtension(leaf.get(), NID_ext_key_usage, recipe.extendedKeyUsage);
  addExtension(leaf.get(), NID_netscape_comment, std::string(recipe.commentSize, 'x'));
  require(X509_sign(leaf.get(), key_.get(),
                    EVP_get_digestbyname(recipe.certificateDigest.c_str())) > 0);
  return leaf;
}

void SigningAuthority::sign(const std::filesystem::path& program,
                            const SignatureRecipe& recipe) const {
  const unsigned flags =
      CMS_BINARY | CMS_PARTIAL | CMS_NOSMIMECAP | (recipe.isDetached ? unsigned{CMS_DETACHED} : 0U);
  const Signature content(CMS_sign(nullptr, nullptr, nullptr, nullptr, flags));
  require(content != nullptr);
  for (int i = 0; i < recipe.signers; ++i) {
    const Key key(EVP_EC_gen("P-256"));
    const Certificate leaf = issue(recipe, key.get());
    require(CMS_add1_signer(
                content.get(), leaf.get(), key.get(), EVP_get_digestbyname(recipe.digest.c_str()),
                flags | (recipe.hasCertificate ? 0U : unsigned{CMS_NOCERTS})) != nullptr);
  }
  require(isRoot_ || CMS_add1_cert(content.get(), certificate_.get()) == 1);
  const Bio bytes(BIO_new_file(program.c_str(), "rb"));
  // Without a signer there is nothing to compute, and OpenSSL will not.
  require(recipe.signers == 0 ||
          (bytes != nullptr && CMS_final(content.get(), bytes.get(), nullptr, flags) == 1));
  const Bio file(BIO_new_file((program.string() + ".p7s").c_str(), "wb"));
  require(file != nullptr && i2d_CMS_bio(file.get(), content.get()) == 1);
}

}  // namespace korvan
