#include <cerrno>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "channel/ExchangeProviderMessage.h"
#include "channel/RequestDispatcher.h"
#include "platform/fake/FakeCodeSigning.h"
#include "platform/fake/FakeLocalSockets.h"
#include "platform/fake/FakePlatform.h"

namespace korvan {
namespace {

// What each system call can fail with, from its Linux manual page (section 2) and from unix(7).
// EINTR of send and recv is missing, since it is not a failure: the call is repeated.

const std::vector<int> SocketErrors{EACCES,  EAFNOSUPPORT, EINVAL,          EMFILE,         ENFILE,
                                    ENOBUFS, ENOMEM,       EPROTONOSUPPORT, ESOCKTNOSUPPORT};
const std::vector<int> ConnectErrors{
    EACCES, EPERM,        EADDRINUSE, EADDRNOTAVAIL, EAFNOSUPPORT, EAGAIN,  EALREADY,
    EBADF,  ECONNREFUSED, EFAULT,     EINPROGRESS,   EINTR,        EISCONN, ENETUNREACH,
    ENOENT, ENOTSOCK,     EPROTOTYPE, ETIMEDOUT,     EINVAL,       ENOMEM};
const std::vector<int> GetsockoptErrors{EBADF, EFAULT, EINVAL, ENOPROTOOPT, ENOTSOCK};
const std::vector<int> SendErrors{EACCES,       EAGAIN, EALREADY, EBADF,       ECONNRESET,
                                  EDESTADDRREQ, EFAULT, EINVAL,   EISCONN,     EMSGSIZE,
                                  ENOBUFS,      ENOMEM, ENOTCONN, ENOTSOCK,    EOPNOTSUPP,
                                  EPIPE,        EPERM,  ESRCH,    ETOOMANYREFS};
const std::vector<int> RecvErrors{EAGAIN, EBADF,  ECONNREFUSED, ECONNRESET, EFAULT,
                                  EINVAL, ENOMEM, ENOTCONN,     ENOTSOCK};
const std::vector<int> CloseErrors{EBADF, EINTR, EIO, ENOSPC, EDQUOT};

constexpr std::size_t FrameSize = 9;

FakePeer::Bytes body() { return FakePeer::Bytes(FrameSize - 4, 7); }

FakePeer healthyPeer() {
  FakePeer peer;
  peer.bytesPerCall = 1;
  peer.answer = [](const FakePeer::Bytes&) { return framed(body()); };
  return peer;
}

/// A peer at which one system call fails, and the outcome to expect.
struct Fault {
  FakePeer peer = healthyPeer();
  Error error;
  bool connectFailed = false;
  /// Every call on the socket, in order.
  std::vector<std::string> calls = {};
};

Error posixError(int code, std::string description) {
  return {.domain = ErrorDomain::posix,
          .code = code,
          .userInfo = ErrorUserInfo{std::move(description)}};
}

Error failedCall(const std::string& step, int code) {
  return posixError(code, step + " failed: " + std::strerror(code));
}

std::vector<std::string> callsEndingWith(std::vector<std::string> calls, const std::string& last,
                                         std::size_t times) {
  calls.insert(calls.end(), times, last);
  calls.emplace_back("close");
  return calls;
}

void addTransferFaults(std::vector<Fault>& faults) {
  std::vector<std::string> verified{"socket", "connect", "getpeereid", "getPeerProcessIdentifier"};
  std::vector<std::string> sent = verified;
  sent.insert(sent.end(), FrameSize, "send");
  for (std::size_t moved = 0; moved < FrameSize; ++moved) {
    for (const int error : SendErrors) {
      Fault fault{.error = failedCall("Writing to Korvan", error),
                  .calls = callsEndingWith(verified, "send", moved + 1)};
      fault.peer.takes = moved;
      fault.peer.sendErrno = error;
      faults.push_back(fault);
    }
    for (const int error : RecvErrors) {
      Fault fault{.error = failedCall("Reading from Korvan", error),
                  .calls = callsEndingWith(sent, "recv", moved + 1)};
      fault.peer.gives = moved;
      fault.peer.recvErrno = error;
      faults.push_back(fault);
    }
    Fault closed{
        .error = posixError(ECONNRESET, "Korvan closed the credential-provider connection."),
        .calls = callsEndingWith(sent, "recv", moved + 1)};
    closed.peer.gives = moved;
    faults.push_back(closed);
  }
}

std::vector<Fault> allFaults() {
  std::vector<Fault> faults;
  const auto add = [&](int FakePeer::* call, int error, Fault fault) {
    fault.peer.*call = error;
    faults.push_back(std::move(fault));
  };
  for (const int error : SocketErrors) {
    add(&FakePeer::socketErrno, error,
        {.error = failedCall("Opening the Korvan connection", error), .calls = {"socket"}});
  }
  for (const int error : ConnectErrors) {
    add(&FakePeer::connectErrno, error,
        {.error = failedCall("Connecting to Korvan", error),
         .connectFailed = true,
         .calls = {"socket", "connect", "close"}});
  }
  const Error unknownPeer = posixError(
      EACCES, "The Korvan peer process identity is unavailable or belongs to another user.");
  for (const int error : GetsockoptErrors) {
    add(&FakePeer::peerIdentifiersErrno, error,
        {.error = unknownPeer, .calls = {"socket", "connect", "getpeereid", "close"}});
    add(&FakePeer::peerProcessErrno, error,
        {.error = unknownPeer,
         .calls = {"socket", "connect", "getpeereid", "getPeerProcessIdentifier", "close"}});
  }
  addTransferFaults(faults);
  return faults;
}

class ExchangeFaults : public testing::Test {
 protected:
  ProviderExchange exchange() {
    return exchangeProviderMessage(sockets, codeSigning, "/acp.sock", body());
  }

