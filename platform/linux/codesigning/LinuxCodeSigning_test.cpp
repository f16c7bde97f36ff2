#include "platform/linux/codesigning/LinuxCodeSigning.h"

#include <array>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <optional>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <gtest/gtest.h>
#include <openssl/err.h>
#include <spawn.h>
#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/TemporaryDirectory_testing.h"
#include "platform/linux/codesigning/SigningAuthority_testing.h"

namespace korvan {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view HostRequirement =
    "anchor apple generic and certificate leaf[subject.OU] = \"KRVNLAB001\" and identifier "
    "\"example.korvan.host\"";

/// A copy of `cat` that waits for input that never comes.
class WaitingProcess {
 public:
  explicit WaitingProcess(const fs::path& program) {
    std::array<int, 2> input{};
    if (::pipe2(input.data(), O_CLOEXEC) != 0) {
      throw std::runtime_error("There is no pipe.");
    }
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    std::string name = program.string();
    std::array<char*, 2> arguments{name.data(), nullptr};
    const int error =
        ::posix_spawn(&process_, name.c_str(), &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(input[0]);
    input_ = input[1];
    if (error != 0) {
      throw std::runtime_error("The program cannot be started: " + name);
    }
  }
  WaitingProcess(const WaitingProcess&) = delete;
  WaitingProcess& operator=(const WaitingProcess&) = delete;
  ~WaitingProcess() { end(); }

  [[nodiscard]] pid_t id() const { return process_; }

  void end() {
    if (input_ >= 0) {
      ::close(std::exchange(input_, -1));
      ::waitpid(process_, nullptr, 0);
    }
  }

 private:
  pid_t process_ = 0;
  int input_ = -1;
};

class LinuxCodeSigningTest : public testing::Test {
 protected:
  void SetUp() override { fs::copy_file("/bin/cat", program); }

  OSStatus check(std::string_view requirementText = HostRequirement) {
    const WaitingProcess process(program);
    return checkProcess(process.id(), requirementText);
  }

  OSStatus checkProcess(pid_t process, std::string_view requirementText = HostRequirement) {
    std::unique_ptr<CodeSigning::Code> code;
    const OSStatus copied = signing->copyGuest(process, code);
    EXPECT_EQ(copied == 0, code != nullptr);
    return copied == 0 ? checkCode(*code, requirementText) : copied;
  }

  OSStatus checkCode(const CodeSigning::Code& code, std::string_view requirementText) {
    std::unique_ptr<CodeSigning::Requirement> requirement;
    EXPECT_EQ(signing->createRequirement(requirementText, requirement), 0);
    return signing->checkValidity(code, *requirement);
  }

  OSStatus checkSignedAs(const SignatureRecipe& recipe) {
    authority.sign(program, recipe);
    return check();
  }

  fs::path signatureFile() const { return program.string() + ".p7s"; }

