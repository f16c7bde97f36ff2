#include "channel/ExchangeProviderMessage.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "channel/ProviderFrame.h"
#include "platform/fake/FakeCodeSigning.h"
#include "platform/fake/FakeLocalSockets.h"
#include "platform/fake/FakePlatform.h"

namespace korvan {
namespace {

using Bytes = FakePeer::Bytes;

Bytes pattern(std::size_t size) {
  Bytes bytes(size);
  for (std::size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<std::uint8_t>(i * 31 + 7);
  }
  return bytes;
}

Error posix(int code, std::string description) {
  return {.domain = ErrorDomain::posix,
          .code = code,
          .userInfo = ErrorUserInfo{std::move(description)}};
}

std::string failed(const std::string& step, int error) {
  return step + " failed: " + std::strerror(error);
}

class ExchangeProviderMessage : public testing::Test {
 protected:
  /// Makes the exchange and checks what holds for every one.
  ProviderExchange exchange() {
    ProviderExchange result = exchangeProviderMessage(sockets, codeSigning, path, request);
    EXPECT_EQ(sockets.openDescriptors(), 0U);
    EXPECT_EQ(codeSigning.liveCodes, 0);
    EXPECT_EQ(codeSigning.liveRequirements, 0);
    return result;
  }

  void expectError(const Error& expected) {
    const ProviderExchange result = exchange();
    ASSERT_FALSE(result.response.has_value());
    EXPECT_EQ(result.response.error(), expected);
    EXPECT_FALSE(result.connectFailed);
  }

  void expectResponse(const Bytes& expected) {
    const ProviderExchange result = exchange();
    ASSERT_TRUE(result.response.has_value());
    EXPECT_TRUE(std::ranges::equal(result.response->bytes(), expected));
    EXPECT_FALSE(result.connectFailed);
  }

  void peerAnswers(Bytes bytes) {
    sockets.peer.answer = [bytes = std::move(bytes)](const Bytes&) { return bytes; };
  }

  FakeLocalSockets::Connection& connection() { return sockets.connections.back(); }

