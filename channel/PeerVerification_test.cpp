#include "channel/PeerVerification.h"

#include <cerrno>

#include <gtest/gtest.h>

#include "platform/fake/FakeCodeSigning.h"
#include "platform/fake/FakeLocalSockets.h"

namespace korvan {
namespace {

constexpr OSStatus Unsigned = -67062;
constexpr OSStatus SignatureFailed = -67061;

class PeerVerification : public testing::Test {
 protected:
  PeerVerdict verify() { return verify(AcceptedHostIdentifiers); }

  PeerVerdict verify(std::span<const std::string_view> identifiers) {
    const int descriptor = sockets.socket();
    EXPECT_EQ(sockets.connect(descriptor, "/socket"), 0);
    PeerVerdict verdict = verifyPeer(sockets, codeSigning, descriptor, identifiers);
    sockets.close(descriptor);
    EXPECT_EQ(verdict.matchedIdentifier.has_value(), !verdict.error.has_value());
    EXPECT_EQ(codeSigning.liveCodes, 0);
    EXPECT_EQ(codeSigning.liveRequirements, 0);
    return verdict;
  }

  void expectIdentityRefused() {
    EXPECT_EQ(verify().error,
              (Error{.domain = ErrorDomain::posix,
                     .code = EACCES,
                     .userInfo = ErrorUserInfo{"The Korvan peer process identity is unavailable or "
                                               "belongs to another user."}}));
    EXPECT_TRUE(codeSigning.copiedProcesses.empty());
  }

  static Error statusFailure(OSStatus status, std::string description) {
    return {.domain = ErrorDomain::osStatus,
            .code = status,
            .userInfo = ErrorUserInfo{std::move(description)}};
  }

