// The checks of a host's signature, over copies of the sample host that are signed in many ways.

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/processes/Program_testing.h"
#include "lab/processes/Stage.h"
#include "lab/support/TemporaryDirectory.h"
#include "platform/linux/codesigning/SigningAuthority_testing.h"

namespace korvan::lab::check {
namespace {

namespace fs = std::filesystem;
using testing::HasSubstr;
using testing::Pair;
using testing::UnorderedElementsAre;

/// What a run says of the signature, as pairs of check and hint.
using Hints = std::vector<std::pair<std::string, std::string>>;

class SignatureChecks : public testing::Test {
 protected:
  SignatureChecks() {
    fs::copy_file(KORVAN_SAMPLE_HOST, program());
    std::ofstream(anchor()) << authority_.pem();
  }

  [[nodiscard]] fs::path program() const { return stage_.file("host"); }
  [[nodiscard]] fs::path signature() const { return stage_.file("host.p7s"); }
  [[nodiscard]] fs::path anchor() const { return stage_.file("anchor.pem"); }

  void start() { stage_.startHost(program(), {}).nextEvent(); }

  [[nodiscard]] Hints hints(const std::string& result) const {
    const auto run =
        runLab({"check-host", "--container", stage_.container(), "--trust-anchor", anchor(),
                "--only", "socket.*", "--only", "peer.*", "--only", "signature.*", "--json"});
    Hints hints;
    for (const auto& line : jsonLines(run.output)) {
      if (line.value("result", "") == result) {
        hints.emplace_back(line.at("check"), line.at("hint"));
      }
    }
    return hints;
  }

  /// Starts the host, signed like that.
  [[nodiscard]] Hints failuresOf(const SignatureRecipe& recipe) {
    authority_.sign(program(), recipe);
    start();
    return hints("failed");
  }