  std::string path = "/groups/korvan/acp.sock";
  Bytes request = pattern(5);
  FakeLocalSockets sockets;
  FakeCodeSigning codeSigning;
};

TEST_F(ExchangeProviderMessage, SendsOneFrameAndReturnsTheBodyOfTheOneThatComesBack) {
  peerAnswers(framed(pattern(300)));
  expectResponse(pattern(300));
  EXPECT_EQ(connection().received, framed(request));
  EXPECT_EQ(connection().path, path);
}

TEST_F(ExchangeProviderMessage, MakesItsCallsInOrderAndClosesLast) {
  peerAnswers(framed(pattern(2)));
  static_cast<void>(exchange());
  EXPECT_EQ(connection().calls,
            (std::vector<std::string>{"socket", "connect", "getpeereid", "getPeerProcessIdentifier",
                                      "send", "send", "recv", "recv", "close"}));
}

TEST_F(ExchangeProviderMessage, EachExchangeIsAConnectionOfItsOwnThatVerifiesThePeer) {
  peerAnswers(framed(pattern(2)));
  static_cast<void>(exchange());
  peerAnswers(framed(pattern(2)));
  static_cast<void>(exchange());
  EXPECT_EQ(sockets.connections.size(), 2U);
  EXPECT_EQ(codeSigning.checks, 2U);
}

// Opening the connection.

TEST_F(ExchangeProviderMessage, DescriptorZeroIsASocketLikeAnyOther) {
  peerAnswers(framed(pattern(1)));
  expectResponse(pattern(1));
  ASSERT_EQ(sockets.connections.size(), 1U);
  EXPECT_EQ(connection().calls.back(), "close");
}

TEST_F(ExchangeProviderMessage, PathOf103BytesConnects) {
  path = std::string(103, 'p');
  peerAnswers(framed(pattern(1)));
  expectResponse(pattern(1));
  EXPECT_EQ(connection().path, path);
}

TEST_F(ExchangeProviderMessage, PathOf104BytesIsTooLongAndIsNotConnectedTo) {
  path = std::string(104, 'p');
  expectError(posix(ENAMETOOLONG, "The Korvan connection path is too long."));
  EXPECT_EQ(connection().calls, (std::vector<std::string>{"socket", "close"}));
}

TEST_F(ExchangeProviderMessage, PathIsMeasuredInBytesNotCharacters) {
  std::string path104;
  while (path104.size() < 104) {
    path104 += "\u00e9";
  }
  path = path104;
  expectError(posix(ENAMETOOLONG, "The Korvan connection path is too long."));
}

TEST_F(ExchangeProviderMessage, ConnectThatReturnsMoreThanZeroHasFailedToo) {
  sockets.peer.connectErrno = ENOENT;
  sockets.peer.connectResult = 1;
  const ProviderExchange result = exchange();
  EXPECT_FALSE(result.response.has_value());
  EXPECT_TRUE(result.connectFailed);
}

// The peer.

TEST_F(ExchangeProviderMessage, PeerOfAnotherUserIsRefusedAndSentNothing) {
  sockets.peer.userIdentifier = 0;
  expectError(
      posix(EACCES, "The Korvan peer process identity is unavailable or belongs to another user."));
  EXPECT_TRUE(connection().received.empty());
}

TEST_F(ExchangeProviderMessage, PeerWhoseCodeCannotBeReadIsSentNothing) {
  codeSigning.copyStatus = -67065;
  codeSigning.givesCode = false;
  codeSigning.message = "no such code";
  expectError(
      {.domain = ErrorDomain::osStatus,
       .code = -67065,
       .userInfo = ErrorUserInfo{"Reading the Korvan peer code signature failed: no such code"}});
  EXPECT_TRUE(connection().received.empty());
}

TEST_F(ExchangeProviderMessage, PeerWithoutAValidSignatureIsSentNothing) {
  codeSigning.checkStatuses = {CodeRequirementFailed};
  codeSigning.message = "code failed to satisfy its requirement";
  expectError({.domain = ErrorDomain::osStatus,
               .code = -67050,
               .userInfo = ErrorUserInfo{"Validating the Korvan peer code signature failed: code "
                                         "failed to satisfy its requirement"}});
  EXPECT_TRUE(connection().received.empty());
}

TEST_F(ExchangeProviderMessage, PeerIsVerifiedBeforeTheFirstByteIsSent) {
  std::size_t sentBeforeCheck = 1;
  codeSigning.onCheck = [&] { sentBeforeCheck = sockets.bytesReceivedByPeers(); };
  peerAnswers(framed(pattern(1)));
  expectResponse(pattern(1));
  EXPECT_EQ(sentBeforeCheck, 0U);
}

TEST_F(ExchangeProviderMessage, CodeObjectsAreReleasedBeforeTheFirstByteIsSent) {
  int liveAtSend = -1;
  sockets.peer.onSend = [&] { liveAtSend = codeSigning.liveCodes + codeSigning.liveRequirements; };
  peerAnswers(framed(pattern(1)));
  expectResponse(pattern(1));
  EXPECT_EQ(liveAtSend, 0);
}

// The request.

TEST_F(ExchangeProviderMessage, RequestOf4194304BytesIsSent) {
  request = pattern(4'194'304);
  peerAnswers(framed(pattern(1)));
  expectResponse(pattern(1));
  EXPECT_EQ(connection().received, framed(request));
}

TEST_F(ExchangeProviderMessage, RequestOfOneByteIsSent) {
  request = pattern(1);
  peerAnswers(framed(pattern(1)));
  expectResponse(pattern(1));
  EXPECT_EQ(connection().received, (Bytes{0, 0, 0, 1, 7}));
}

TEST_F(ExchangeProviderMessage, RequestOfAnInvalidSizeIsRefusedAfterVerificationAndNothingIsSent) {
  for (const std::size_t size : {std::size_t{0}, std::size_t{4'194'305}}) {
    codeSigning.checks = 0;
    request = pattern(size);
    expectError(posix(EMSGSIZE, "The credential-provider message has an invalid size."));
    EXPECT_EQ(codeSigning.checks, 1U);
    EXPECT_TRUE(connection().received.empty());
    EXPECT_EQ(connection().calls, (std::vector<std::string>{"socket", "connect", "getpeereid",
                                                            "getPeerProcessIdentifier", "close"}));
  }
}

TEST_F(ExchangeProviderMessage, UntrustedPeerIsReportedBeforeAnInvalidSize) {
  request.clear();
  codeSigning.checkStatuses = {CodeRequirementFailed};
  EXPECT_EQ(exchange().response.error().domain, ErrorDomain::osStatus);
}

TEST_F(ExchangeProviderMessage, RequestIsSentFromTheCallersBuffer) {
  request = pattern(1000);
  sockets.peer.bytesPerCall = 400;
  peerAnswers(framed(pattern(1)));
  expectResponse(pattern(1));
  ASSERT_EQ(connection().sentFrom.size(), 4U);
  EXPECT_EQ(connection().sentFrom[1], request.data());
  EXPECT_EQ(connection().sentFrom[2], request.data() + 400);
  EXPECT_EQ(connection().sentFrom[3], request.data() + 800);
}

TEST_F(ExchangeProviderMessage, ResponseIsReceivedIntoOneBufferOfItsSize) {
  sockets.peer.bytesPerCall = 400;
  peerAnswers(framed(pattern(1000)));
  const ProviderExchange result = exchange();
  ASSERT_TRUE(result.response.has_value());
  const auto body = result.response->bytes();
  const auto& places = connection().receivedInto;
  ASSERT_EQ(places.size(), 4U);
  for (std::size_t received = 0; received < 1000; received += 400) {
    const auto place = places[1 + received / 400];
    EXPECT_EQ(place.data(), body.data() + received);
    EXPECT_EQ(place.size(), body.size() - received);
  }
}

TEST_F(ExchangeProviderMessage, SendThatReturnsZeroIsAWritingErrorWithTheErrnoThatWasThere) {
  for (std::size_t taken = 0; taken < 4 + request.size(); ++taken) {
    sockets.peer.takes = taken;
    sockets.peer.sendErrno = 0;
    errno = ENOSPC;
    expectError(posix(ENOSPC, failed("Writing to Korvan", ENOSPC)));
  }
}

TEST_F(ExchangeProviderMessage, SendThatReturnsZeroAfterAnInterruptionCarriesTheInterruption) {
  sockets.peer.takes = 0;
  sockets.peer.sendErrno = 0;
  sockets.peer.interruptions = 1;
  expectError(posix(EINTR, failed("Writing to Korvan", EINTR)));
}

TEST_F(ExchangeProviderMessage, SendThatReturnsZeroWithoutAnEarlierFailureCarriesZero) {
  sockets.peer.takes = 0;
  sockets.peer.sendErrno = 0;
  errno = 0;
  expectError(posix(0, failed("Writing to Korvan", 0)));
}

// The response.

TEST_F(ExchangeProviderMessage, ResponseOfOneByteIsAccepted) {
  peerAnswers({0, 0, 0, 1, 0xAB});
  expectResponse({0xAB});
}

TEST_F(ExchangeProviderMessage, ResponseOf4194304BytesIsAccepted) {
  peerAnswers(framed(pattern(4'194'304)));
  expectResponse(pattern(4'194'304));
}

TEST_F(ExchangeProviderMessage, ResponsePrefixOutOfRangeIsRefusedBeforeAnyBodyByteIsRead) {
  for (const Bytes& prefix :
       {Bytes{0, 0, 0, 0}, Bytes{0, 0x40, 0, 1}, Bytes{0xFF, 0xFF, 0xFF, 0xFF},
        Bytes{0x80, 0, 0, 0}, Bytes{0x80, 0, 0, 1}, Bytes{1, 0, 0, 0}}) {
    Bytes answer = prefix;
    answer.push_back(1);
    peerAnswers(answer);
    expectError(
        posix(EMSGSIZE, "Korvan returned a credential-provider message with an invalid size."));
    EXPECT_EQ(connection().given, 4U);
  }
}

TEST_F(ExchangeProviderMessage, Prefix00000100AnnouncesABodyOf256Bytes) {
  Bytes answer{0, 0, 1, 0};
  answer.resize(4 + 256, 9);
  peerAnswers(answer);
  expectResponse(Bytes(256, 9));
}

TEST_F(ExchangeProviderMessage, BytesAfterTheResponseAreNotRead) {
  Bytes answer = framed(pattern(3));
  answer.push_back(0xEE);
  peerAnswers(answer);
  expectResponse(pattern(3));
  EXPECT_EQ(connection().given, answer.size() - 1);
}

// How the bytes arrive.

TEST_F(ExchangeProviderMessage, BytesMayBeSplitInAnyWay) {
  request = pattern(23);
  for (std::size_t bytesPerCall = 1; bytesPerCall <= 30; ++bytesPerCall) {
    sockets.peer.bytesPerCall = bytesPerCall;
    peerAnswers(framed(pattern(29)));
    expectResponse(pattern(29));
    EXPECT_EQ(connection().received, framed(request));
  }
}

TEST_F(ExchangeProviderMessage, SignalAtEveryCallOnlyRepeatsTheCall) {
  for (const std::size_t interruptions : {std::size_t{1}, std::size_t{5}}) {
    sockets.peer.interruptions = interruptions;
    sockets.peer.bytesPerCall = 1;
    peerAnswers(framed(pattern(9)));
    expectResponse(pattern(9));
    EXPECT_EQ(connection().received, framed(request));
  }
}

}  // namespace
}  // namespace korvan
