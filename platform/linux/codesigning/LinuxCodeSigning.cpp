#include "platform/linux/codesigning/LinuxCodeSigning.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstddef>
#include <expected>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include <fcntl.h>
#include <openssl/bio.h>
#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/linux/codesigning/CodeRequirement.h"
#include "platform/linux/codesigning/CodeSignature.h"

namespace korvan {
namespace {

/// No signature with a few certificates comes near it.
constexpr std::size_t MaxSignatureSize = std::size_t{1} << 20;

/// The Security framework's form of an `errno` value is this much above it.
constexpr OSStatus ErrnoBase = 100'000;
constexpr OSStatus MaxErrno = 4'095;

OSStatus statusOfErrno(int error) { return ErrnoBase + error; }

class Descriptor {
 public:
  explicit Descriptor(int value) : value_(value) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (value_ >= 0) {
      ::close(value_);
    }
  }
  [[nodiscard]] int value() const { return value_; }
  [[nodiscard]] bool isOpen() const { return value_ >= 0; }

 private:
  int value_;
};

/// The program that a process runs: its file, open, and where that was found.
class LinuxCode : public CodeSigning::Code {
 public:
  LinuxCode(Descriptor program, std::string path)
      : program_(std::move(program)), path_(std::move(path)) {}

  [[nodiscard]] int program() const { return program_.value(); }
  /// The program's file again, with an offset of its own: several threads may read it at once.
  [[nodiscard]] Descriptor reopenProgram() const {
    const std::string link = "/proc/self/fd/" + std::to_string(program_.value());
    return Descriptor(::open(link.c_str(), O_RDONLY | O_CLOEXEC));
  }
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  Descriptor program_;
  std::string path_;
};

class LinuxRequirement : public CodeSigning::Requirement {
 public:
  explicit LinuxRequirement(std::vector<CodeRequirementClause> clauses)
      : clauses_(std::move(clauses)) {}

  [[nodiscard]] bool isSatisfiedBy(const CodeSigner& signer) const {
    return std::ranges::all_of(clauses_, [&](const CodeRequirementClause& clause) {
      return std::visit([&](const auto& kind) { return holds(kind, signer); }, clause);
    });
  }

 private:
  static bool holds(const AnchorClause& /*clause*/, const CodeSigner& signer) {
    return signer.isAnchored;
  }
  static bool holds(const LeafOrganizationalUnitClause& clause, const CodeSigner& signer) {
    return signer.organizationalUnit == clause.value;
  }
  static bool holds(const IdentifierClause& clause, const CodeSigner& signer) {
    return signer.commonName == clause.value;
  }

  std::vector<CodeRequirementClause> clauses_;
};

/// The target of a symbolic link; none, with `errno` set, when it cannot be read.
std::optional<std::string> linkTarget(const std::string& link) {
  std::array<char, PATH_MAX> target{};
  const ssize_t size = ::readlink(link.c_str(), target.data(), target.size());
  return size >= 0 ? std::optional(std::string(target.data(), static_cast<std::size_t>(size)))
                   : std::nullopt;
}

bool isFileAtPath(int descriptor, const std::string& path) {
  struct stat open{};
  struct stat named{};
  return ::fstat(descriptor, &open) == 0 && ::stat(path.c_str(), &named) == 0 &&
         open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

/// The whole of a small file; the status that says why not, otherwise.
std::expected<std::vector<std::uint8_t>, OSStatus> readSignature(const std::string& path) {
  const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
  if (!file.isOpen()) {
    return std::unexpected(errno == ENOENT ? CodeUnsigned : statusOfErrno(errno));
  }
  struct stat status{};
  if (::fstat(file.value(), &status) != 0) {
    return std::unexpected(statusOfErrno(errno));
  }
  // One byte more than there are, to see the end of the file.
  std::vector<std::uint8_t> bytes(
      std::min(static_cast<std::size_t>(status.st_size), MaxSignatureSize) + 1);
  std::size_t size = 0;
  while (size < bytes.size()) {
    const ssize_t count = ::read(file.value(), bytes.data() + size, bytes.size() - size);
    if (count < 0) {
      return std::unexpected(statusOfErrno(errno));
    }
    if (count == 0) {
      bytes.resize(size);
      return bytes;
    }
    size += static_cast<std::size_t>(count);
  }
  return std::unexpected(CodeSignatureFailed);
}

/// Returns no password. Without this OpenSSL asks for one on the terminal.
int refusePassword(char* /*buffer*/, int /*size*/, int /*writing*/, void* /*data*/) { return -1; }

X509* onlyCertificateIn(std::string_view pem) {
  const std::unique_ptr<BIO, decltype([](BIO* stream) { BIO_free(stream); })> stream(
      BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())));
  X509* const certificate = PEM_read_bio_X509(stream.get(), nullptr, refusePassword, nullptr);
  X509* const another = PEM_read_bio_X509(stream.get(), nullptr, refusePassword, nullptr);
  ERR_clear_error();
  if (certificate == nullptr || another != nullptr) {
    X509_free(certificate);
    X509_free(another);
    throw std::invalid_argument("The trust anchor is not exactly one certificate in PEM form.");
  }
  return certificate;
}

}  // namespace