  SigningAuthority authority_;
  TemporaryDirectory directory_;
  Stage stage_{directory_.path()};
};

TEST_F(SignatureChecks, PassOnASoundSignature) {
  EXPECT_THAT(failuresOf({.validUntil = 30}), testing::IsEmpty());
  EXPECT_THAT(hints("warned"), testing::IsEmpty());
}

TEST_F(SignatureChecks, ShowInTheStatusWhoListensAndHowItIsSigned) {
  authority_.sign(program(), {.validUntil = 30});
  start();
  const auto status =
      runLab({"host-status", "--container", stage_.container(), "--trust-anchor", anchor()});
  EXPECT_EQ(status.status, 0) << status.output << status.errors;
  EXPECT_THAT(status.output,
              testing::AllOf(HasSubstr("executable  " + program().string() + "\n"),
                             HasSubstr("signature   " + signature().string() + "\n"),
                             HasSubstr("team        KRVNLAB001 (wanted: KRVNLAB001)\n"),
                             HasSubstr("✓ signature.accepted\n"), HasSubstr("✓ answer.ok\n"),
                             HasSubstr("\nhost-status: passing · ")));
}

TEST_F(SignatureChecks, ShowInTheStatusThatNobodyListens) {
  fs::create_directory(stage_.container());
  const auto status = runLab({"host-status", "--container", stage_.container()});
  EXPECT_EQ(status.status, 3) << status.output << status.errors;
  EXPECT_THAT(status.output, HasSubstr("listener    nobody listens\n"));
}

TEST_F(SignatureChecks, TellOfAMissingSignature) {
  start();
  EXPECT_THAT(hints("failed"),
              UnorderedElementsAre(
                  Pair("signature.present", HasSubstr("no " + signature().string() + ": sign"))));
}

TEST_F(SignatureChecks, TellOfASignedLink) {
  const fs::path link = stage_.file("link");
  fs::create_symlink(program(), link);
  authority_.sign(link);
  stage_.startHost(link, {}).nextEvent();
  EXPECT_THAT(hints("failed"), UnorderedElementsAre(Pair("signature.present",
                                                         "you signed " + link.string() +
                                                             ", a script or a link; what runs is " +
                                                             program().string())));
}

TEST_F(SignatureChecks, TellThatTheProgramWasLinkedAgain) {
  authority_.sign(program());
  std::ofstream(program(), std::ios::app) << "x";
  start();
  EXPECT_THAT(hints("failed"), UnorderedElementsAre(Pair("signature.bytes",
                                                         HasSubstr("linked again after signing"))));
}

TEST_F(SignatureChecks, TellOfASignatureInPem) {
  std::ofstream(signature()) << "-----BEGIN CMS-----\nAAAA\n-----END CMS-----\n";
  start();
  EXPECT_THAT(hints("failed"),
              UnorderedElementsAre(Pair("signature.bytes", HasSubstr("is PEM, not DER"))));
}

TEST_F(SignatureChecks, TellOfWhatIsNoSignature) {
  std::ofstream(signature()) << "nothing";
  start();
  EXPECT_THAT(hints("failed"), UnorderedElementsAre(Pair("signature.bytes",
                                                         HasSubstr("not a CMS signature in DER"))));
}

TEST_F(SignatureChecks, TellOfASignatureThatHoldsTheProgram) {
  EXPECT_THAT(failuresOf({.isDetached = false}),
              UnorderedElementsAre(Pair("signature.bytes", HasSubstr("is not detached"))));
}

TEST_F(SignatureChecks, TellOfSeveralSigners) {
  EXPECT_THAT(failuresOf({.signers = 2}),
              UnorderedElementsAre(Pair("signature.bytes", HasSubstr("has 2 signers"))));
}

TEST_F(SignatureChecks, TellThatTheProgramWasReplacedWhileRunning) {
  authority_.sign(program());
  start();
  const fs::path copy = stage_.file("copy");
  fs::copy_file(program(), copy);
  fs::rename(copy, program());
  EXPECT_THAT(hints("failed"),
              UnorderedElementsAre(
                  Pair("signature.running", HasSubstr("was replaced while running: start"))));
}

TEST_F(SignatureChecks, TellOfAnotherAnchor) {
  SigningAuthority().sign(program());
  start();
  EXPECT_THAT(hints("failed"), UnorderedElementsAre(Pair("signature.anchor",
                                                         HasSubstr("issued by another authority of "
                                                                   "the name "))));
}

TEST_F(SignatureChecks, TellOfAnotherTeamAndIdentifier) {
  EXPECT_THAT(failuresOf({.organizationalUnit = "OTHER00001", .commonName = "com.example.other"}),
              UnorderedElementsAre(Pair("signature.team",
                                        "the certificate has OU OTHER00001, this build of the "
                                        "extension wants KRVNLAB001"),
                                   Pair("signature.identifier",
                                        "the certificate has CN com.example.other, this "
                                        "build of the extension wants example.korvan.host")));
}

TEST_F(SignatureChecks, TellOfTwoTeams) {
  EXPECT_THAT(failuresOf({.secondOrganizationalUnit = "OTHER00001"}),
              UnorderedElementsAre(Pair("signature.team", HasSubstr("no single OU"))));
}

TEST_F(SignatureChecks, TellOfACertificateThatHasExpired) {
  EXPECT_THAT(failuresOf({.validFrom = -3, .validUntil = -2}),
              UnorderedElementsAre(Pair("signature.validity", HasSubstr("expired at "))));
}

TEST_F(SignatureChecks, TellOfACertificateThatIsNotValidYet) {
  EXPECT_THAT(failuresOf({.validFrom = 2, .validUntil = 30}),
              UnorderedElementsAre(Pair("signature.validity", HasSubstr("not valid before "))));
}

TEST_F(SignatureChecks, WarnOfACertificateThatExpiresWithinAWeek) {
  EXPECT_THAT(failuresOf({.validUntil = 6}), testing::IsEmpty());
  EXPECT_THAT(hints("warned"),
              UnorderedElementsAre(Pair("signature.validity", HasSubstr("expires soon, at "))));
}

TEST_F(SignatureChecks, TellWhatElseTheExtensionRefuses) {
  EXPECT_THAT(failuresOf({.validUntil = 30, .digest = "SHA1"}),
              UnorderedElementsAre(
                  Pair("signature.accepted", HasSubstr("uses a digest that is too weak"))));
}

}  // namespace
}  // namespace korvan::lab::check