  FakeLocalSockets sockets;
  FakeCodeSigning codeSigning;
};

TEST_F(PeerVerification, AcceptsExactlyTheHostsOwnIdentifier) {
  ASSERT_EQ(AcceptedHostIdentifiers.size(), 1U);
  EXPECT_EQ(AcceptedHostIdentifiers[0], HostBundleIdentifier);
}

TEST_F(PeerVerification, MatchesAPeerWhoseSignatureIsValid) {
  EXPECT_EQ(verify().matchedIdentifier, HostBundleIdentifier);
  EXPECT_EQ(codeSigning.copiedProcesses, std::vector<std::int32_t>{4242});
  EXPECT_EQ(codeSigning.checks, 1U);
}

TEST_F(PeerVerification, RequirementNamesTheTeamAndTheIdentifier) {
  static_cast<void>(verify());
  EXPECT_EQ(codeSigning.requirementTexts,
            std::vector<std::string>{"anchor apple generic and certificate leaf[subject.OU] = \"" +
                                     std::string(HostTeamIdentifier) + "\" and identifier \"" +
                                     std::string(HostBundleIdentifier) + "\""});
}

TEST_F(PeerVerification, AsksForTheProcessOnlyAfterTheUser) {
  static_cast<void>(verify());
  EXPECT_EQ(sockets.connections[0].calls,
            (std::vector<std::string>{"socket", "connect", "getpeereid", "getPeerProcessIdentifier",
                                      "close"}));
}

TEST_F(PeerVerification, PeerIdentifiersUnavailableIsRefusedWithoutAskingForTheProcess) {
  sockets.peer.peerIdentifiersErrno = ENOTCONN;
  expectIdentityRefused();
  EXPECT_EQ(sockets.connections[0].calls,
            (std::vector<std::string>{"socket", "connect", "getpeereid", "close"}));
}

TEST_F(PeerVerification, PeerProcessUnavailableIsRefused) {
  sockets.peer.peerProcessErrno = EINVAL;
  expectIdentityRefused();
}

TEST_F(PeerVerification, PeerOfAnotherUserIsRefusedEvenWhenItsSignatureWouldValidate) {
  sockets.peer.userIdentifier = sockets.userIdentifier + 1;
  expectIdentityRefused();
}

TEST_F(PeerVerification, PeerOfAnotherUserIsRefusedToRootToo) {
  sockets.userIdentifier = 0;
  expectIdentityRefused();
}

TEST_F(PeerVerification, ProcessIdentifierBelowOneIsRefused) {
  for (const std::int32_t processIdentifier : {0, -1, INT32_MIN}) {
    sockets.peer.processIdentifier = processIdentifier;
    expectIdentityRefused();
  }
}

TEST_F(PeerVerification, ProcessIdentifierOneIsLookedAt) {
  sockets.peer.processIdentifier = 1;
  EXPECT_TRUE(verify().matchedIdentifier);
}

TEST_F(PeerVerification, CodeThatCannotBeReadIsReportedWithItsStatus) {
  codeSigning.copyStatus = Unsigned;
  codeSigning.givesCode = false;
  codeSigning.message = "code object is not signed at all";
  EXPECT_EQ(verify().error,
            statusFailure(Unsigned,
                          "Reading the Korvan peer code signature failed: code object is not "
                          "signed at all"));
  EXPECT_TRUE(codeSigning.requirementTexts.empty());
}

TEST_F(PeerVerification, FailingStatusCountsEvenWithACodeObject) {
  codeSigning.copyStatus = Unsigned;
  EXPECT_EQ(verify().error->code, Unsigned);
  EXPECT_EQ(codeSigning.checks, 0U);
}

TEST_F(PeerVerification, StatusAboveZeroIsAFailureToo) {
  // The system reports an errno value as 100000 more: here, that there is no such process.
  constexpr OSStatus NoSuchProcess = 100'003;
  codeSigning.copyStatus = NoSuchProcess;
  EXPECT_EQ(verify().error->code, NoSuchProcess);
  codeSigning.copyStatus = 0;
  codeSigning.createStatus = NoSuchProcess;
  EXPECT_EQ(verify().error->code, NoSuchProcess);
  codeSigning.createStatus = 0;
  EXPECT_EQ(codeSigning.checks, 0U);
  codeSigning.checkStatuses = {NoSuchProcess};
  EXPECT_EQ(verify().error->code, NoSuchProcess);
}

TEST_F(PeerVerification, MissingCodeObjectIsReportedWithStatusZero) {
  codeSigning.givesCode = false;
  codeSigning.message = std::nullopt;
  EXPECT_EQ(verify().error,
            statusFailure(0, "Reading the Korvan peer code signature failed: OSStatus 0"));
}

TEST_F(PeerVerification, InvalidSignatureIsReportedWithTheChecksStatus) {
  codeSigning.checkStatuses = {SignatureFailed};
  codeSigning.message = "invalid signature";
  EXPECT_EQ(verify().error,
            statusFailure(SignatureFailed,
                          "Validating the Korvan peer code signature failed: invalid signature"));
  EXPECT_EQ(codeSigning.messagesAskedFor, std::vector<OSStatus>{SignatureFailed});
}

TEST_F(PeerVerification, StatusWithoutATextIsNamedByItsNumber) {
  codeSigning.checkStatuses = {CodeRequirementFailed};
  codeSigning.message = std::nullopt;
  EXPECT_EQ(
      verify().error,
      statusFailure(-67050, "Validating the Korvan peer code signature failed: OSStatus -67050"));
}

TEST_F(PeerVerification, RequirementThatCannotBeMadeIsReportedWithItsStatus) {
  codeSigning.createStatus = -67052;
  codeSigning.givesRequirement = false;
  EXPECT_EQ(verify().error->code, -67052);
  EXPECT_EQ(codeSigning.checks, 0U);
}

TEST_F(PeerVerification, FailingRequirementStatusCountsEvenWithARequirement) {
  codeSigning.createStatus = -67052;
  EXPECT_EQ(verify().error->code, -67052);
  EXPECT_EQ(codeSigning.checks, 0U);
}

TEST_F(PeerVerification, MissingRequirementIsReportedWithStatusZero) {
  codeSigning.givesRequirement = false;
  EXPECT_EQ(verify().error,
            statusFailure(0,
                          "Validating the Korvan peer code signature failed: the signature is not "
                          "good"));
  EXPECT_EQ(codeSigning.checks, 0U);
}

TEST_F(PeerVerification, IdentifiersAreTriedInOrderUntilOneMatches) {
  codeSigning.checkStatuses = {CodeRequirementFailed, 0};
  constexpr std::array<std::string_view, 3> identifiers{"first", "second", "third"};
  EXPECT_EQ(verify(identifiers).matchedIdentifier, "second");
  ASSERT_EQ(codeSigning.requirementTexts.size(), 2U);
  EXPECT_TRUE(codeSigning.requirementTexts[0].ends_with("identifier \"first\""));
  EXPECT_TRUE(codeSigning.requirementTexts[1].ends_with("identifier \"second\""));
}

TEST_F(PeerVerification, LastIdentifiersStatusIsReported) {
  codeSigning.checkStatuses = {SignatureFailed, CodeRequirementFailed};
  constexpr std::array<std::string_view, 2> identifiers{"first", "second"};
  EXPECT_EQ(verify(identifiers).error->code, CodeRequirementFailed);
}

TEST_F(PeerVerification, EachRequirementIsReleasedBeforeTheNext) {
  codeSigning.checkStatuses = {CodeRequirementFailed, CodeRequirementFailed};
  constexpr std::array<std::string_view, 2> identifiers{"first", "second"};
  static_cast<void>(verify(identifiers));
  EXPECT_EQ(codeSigning.mostLiveRequirements, 1);
}

TEST_F(PeerVerification, WithoutAnyAcceptedIdentifierTheRequirementCountsAsFailed) {
  EXPECT_EQ(verify({}).error->code, -67050);
  EXPECT_EQ(codeSigning.checks, 0U);
}

TEST_F(PeerVerification, SendsAndReceivesNothing) {
  static_cast<void>(verify());
  EXPECT_EQ(sockets.bytesReceivedByPeers(), 0U);
}

}  // namespace
}  // namespace korvan
