#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <openssl/cms.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <unistd.h>

#include "fuzz/DerElement.h"
#include "fuzz/Fuzzing.h"
#include "platform/linux/TemporaryDirectory_testing.h"
#include "platform/linux/codesigning/CodeSignature.h"
#include "platform/linux/codesigning/SigningAuthority_testing.h"

// Whatever a signature file holds, a program counts as signed only by what its signer has signed:
// the signer's certificate, the signed attributes and the signature are the genuine ones.
//
// The rest of a signature file is signed by nobody, and CMS (RFC 5652) as OpenSSL reads it does not
// mind what that says: versions; the list of digests; the type of the contents, which a signed
// attribute says again; the name of the signature's algorithm, which follows from the key and the
// digest; the case and the spaces of the issuer's name by which the signer is found; certificates
// that are there twice or that the chain does not need; revocation lists; unsigned attributes; and
// lengths and sets in BER where DER is due.
//
// An input that begins with an even byte is a list of changes to the genuine signature, four bytes
// each: kind, element, two arguments. That makes inputs good for every key, and there is a new one
// in every process. One that begins with an odd byte is the signature itself.

using namespace korvan;
using fuzz::DerElement;
using fuzz::require;

namespace {

using Bytes = std::vector<std::uint8_t>;
using Certificate = std::unique_ptr<X509, decltype([](X509* each) { X509_free(each); })>;
using ContentInfo =
    std::unique_ptr<CMS_ContentInfo,
                    decltype([](CMS_ContentInfo* each) { CMS_ContentInfo_free(each); })>;
using Certificates =
    std::unique_ptr<STACK_OF(X509),
                    decltype([](STACK_OF(X509) * each) { sk_X509_pop_free(each, X509_free); })>;
using Stream = std::unique_ptr<BIO, decltype([](BIO* each) { BIO_free(each); })>;

template <auto Encode, typename Object>
Bytes encoded(Object* object) {
  unsigned char* der = nullptr;
  const int size = Encode(object, &der);
  require(size > 0, "OpenSSL can write what it has read");
  Bytes bytes(der, der + size);
  OPENSSL_free(der);
  return bytes;
}

/// What the signer vouches for, of a signature that has been accepted.
std::vector<Bytes> signedPartsOf(const Bytes& signature) {
  const unsigned char* next = signature.data();
  const ContentInfo content(
      d2i_CMS_ContentInfo(nullptr, &next, static_cast<long>(signature.size())));
  CMS_SignerInfo* const signer = sk_CMS_SignerInfo_value(CMS_get0_SignerInfos(content.get()), 0);
  std::vector<Bytes> parts;
  parts.reserve(static_cast<std::size_t>(std::max(0, CMS_signed_get_attr_count(signer))) + 2);
  for (int i = 0; i < CMS_signed_get_attr_count(signer); ++i) {
    parts.push_back(encoded<i2d_X509_ATTRIBUTE>(CMS_signed_get_attr(signer, i)));
  }
  // A set has no order.
  std::ranges::sort(parts);
  const ASN1_OCTET_STRING* const value = CMS_SignerInfo_get0_signature(signer);
  parts.emplace_back(value->data, value->data + value->length);
  const Certificates certificates(CMS_get1_certs(content.get()));
  for (int i = 0; i < sk_X509_num(certificates.get()); ++i) {
    X509* const certificate = sk_X509_value(certificates.get(), i);
    if (CMS_SignerInfo_cert_cmp(signer, certificate) == 0) {
      parts.push_back(encoded<i2d_X509>(certificate));
      return parts;
    }
  }
  return parts;
}

/// Two programs, and the signature of the first. The authority is gone once that is made.
class SignedProgram {
 public:
  SignedProgram() {
    const TemporaryDirectory directory;
    const auto path = directory.path() / "program";
    program_ = write(path, "a program");
    otherProgram_ = write(directory.path() / "other", "b program");
    const SigningAuthority authority;
    authority.issueAuthority().sign(path);
    std::ifstream file(path.string() + ".p7s", std::ios::binary);
    signature_.assign(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    const std::string pem = authority.pem();
    const Stream stream(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
    trustAnchor_.reset(PEM_read_bio_X509(stream.get(), nullptr, nullptr, nullptr));
    signedParts_ = signedPartsOf(signature_);
    require(isAccepted(verify(signature_)), "the genuine signature is accepted");
  }

  [[nodiscard]] const Bytes& signature() const { return signature_; }
  [[nodiscard]] const std::vector<Bytes>& signedParts() const { return signedParts_; }

  using Verdict = std::expected<CodeSigner, OSStatus>;
  [[nodiscard]] Verdict verify(const Bytes& signature) const { return verify(program_, signature); }
  [[nodiscard]] Verdict verifyOther(const Bytes& signature) const {
    return verify(otherProgram_, signature);
  }

  static bool isAccepted(const Verdict& signer) {
    const SignatureRecipe recipe;
    return signer && signer->isAnchored &&
           signer->organizationalUnit == recipe.organizationalUnit &&
           signer->commonName == recipe.commonName;
  }

 private:
  /// The file, open for reading for as long as the process lives.
  static int write(const std::filesystem::path& path, std::string_view contents) {
    std::ofstream(path) << contents;
    return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  }

  [[nodiscard]] Verdict verify(int descriptor, const Bytes& signature) const {
    require(::lseek(descriptor, 0, SEEK_SET) == 0, "the program is there");
    return verifyCodeSignature(descriptor, fuzz::exactCopyOf(signature).bytes(), *trustAnchor_);
  }

  int program_ = -1;
  int otherProgram_ = -1;
  Bytes signature_;
  Certificate trustAnchor_;
  std::vector<Bytes> signedParts_;
};

struct Change {
  std::uint8_t kind = 0;
  std::uint8_t element = 0;
  std::uint8_t place = 0;
  std::uint8_t value = 0;
};

void changeContents(Bytes& contents, const Change& change) {
  if (!contents.empty()) {
    contents[change.place % contents.size()] ^= change.value;
  }
}

/// Makes the change, but none that would leave no element, or a great many by copies of copies.
void apply(const Change& change, std::vector<DerElement>& tree) {
  constexpr std::size_t MaxElements = 1000;
  const auto places = placesIn(tree);
  if (places.size() > MaxElements) {
    return;
  }
  const auto& [list, index] = places[change.element % places.size()];
  DerElement& element = (*list)[index];
  const auto position = list->begin() + static_cast<std::ptrdiff_t>(index);
  switch (change.kind % 8) {
    case 0:
      element.tag ^= change.value;
      break;
    case 1:
      changeContents(element.contents, change);
      break;
    case 2:
      element.hasLongLength = true;
      break;
    case 3:
      element.contents.push_back(change.value);
      break;
    case 4:
      element.contents.resize(element.contents.size() / 2);
      break;
    case 5:
      if (list != &tree) {
        list->erase(position);
      }
      break;
    case 6:
      list->insert(position, DerElement(element));
      break;
    default: {
      DerElement other = places[change.place % places.size()].element();
      element = std::move(other);
    }
  }
}

Bytes signatureOf(std::span<const std::uint8_t> input, const Bytes& genuine) {
  const bool isSignatureItself = !input.empty() && input.front() % 2 != 0;
  input = input.subspan(std::min<std::size_t>(1, input.size()));
  if (isSignatureItself) {
    return {input.begin(), input.end()};
  }
  // A few changes are enough to reach anything; many would only copy copies.
  constexpr std::size_t MaxChanges = 16;
  std::vector<DerElement> tree = DerElement::listOf(genuine);
  for (std::size_t i = 0; i < MaxChanges && input.size() >= sizeof(Change); ++i) {
    apply({.kind = input[0], .element = input[1], .place = input[2], .value = input[3]}, tree);
    input = input.subspan(sizeof(Change));
  }
  Bytes bytes;
  for (const DerElement& element : tree) {
    element.appendTo(bytes);
  }
  return bytes;
}

void requireKnown(OSStatus status) {
  constexpr std::array Known{CodeSignatureFailed, CodeSignatureUnsupported, CodeCertificateExpired,
                             CodeCertificateNotValidYet};
  require(std::ranges::find(Known, status) != Known.end(), "a refusal has one of the statuses");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* first, std::size_t size) {
  static const SignedProgram program;
  const Bytes signature = signatureOf(std::span(first, size), program.signature());
  const auto signer = program.verify(signature);
  require(ERR_peek_error() == 0, "no error of OpenSSL is left behind");
  if (!signer) {
    requireKnown(signer.error());
  } else if (SignedProgram::isAccepted(signer)) {
    require(signedPartsOf(signature) == program.signedParts(),
            "an accepted signature is the genuine one in all that is signed");
    require(!program.verifyOther(signature), "a signature is that of one program only");
  }
  return 0;
}