void LinuxCodeSigning::FreeCertificate::operator()(X509* certificate) const {
  X509_free(certificate);
}

LinuxCodeSigning::LinuxCodeSigning(std::string_view trustAnchorPem)
    : trustAnchor_(onlyCertificateIn(trustAnchorPem)) {}

LinuxCodeSigning::~LinuxCodeSigning() = default;

OSStatus LinuxCodeSigning::copyGuest(std::int32_t processIdentifier,
                                     std::unique_ptr<Code>& code) const {
  const std::string link = "/proc/" + std::to_string(processIdentifier) + "/exe";
  Descriptor program(::open(link.c_str(), O_RDONLY | O_CLOEXEC));
  const auto path = program.isOpen() ? linkTarget(link) : std::nullopt;
  if (!path) {
    return errno == ENOENT || errno == ESRCH ? CodeNoSuchProcess : statusOfErrno(errno);
  }
  code = std::make_unique<LinuxCode>(std::move(program), *path);
  return 0;
}

OSStatus LinuxCodeSigning::createRequirement(std::string_view text,
                                             std::unique_ptr<Requirement>& requirement) const {
  auto clauses = parseCodeRequirement(text);
  if (!clauses) {
    return clauses.error();
  }
  requirement = std::make_unique<LinuxRequirement>(*std::move(clauses));
  return 0;
}

OSStatus LinuxCodeSigning::checkValidity(const Code& code, const Requirement& requirement) const {
  const auto& linuxCode = dynamic_cast<const LinuxCode&>(code);
  const auto& linuxRequirement = dynamic_cast<const LinuxRequirement&>(requirement);
  if (!isFileAtPath(linuxCode.program(), linuxCode.path())) {
    return CodeChangedOnDisk;
  }
  const auto signature = readSignature(linuxCode.path() + ".p7s");
  if (!signature) {
    return signature.error();
  }
  const Descriptor program = linuxCode.reopenProgram();
  if (!program.isOpen()) {
    return statusOfErrno(errno);
  }
  const auto signer = verifyCodeSignature(program.value(), *signature, *trustAnchor_);
  if (!signer) {
    return signer.error();
  }
  return linuxRequirement.isSatisfiedBy(*signer) ? 0 : CodeRequirementFailed;
}

std::optional<std::string> LinuxCodeSigning::errorMessage(OSStatus status) const {
  if (status > ErrnoBase && status <= ErrnoBase + MaxErrno) {
    return "the program or its signature cannot be read: " +
           std::generic_category().message(status - ErrnoBase);
  }
  switch (status) {
    case CodeNoSuchProcess:
      return "there is no such process";
    case CodeUnsigned:
      return "the program is not signed";
    case CodeSignatureFailed:
      return "the signature is not valid for the program";
    case CodeSignatureUnsupported:
      return "the signature uses a digest that is too weak";
    case CodeChangedOnDisk:
      return "the program on disk is not the one that runs";
    case CodeCertificateExpired:
      return "the certificate of the signature has expired";
    case CodeCertificateNotValidYet:
      return "the certificate of the signature is not valid yet";
    case CodeRequirementFailed:
      return "the program does not satisfy the code requirement";
    case CodeRequirementInvalid:
      return "the code requirement is malformed";
    case CodeRequirementUnsupported:
      return "the code requirement has a clause that is not supported";
    default:
      return std::nullopt;
  }
}

}  // namespace korvan
