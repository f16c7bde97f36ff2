#include "platform/linux/codesigning/CodeSignature.h"

#include <algorithm>
#include <array>
#include <memory>

#include <openssl/bio.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/obj_mac.h>
#include <openssl/x509_vfy.h>
#include <openssl/x509v3.h>

namespace korvan {
namespace {

template <auto Free>
struct FreeWith {
  template <typename Object>
  void operator()(Object* object) const {
    Free(object);
  }
};

void freeCertificates(STACK_OF(X509) * certificates) { sk_X509_pop_free(certificates, X509_free); }

using ContentInfo = std::unique_ptr<CMS_ContentInfo, FreeWith<CMS_ContentInfo_free>>;
using Stream = std::unique_ptr<BIO, FreeWith<BIO_free>>;
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

/// Parses a detached signature with nothing after it, or returns null.
ContentInfo parseSignature(std::span<const std::uint8_t> signature) {
  const unsigned char* next = signature.data();
  ContentInfo content(d2i_CMS_ContentInfo(nullptr, &next, static_cast<long>(signature.size())));
  if (!content || next != signature.data() + signature.size() ||
      CMS_is_detached(content.get()) != 1) {
    return nullptr;
  }
  return content;
}

/// The signer, or null unless there is exactly one.
CMS_SignerInfo* onlySigner(CMS_ContentInfo* content) {
  STACK_OF(CMS_SignerInfo)* const signers = CMS_get0_SignerInfos(content);
  return sk_CMS_SignerInfo_num(signers) == 1 ? sk_CMS_SignerInfo_value(signers, 0) : nullptr;
}

bool hasStrongDigest(CMS_SignerInfo* signer) {
  constexpr std::array StrongDigests{NID_sha256, NID_sha384, NID_sha512};
  X509_ALGOR* digest = nullptr;
  CMS_SignerInfo_get0_algs(signer, nullptr, nullptr, &digest, nullptr);
  const ASN1_OBJECT* algorithm = nullptr;
  X509_ALGOR_get0(&algorithm, nullptr, nullptr, digest);
  return std::ranges::find(StrongDigests, OBJ_obj2nid(algorithm)) != StrongDigests.end();
}

/// Whether the signature matches the open file. Does not check the signer.
bool isSignatureOf(CMS_ContentInfo* content, int descriptor) {
  const Stream program(BIO_new_fd(descriptor, BIO_NOCLOSE));
  return program && CMS_verify(content, nullptr, nullptr, program.get(), nullptr,
                               CMS_BINARY | CMS_DETACHED | CMS_NO_SIGNER_CERT_VERIFY) == 1;
}

/// True also for a certificate that does not restrict its uses.
bool maySignCode(X509* certificate) {
  return (X509_get_key_usage(certificate) & KU_DIGITAL_SIGNATURE) != 0 &&
         (X509_get_extended_key_usage(certificate) & XKU_CODE_SIGN) != 0;
}

/// Security level 2 of OpenSSL: no SHA-1, no RSA key below 2048 bits.
/// https://docs.openssl.org/3.0/man3/SSL_CTX_set_security_level/
constexpr int SecurityLevel = 2;

bool isTooWeak(int error) {
  constexpr std::array Weaknesses{X509_V_ERR_EE_KEY_TOO_SMALL, X509_V_ERR_CA_KEY_TOO_SMALL,
                                  X509_V_ERR_CA_MD_TOO_WEAK};
  return std::ranges::find(Weaknesses, error) != Weaknesses.end();
}

/// X509_V_OK when the chain from the certificate to the trust anchor is good now, else why not.
int chainError(X509* certificate, STACK_OF(X509) * others, X509& trustAnchor) {
  const Store store(X509_STORE_new());
  const StoreContext context(X509_STORE_CTX_new());
  if (!store || !context || X509_STORE_add_cert(store.get(), &trustAnchor) != 1 ||
      X509_STORE_CTX_init(context.get(), store.get(), certificate, others) != 1) {
    return X509_V_ERR_OUT_OF_MEM;
  }
  X509_VERIFY_PARAM_set_auth_level(X509_STORE_CTX_get0_param(context.get()), SecurityLevel);
  // The trust anchor is trusted whoever issued it.
  X509_STORE_CTX_set_flags(context.get(), X509_V_FLAG_PARTIAL_CHAIN);
  return X509_verify_cert(context.get()) == 1 ? X509_V_OK : X509_STORE_CTX_get_error(context.get());
}

/// The only value of that kind in the subject's name.
std::optional<std::string> onlySubjectValue(const X509* certificate, int kind) {
  X509_NAME* const name = X509_get_subject_name(certificate);
  const int index = X509_NAME_get_index_by_NID(name, kind, -1);
  if (index < 0 || X509_NAME_get_index_by_NID(name, kind, index) >= 0) {
    return std::nullopt;
  }
  unsigned char* utf8 = nullptr;
  const int size =
      ASN1_STRING_to_UTF8(&utf8, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, index)));
  if (size < 0) {
    return std::nullopt;
  }
  std::string value(reinterpret_cast<const char*>(utf8), static_cast<std::size_t>(size));
  OPENSSL_free(utf8);
  return value;
}

}  // namespace

std::expected<CodeSigner, OSStatus> verifyCodeSignature(int descriptor,
                                                        std::span<const std::uint8_t> signature,
                                                        X509& trustAnchor) {
  const QuietErrors quiet;
  const ContentInfo content = parseSignature(signature);
  CMS_SignerInfo* const signer = content ? onlySigner(content.get()) : nullptr;
  if (signer == nullptr) {
    return std::unexpected(CodeSignatureFailed);
  }
  if (!hasStrongDigest(signer)) {
    return std::unexpected(CodeSignatureUnsupported);
  }
  if (!isSignatureOf(content.get(), descriptor)) {
    return std::unexpected(CodeSignatureFailed);
  }
  // Set by the verification above, and the content's own.
  X509* certificate = nullptr;
  CMS_SignerInfo_get0_algs(signer, nullptr, &certificate, nullptr, nullptr);
  if (certificate == nullptr || !maySignCode(certificate)) {
    return std::unexpected(CodeSignatureFailed);
  }
  const Certificates others(CMS_get1_certs(content.get()));
  const int error = chainError(certificate, others.get(), trustAnchor);
  if (error == X509_V_ERR_CERT_HAS_EXPIRED) {
    return std::unexpected(CodeCertificateExpired);
  }
  if (error == X509_V_ERR_CERT_NOT_YET_VALID) {
    return std::unexpected(CodeCertificateNotValidYet);
  }
  if (isTooWeak(error)) {
    return std::unexpected(CodeSignatureUnsupported);
  }
  return CodeSigner{.isAnchored = error == X509_V_OK,
                    .organizationalUnit = onlySubjectValue(certificate, NID_organizationalUnitName),
                    .commonName = onlySubjectValue(certificate, NID_commonName)};
}

}  // namespace korvan