  TemporaryDirectory directory;
  fs::path program = directory.path() / "program";
  SigningAuthority authority;
  std::optional<LinuxCodeSigning> signing{std::in_place, authority.pem()};
};

TEST_F(LinuxCodeSigningTest, ProgramSignedByTheTeamUnderTheIdentifierIsValid) {
  EXPECT_EQ(checkSignedAs({}), 0);
}

TEST_F(LinuxCodeSigningTest, StrongerDigestsAreValid) {
  EXPECT_EQ(checkSignedAs({.digest = "SHA384"}), 0);
  EXPECT_EQ(checkSignedAs({.digest = "SHA512"}), 0);
}

TEST_F(LinuxCodeSigningTest, ProgramWithoutASignatureIsUnsigned) { EXPECT_EQ(check(), -67062); }

TEST_F(LinuxCodeSigningTest, AnotherAuthorityDoesNotSatisfyTheAnchor) {
  SigningAuthority().sign(program);
  EXPECT_EQ(check(), -67050);
  EXPECT_EQ(check("identifier \"example.korvan.host\""), 0);
}

TEST_F(LinuxCodeSigningTest, AnotherTeamDoesNotSatisfyTheRequirement) {
  EXPECT_EQ(checkSignedAs({.organizationalUnit = "KRVNLAB002"}), -67050);
  EXPECT_EQ(checkSignedAs({.organizationalUnit = "krvnlab001"}), -67050);
  EXPECT_EQ(checkSignedAs({.organizationalUnit = ""}), -67050);
}

TEST_F(LinuxCodeSigningTest, AnotherIdentifierDoesNotSatisfyTheRequirement) {
  EXPECT_EQ(checkSignedAs({.commonName = "example.korvan.host2"}), -67050);
  EXPECT_EQ(checkSignedAs({.commonName = "example.korvan"}), -67050);
  EXPECT_EQ(checkSignedAs({.commonName = std::string("example.korvan.host\0x", 21)}), -67050);
}

TEST_F(LinuxCodeSigningTest, SeveralTeamsOrIdentifiersAreNone) {
  EXPECT_EQ(checkSignedAs({.secondOrganizationalUnit = "KRVNLAB001"}), -67050);
  EXPECT_EQ(checkSignedAs({.secondCommonName = "other"}), -67050);
}

TEST_F(LinuxCodeSigningTest, ExpiredCertificateIsReported) {
  EXPECT_EQ(checkSignedAs({.validFrom = -2, .validUntil = -1}), -2147409654);
}

TEST_F(LinuxCodeSigningTest, CertificateOfTheFutureIsReported) {
  EXPECT_EQ(checkSignedAs({.validFrom = 1, .validUntil = 2}), -2147409653);
}

TEST_F(LinuxCodeSigningTest, CertificateForOtherUsesDoesNotSign) {
  EXPECT_EQ(checkSignedAs({.keyUsage = "critical,keyAgreement"}), -67061);
  EXPECT_EQ(checkSignedAs({.extendedKeyUsage = "serverAuth"}), -67061);
  EXPECT_EQ(checkSignedAs({.keyUsage = "", .extendedKeyUsage = ""}), 0);
}

TEST_F(LinuxCodeSigningTest, ProgramChangedAfterSigningFails) {
  authority.sign(program);
  std::ofstream(program, std::ios::app) << "x";
  EXPECT_EQ(check(), -67061);
}

TEST_F(LinuxCodeSigningTest, SignatureOfAnotherProgramFails) {
  const fs::path other = directory.path() / "other";
  fs::copy_file("/bin/true", other);
  authority.sign(other);
  fs::copy_file(other.string() + ".p7s", signatureFile());
  EXPECT_EQ(check(), -67061);
}

TEST_F(LinuxCodeSigningTest, WeakDigestIsUnsupported) {
  EXPECT_EQ(checkSignedAs({.digest = "SHA1"}), -67059);
}

TEST_F(LinuxCodeSigningTest, WeakDigestInTheChainIsUnsupported) {
  EXPECT_EQ(checkSignedAs({.certificateDigest = "SHA1"}), -67059);
}

TEST_F(LinuxCodeSigningTest, ChainMayLeadThroughAnIntermediateAuthority) {
  authority.issueAuthority().sign(program);
  EXPECT_EQ(check(), 0);
  SigningAuthority().issueAuthority().sign(program);
  EXPECT_EQ(check(), -67050);
}

TEST_F(LinuxCodeSigningTest, TrustAnchorNeedNotBeARoot) {
  const SigningAuthority intermediate = authority.issueAuthority();
  intermediate.sign(program);
  signing.emplace(intermediate.pem());
  EXPECT_EQ(check(), 0);
}

TEST_F(LinuxCodeSigningTest, OneSignerIsWanted) {
  EXPECT_EQ(checkSignedAs({.signers = 0}), -67061);
  EXPECT_EQ(checkSignedAs({.signers = 2}), -67061);
}

TEST_F(LinuxCodeSigningTest, SignatureMustBeDetachedAndBringItsCertificate) {
  EXPECT_EQ(checkSignedAs({.isDetached = false}), -67061);
  EXPECT_EQ(checkSignedAs({.hasCertificate = false}), -67061);
}

TEST_F(LinuxCodeSigningTest, MalformedSignatureFilesFail) {
  authority.sign(program);
  const auto size = fs::file_size(signatureFile());
  std::ofstream(signatureFile(), std::ios::app) << "x";
  EXPECT_EQ(check(), -67061) << "a byte too many";
  for (const auto length : {size - 1, size / 2, std::uintmax_t{1}, std::uintmax_t{0}}) {
    fs::resize_file(signatureFile(), length);
    EXPECT_EQ(check(), -67061) << length;
  }
  std::ofstream(signatureFile()) << "-----BEGIN CMS-----";
  EXPECT_EQ(check(), -67061) << "PEM";
}

TEST_F(LinuxCodeSigningTest, SignatureFileMayHaveAMebibyteAndNoMore) {
  EXPECT_EQ(checkSignedAs({.commentSize = (std::size_t{1} << 20) - 2048}), 0);
  EXPECT_EQ(checkSignedAs({.commentSize = std::size_t{1} << 20}), -67061);
}

TEST_F(LinuxCodeSigningTest, SignatureFileThatCannotBeReadIsReportedByErrno) {
  fs::create_directory(signatureFile());
  EXPECT_EQ(check(), 100'000 + EISDIR);
}

TEST_F(LinuxCodeSigningTest, ProgramReplacedWhileItRunsHasChangedOnDisk) {
  authority.sign(program);
  const WaitingProcess process(program);
  const fs::path newer = directory.path() / "newer";
  fs::copy_file("/bin/cat", newer);
  fs::rename(newer, program);
  EXPECT_EQ(checkProcess(process.id()), -67034);
}

TEST_F(LinuxCodeSigningTest, ProgramDeletedWhileItRunsHasChangedOnDisk) {
  authority.sign(program);
  const WaitingProcess process(program);
  fs::remove(program);
  EXPECT_EQ(checkProcess(process.id()), -67034);
}

TEST_F(LinuxCodeSigningTest, FileNamedAsADeletedProgramDoesNotStandForIt) {
  authority.sign(program);
  const WaitingProcess process(program);
  const fs::path named = program.string() + " (deleted)";
  fs::rename(signatureFile(), named.string() + ".p7s");
  fs::copy_file(program, named);
  fs::remove(program);
  EXPECT_EQ(checkProcess(process.id()), -67034);
}

TEST_F(LinuxCodeSigningTest, ProcessThatHasEndedHasNoCode) {
  authority.sign(program);
  WaitingProcess process(program);
  process.end();
  EXPECT_EQ(checkProcess(process.id()), -67065);
}

TEST_F(LinuxCodeSigningTest, ImpossibleProcessHasNoCode) {
  for (const pid_t process : {-1, 0, 1 << 30}) {
    EXPECT_EQ(checkProcess(process), -67065);
  }
}

TEST_F(LinuxCodeSigningTest, ProcessThatEndsAfterTheLookUpIsJudgedByItsProgram) {
  authority.sign(program);
  std::unique_ptr<CodeSigning::Code> code;
  {
    const WaitingProcess process(program);
    ASSERT_EQ(signing->copyGuest(process.id(), code), 0);
  }
  EXPECT_EQ(checkCode(*code, HostRequirement), 0);
}

TEST_F(LinuxCodeSigningTest, ThreadsMayCheckTheSameCodeAtOnce) {
  constexpr int Rounds = 50;
  authority.sign(program);
  const WaitingProcess process(program);
  std::unique_ptr<CodeSigning::Code> code;
  ASSERT_EQ(signing->copyGuest(process.id(), code), 0);
  std::atomic<int> failures = 0;
  const auto checkOften = [&] {
    for (int i = 0; i < Rounds; ++i) {
      failures += checkCode(*code, HostRequirement) == 0 ? 0 : 1;
    }
  };
  std::thread other(checkOften);
  checkOften();
  other.join();
  EXPECT_EQ(failures, 0);
}

TEST_F(LinuxCodeSigningTest, RequirementTextIsParsed) {
  std::unique_ptr<CodeSigning::Requirement> requirement;
  EXPECT_EQ(signing->createRequirement("identifier", requirement), -67052);
  EXPECT_EQ(signing->createRequirement("anchor apple", requirement), -67051);
  EXPECT_EQ(requirement, nullptr);
}

TEST_F(LinuxCodeSigningTest, NothingStaysOpen) {
  authority.sign(program);
  const auto openDescriptors = [] {
    return std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator());
  };
  const auto before = openDescriptors();
  EXPECT_EQ(check(), 0);
  fs::remove(signatureFile());
  EXPECT_EQ(check(), -67062);
  EXPECT_EQ(openDescriptors(), before);
}

TEST_F(LinuxCodeSigningTest, NoErrorsStayInTheQueueOfOpenSsl) {
  ERR_clear_error();
  EXPECT_THROW(LinuxCodeSigning("no certificate"), std::invalid_argument);
  EXPECT_EQ(ERR_peek_error(), 0U);
  EXPECT_EQ(checkSignedAs({.signers = 2}), -67061);
  fs::resize_file(signatureFile(), 100);
  EXPECT_EQ(check(), -67061);
  EXPECT_EQ(ERR_peek_error(), 0U);
}

TEST_F(LinuxCodeSigningTest, StatusesHaveTextsAndOthersHaveNone) {
  for (const OSStatus status :
       {-67065, -67062, -67061, -67059, -67034, -67050, -67051, -67052, -2147409653, -2147409654}) {
    EXPECT_FALSE(signing->errorMessage(status).value_or("").empty()) << status;
  }
  EXPECT_EQ(signing->errorMessage(0), std::nullopt);
  EXPECT_EQ(signing->errorMessage(100'000), std::nullopt);
}

TEST_F(LinuxCodeSigningTest, StatusesOfTheKernelSayWhatItSaid) {
  EXPECT_EQ(signing->errorMessage(100'021),
            "the program or its signature cannot be read: Is a directory");
}

TEST_F(LinuxCodeSigningTest, TrustAnchorUnderAPasswordIsRefusedWithoutAsking) {
  std::array<int, 2> input{};
  ASSERT_EQ(::pipe2(input.data(), O_CLOEXEC), 0);
  ASSERT_EQ(::write(input[1], "password\n", 9), 9);
  const int standardInput = ::dup(STDIN_FILENO);
  ::dup2(input[0], STDIN_FILENO);
  EXPECT_THROW(LinuxCodeSigning(authority.pemUnder("password")), std::invalid_argument);
  int unread = 0;
  EXPECT_EQ(::ioctl(input[0], FIONREAD, &unread), 0);
  EXPECT_EQ(unread, 9);
  ::dup2(standardInput, STDIN_FILENO);
  for (const int descriptor : {input[0], input[1], standardInput}) {
    ::close(descriptor);
  }
}

TEST_F(LinuxCodeSigningTest, TrustAnchorIsExactlyOneCertificate) {
  EXPECT_THROW(LinuxCodeSigning(""), std::invalid_argument);
  EXPECT_THROW(LinuxCodeSigning("no certificate"), std::invalid_argument);
  EXPECT_THROW(LinuxCodeSigning(authority.pem() + authority.pem()), std::invalid_argument);
}

/// The tools that people and the build sign with.
class SigningToolsTest : public LinuxCodeSigningTest {
 protected:
  void SetUp() override {
    LinuxCodeSigningTest::SetUp();
    ASSERT_TRUE(run("make-signing-authority", made.string()));
  }

  /// Whether the tool, its complaints unheard, ends well.
  static bool run(const std::string& tool, const std::string& arguments) {
    const std::string command = KORVAN_TOOLS "/" + tool + " " + arguments + " 2>/dev/null";
    // NOLINTNEXTLINE(concurrency-mt-unsafe): there is no other thread.
    return std::system(command.c_str()) == 0;
  }

  [[nodiscard]] bool sign(const std::string& options = {}) const {
    return run("sign-executable", made.string() + " " + program.string() + " " + options);
  }

  [[nodiscard]] OSStatus checkAgainstMadeAuthority() {
    std::ifstream file(made / "authority.pem");
    signing.emplace(std::string(std::istreambuf_iterator<char>(file), {}));
    return check();
  }

  [[nodiscard]] std::set<fs::path> files() const {
    return {fs::recursive_directory_iterator(directory.path()), fs::recursive_directory_iterator()};
  }

  fs::path made = directory.path() / "authority";
};

TEST_F(SigningToolsTest, SignForTheLabsHostUnlessToldOtherwise) {
  ASSERT_TRUE(sign());
  EXPECT_EQ(checkAgainstMadeAuthority(), 0);
  ASSERT_TRUE(sign("--identifier example.other"));
  EXPECT_EQ(checkAgainstMadeAuthority(), -67050);
  ASSERT_TRUE(sign("--team KRVNLAB002"));
  EXPECT_EQ(checkAgainstMadeAuthority(), -67050);
}

TEST_F(SigningToolsTest, MakeSignaturesThatHaveExpired) {
  ASSERT_TRUE(sign("--expired"));
  EXPECT_EQ(checkAgainstMadeAuthority(), -2147409654);
}

TEST_F(SigningToolsTest, RefuseToSignWhatNeverRunsUnderItsOwnName) {
  const fs::path script = directory.path() / "script";
  std::ofstream(script) << "#!/bin/sh\n";
  const fs::path link = directory.path() / "link";
  fs::create_symlink(program, link);
  for (const fs::path& file : {script, link}) {
    EXPECT_FALSE(run("sign-executable", made.string() + " " + file.string())) << file;
    EXPECT_FALSE(fs::exists(file.string() + ".p7s")) << file;
  }
}

TEST_F(SigningToolsTest, KeepOnlyTheAuthorityAndTheSignature) {
  ASSERT_TRUE(sign());
  EXPECT_EQ(files(), (std::set<fs::path>{program, signatureFile(), made, made / "authority.key",
                                         made / "authority.pem"}));
  EXPECT_EQ(fs::status(made / "authority.key").permissions(),
            fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(SigningToolsTest, FailureLeavesEverythingAsItWas) {
  ASSERT_TRUE(sign());
  const std::set<fs::path> before = files();
  EXPECT_FALSE(run("make-signing-authority", made.string()));
  EXPECT_FALSE(run("make-signing-authority", made.string() + "2 --days never"));
  for (const std::string options :
       {"--team lowercase", "--identifier a/b", "--days 0", "--days 1 --expired", "--what"}) {
    EXPECT_FALSE(sign(options)) << options;
  }
  EXPECT_EQ(files(), before);
  EXPECT_EQ(checkAgainstMadeAuthority(), 0);
  std::ofstream(made / "authority.key") << "no key";
  EXPECT_FALSE(sign());
  EXPECT_EQ(files(), before);
  EXPECT_EQ(checkAgainstMadeAuthority(), 0);
}

}  // namespace
}  // namespace korvan