  void expectHealthyExchange() {
    sockets.nextPeers = {healthyPeer()};
    const ProviderExchange result = exchange();
    ASSERT_TRUE(result.response);
    EXPECT_EQ(result.response->size(), body().size());
    EXPECT_FALSE(result.connectFailed);
  }

  /// The calls include the closing; the fake aborts when a descriptor is closed twice.
  void expectFault(const Fault& fault) {
    SCOPED_TRACE(*fault.error.localizedDescription() + " after " +
                 std::to_string(fault.calls.size()) + " calls");
    sockets.nextPeers = {fault.peer};
    const ProviderExchange result = exchange();
    ASSERT_FALSE(result.response);
    EXPECT_EQ(result.response.error(), fault.error);
    EXPECT_EQ(result.connectFailed, fault.connectFailed);
    EXPECT_EQ(sockets.connections.back().calls, fault.calls);
    EXPECT_EQ(sockets.openDescriptors(), 0U);
    EXPECT_EQ(codeSigning.liveCodes + codeSigning.liveRequirements, 0);
  }

  FakeLocalSockets sockets;
  FakeCodeSigning codeSigning;
};

TEST_F(ExchangeFaults, EverySystemCallsFailureAtAnyByteIsReportedOnceAndClosesTheSocketOnce) {
  for (const Fault& fault : allFaults()) {
    expectFault(fault);
  }
}

TEST_F(ExchangeFaults, FailureOfOneExchangeLeavesNoTraceInTheNext) {
  for (const Fault& fault : allFaults()) {
    expectHealthyExchange();
    expectFault(fault);
  }
  expectHealthyExchange();
}

TEST_F(ExchangeFaults, CloseIsNotRepeatedWhenItFailsAndChangesNoOutcome) {
  const std::vector<Fault> faults = allFaults();
  for (const int error : CloseErrors) {
    sockets.nextPeers = {healthyPeer()};
    sockets.nextPeers[0].closeErrno = error;
    EXPECT_TRUE(exchange().response);
    EXPECT_EQ(sockets.openDescriptors(), 0U);
    for (Fault fault : faults) {
      fault.peer.closeErrno = error;
      expectFault(fault);
    }
  }
}

TEST_F(ExchangeFaults, EveryFailureIsOneResponseWithItsWords) {
  const auto platform = std::make_shared<FakePlatform>();
  const auto controller = std::make_shared<int>();
  for (const Fault& fault : allFaults()) {
    platform->localSockets.nextPeers = {fault.peer};
    std::vector<ProviderMessage> responses;
    dispatchProviderRequest(
        platform->services(), controller, {{"type", "assertion"}},
        [&](const ProviderMessage& response) { responses.push_back(response); });
    platform->queues.runAll();
    EXPECT_EQ(responses,
              (std::vector{failureResponse("unavailable", *fault.error.localizedDescription())}));
    EXPECT_EQ(platform->localSockets.openDescriptors(), 0U);
  }
}

}  // namespace
}  // namespace korvan
