#include "lab/check/SignatureFile.h"

#include <array>
#include <cstdint>
#include <exception>
#include <memory>
#include <span>

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <openssl/x509_vfy.h>

#include "lab/site/ValueWords.h"
#include "lab/support/FileContents.h"

namespace korvan::lab::check {
namespace {

template <auto Free>
struct FreeWith {
  template <typename Object>
  void operator()(Object* object) const {
    Free(object);
  }
};

void freeCertificates(STACK_OF(X509) * certificates) { sk_X509_pop_free(certificates, X509_free); }

using Content = std::unique_ptr<CMS_ContentInfo, FreeWith<CMS_ContentInfo_free>>;
using Stream = std::unique_ptr<BIO, FreeWith<BIO_free>>;
using Certificate = std::unique_ptr<X509, FreeWith<X509_free>>;
using Certificates = std::unique_ptr<STACK_OF(X509), FreeWith<freeCertificates>>;
using Store = std::unique_ptr<X509_STORE, FreeWith<X509_STORE_free>>;
using StoreContext = std::unique_ptr<X509_STORE_CTX, FreeWith<X509_STORE_CTX_free>>;

/// Restores the thread's queue of OpenSSL errors.
class QuietErrors {
 public:
  QuietErrors() { ERR_set_mark(); }
  QuietErrors(const QuietErrors&) = delete;
  QuietErrors& operator=(const QuietErrors&) = delete;
  ~QuietErrors() { ERR_pop_to_mark(); }
};

Stream streamOf(const std::string& bytes) {
  return Stream(BIO_new_mem_buf(bytes.data(), static_cast<int>(bytes.size())));
}

std::string textOf(const X509_NAME* name) {
  const Stream stream(BIO_new(BIO_s_mem()));
  X509_NAME_print_ex(stream.get(), name, 0, XN_FLAG_RFC2253 & ~ASN1_STRFLGS_ESC_MSB);
  char* text = nullptr;
  const long size = BIO_get_mem_data(stream.get(), &text);
  return {text, static_cast<std::size_t>(size)};
}

std::optional<std::string> onlyValue(const X509_NAME* name, int kind) {
  const int index = X509_NAME_get_index_by_NID(name, kind, -1);
  if (index < 0 || X509_NAME_get_index_by_NID(name, kind, index) >= 0) {
    return std::nullopt;
  }
  const ASN1_STRING* const value = X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index));
  return std::string(reinterpret_cast<const char*>(ASN1_STRING_get0_data(value)),
                     static_cast<std::size_t>(ASN1_STRING_length(value)));
}

std::time_t timeOf(const ASN1_TIME* time) {
  std::tm parts{};
  ASN1_TIME_to_tm(time, &parts);
  return ::timegm(&parts);
}

bool chainEndsIn(X509* certificate, STACK_OF(X509) * others, X509* anchor) {
  const Store store(X509_STORE_new());
  const StoreContext context(X509_STORE_CTX_new());
  X509_STORE_add_cert(store.get(), anchor);
  X509_STORE_CTX_init(context.get(), store.get(), certificate, others);
  X509_STORE_CTX_set_flags(context.get(), X509_V_FLAG_PARTIAL_CHAIN | X509_V_FLAG_NO_CHECK_TIME);
  return X509_verify_cert(context.get()) == 1;
}

/// What is wrong with the signature, or nothing. On success the content knows its signer.
std::optional<std::string> flawOf(const std::string& file, const std::string& bytes,
                                  CMS_ContentInfo* content, const std::string& executable) {
  if (content == nullptr) {
    return bytes.starts_with("-----BEGIN") ? file + " is PEM, not DER: sign with -outform DER"
                                           : file + " is not a CMS signature in DER";
  }
  if (CMS_is_detached(content) != 1) {
    return file + " is not detached: it holds the program too";
  }
  if (const int count = sk_CMS_SignerInfo_num(CMS_get0_SignerInfos(content)); count != 1) {
    return file + " has " + std::to_string(count) + " signers instead of one";
  }
  const Stream program(BIO_new_file(executable.c_str(), "rb"));
  if (!program) {
    return executable + " cannot be read";
  }
  if (CMS_verify(content, nullptr, nullptr, program.get(), nullptr,
                 CMS_BINARY | CMS_DETACHED | CMS_NO_SIGNER_CERT_VERIFY) != 1) {
    return file + " is not of the bytes on the disk: linked again after signing? Sign again";
  }
  return std::nullopt;
}

std::string fingerprintOf(X509* certificate) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
  unsigned size = 0;
  X509_digest(certificate, EVP_sha256(), hash.data(), &size);
  return hexadecimalOf(std::span(hash).first(size));
}

SignatureFacts factsOf(X509* certificate, STACK_OF(X509) * others, X509* anchor) {
  const X509_NAME* const subject = X509_get_subject_name(certificate);
  return {.signer = textOf(subject),
          .issuer = textOf(X509_get_issuer_name(certificate)),
          .anchor = textOf(X509_get_subject_name(anchor)),
          .anchorFingerprint = fingerprintOf(anchor),
          .isAnchored = chainEndsIn(certificate, others, anchor),
          .organizationalUnit = onlyValue(subject, NID_organizationalUnitName),
          .commonName = onlyValue(subject, NID_commonName),
          .validFrom = timeOf(X509_get0_notBefore(certificate)),
          .validUntil = timeOf(X509_get0_notAfter(certificate))};
}

}  // namespace

std::string dateOf(std::time_t time) {
  std::tm parts{};
  ::gmtime_r(&time, &parts);
  std::array<char, 32> text{};
  std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M UTC", &parts);
  return text.data();
}

std::expected<SignatureFacts, std::string> readSignature(const std::string& executable,
                                                         const std::string& anchorPem) {
  const QuietErrors quiet;
  const std::string file = executable + ".p7s";
  std::string bytes;
  try {
    bytes = contentsOf(file);
  } catch (const std::exception& error) {
    return std::unexpected(error.what());
  }
  const auto* next = reinterpret_cast<const unsigned char*>(bytes.data());
  const Content content(d2i_CMS_ContentInfo(nullptr, &next, static_cast<long>(bytes.size())));
  if (auto flaw = flawOf(file, bytes, content.get(), executable)) {
    return std::unexpected(*std::move(flaw));
  }
  X509* signer = nullptr;
  CMS_SignerInfo_get0_algs(sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(content.get()), 0), nullptr,
                           &signer, nullptr, nullptr);
  const Certificate anchor(PEM_read_bio_X509(streamOf(anchorPem).get(), nullptr, nullptr, nullptr));
  if (signer == nullptr || !anchor) {
    return std::unexpected(file + " has no certificate of its signer");
  }
  const Certificates others(CMS_get1_certs(content.get()));
  return factsOf(signer, others.get(), anchor.get());
}

}  // namespace korvan::lab::check
