#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "channel/ExchangeProviderMessage.h"
#include "channel/ProviderFrame.h"
#include "fuzz/Fuzzing.h"
#include "platform/fake/FakeCodeSigning.h"
#include "platform/fake/FakeLocalSockets.h"

// A host that does anything at all: an exchange ends with its whole answer or one error, and leaves
// nothing behind.
//
// The input is one byte each for the step that fails before the transfer, the `errno` of failures,
// the request's size, and whether the answer is filled up to the largest; then the number of steps
// of the transfer, so many of them, and the answer.

using namespace korvan;
using fuzz::require;

namespace {

using Bytes = std::span<const std::uint8_t>;

/// Takes bytes off the front of the input; zeros when it has no more.
std::uint8_t take(Bytes& input) {
  if (input.empty()) {
    return 0;
  }
  const std::uint8_t byte = input.front();
  input = input.subspan(1);
  return byte;
}

Bytes take(Bytes& input, std::size_t count) {
  const Bytes front = input.first(std::min(count, input.size()));
  input = input.subspan(front.size());
  return front;
}

/// The system, and the words that say how an exchange on it began to fail.
struct Scene {
  FakeLocalSockets sockets;
  FakeCodeSigning codeSigning;
  std::string path = "/tmp/acp.sock";
};

struct Fault {
  void (*apply)(Scene& scene, int error);
  std::string_view words;
};

constexpr std::string_view NoIdentity =
    "The Korvan peer process identity is unavailable or belongs to another user.";
constexpr std::string_view NoCode = "Reading the Korvan peer code signature failed: ";
constexpr std::string_view BadCode = "Validating the Korvan peer code signature failed: ";
constexpr std::string_view CannotConnect = "Connecting to Korvan failed: ";
constexpr std::string_view CannotRead = "Reading from Korvan failed: ";

/// The first stands for none.
constexpr std::array<Fault, 14> Faults{{
    {.apply = [](Scene& /*scene*/, int /*error*/) {}, .words = ""},
    {.apply = [](Scene& scene, int error) { scene.sockets.peer.socketErrno = error; },
     .words = "Opening the Korvan connection failed: "},
    {.apply = [](Scene& scene,
                 int /*error*/) { scene.path.resize(LocalSockets::MaxPathSize + 1, 'x'); },
     .words = "The Korvan connection path is too long."},
    {.apply = [](Scene& scene, int error) { scene.sockets.peer.connectErrno = error; },
     .words = CannotConnect},
    {.apply = [](Scene& scene, int error) { scene.sockets.peer.peerIdentifiersErrno = error; },
     .words = NoIdentity},
    {.apply = [](Scene& scene, int error) { scene.sockets.peer.peerProcessErrno = error; },
     .words = NoIdentity},
    {.apply = [](Scene& scene, int error) { scene.sockets.peer.userIdentifier += error; },
     .words = NoIdentity},
    {.apply = [](Scene& scene, int /*error*/) { scene.sockets.peer.processIdentifier = 0; },
     .words = NoIdentity},
    {.apply = [](Scene& scene, int error) { scene.sockets.peer.processIdentifier = -error; },
     .words = NoIdentity},
    {.apply = [](Scene& scene, int error) { scene.codeSigning.copyStatus = -error; },
     .words = NoCode},
    {.apply = [](Scene& scene, int /*error*/) { scene.codeSigning.givesCode = false; },
     .words = NoCode},
    {.apply = [](Scene& scene, int error) { scene.codeSigning.createStatus = -error; },
     .words = BadCode},
    {.apply = [](Scene& scene, int /*error*/) { scene.codeSigning.givesRequirement = false; },
     .words = BadCode},
    {.apply = [](Scene& scene, int error) { scene.codeSigning.checkStatuses = {-error}; },
     .words = BadCode},
}};

constexpr std::array<std::string_view, 5> TransferErrors{
    "The credential-provider message has an invalid size.",
    "Writing to Korvan failed: ",
    CannotRead,
    "Korvan closed the credential-provider connection.",
    "Korvan returned a credential-provider message with an invalid size.",
};

/// What the next send or recv does, as the input's next byte says.
void prepareTransfer(FakeLocalSockets::Connection& connection, Bytes& steps, int error) {
  constexpr std::uint8_t Closes = 0;
  constexpr std::uint8_t IsInterrupted = 1;
  constexpr std::uint8_t Fails = 2;
  FakePeer& peer = connection.peer;
  const bool isScripted = !steps.empty();
  const std::uint8_t step = take(steps);
  connection.interruptionsLeft = isScripted && step == IsInterrupted ? 1 : 0;
  peer.sendErrno = peer.recvErrno = isScripted && step == Fails ? error : 0;
  const bool isCutShort = isScripted && (step == Closes || step == Fails);
  peer.bytesPerCall = isCutShort ? 0 : isScripted ? step : FakePeer::Unlimited;
}

Bytes requestOfSize(std::uint8_t choice) {
  static const std::vector<std::uint8_t> longest(MaxProviderMessageSize + 1, 'r');
  constexpr std::uint8_t TooLong = 254;
  constexpr std::uint8_t Longest = 255;
  const std::size_t size = choice == TooLong   ? MaxProviderMessageSize + 1
                           : choice == Longest ? MaxProviderMessageSize
                                               : choice;
  return Bytes(longest).first(size);
}

void requireError(const Error& error, const Fault& fault) {
  const std::string words = error.localizedDescription().value_or("");
  const auto begins = [&](std::string_view known) { return words.starts_with(known); };
  require(fault.words.empty() ? std::ranges::any_of(TransferErrors, begins) : begins(fault.words),
          "an error names the first step that failed");
  require(!words.starts_with(CannotRead) || error.code != EINTR, "a signal does not end a read");
  const bool isOfSecurity = fault.words == NoCode || fault.words == BadCode;
  require(error.domain == (isOfSecurity ? ErrorDomain::osStatus : ErrorDomain::posix),
          "an error is of its step's domain");
}

void requireWholeAnswer(const Data& response, Bytes answer, Bytes request,
                        const FakePeer::Bytes& received) {
  require(isValidProviderMessageSize(response.size()), "a response has a valid size");
  const auto prefix = encodeProviderFramePrefix(response.size());
  require(answer.size() >= prefix.size() + response.size() &&
              std::ranges::equal(answer.first(prefix.size()), prefix) &&
              std::ranges::equal(answer.subspan(prefix.size(), response.size()), response.bytes()),
          "a response is what the peer framed");
  require(received.size() == prefix.size() + request.size(), "the whole request was sent");
}

/// The peer has got the beginning of the request's frame, and nothing if it is not to be trusted.
void requireHonestRequest(const FakePeer::Bytes& received, Bytes request, const Fault& fault) {
  require(received.empty() || (fault.words.empty() && isValidProviderMessageSize(request.size())),
          "nothing is sent to a peer that is not trusted, and no request of an invalid size");
  const auto prefix = encodeProviderFramePrefix(request.size());
  const Bytes sentPrefix = Bytes(received).first(std::min(received.size(), prefix.size()));
  const Bytes sentBody = Bytes(received).subspan(sentPrefix.size());
  require(std::ranges::equal(sentPrefix, Bytes(prefix).first(sentPrefix.size())) &&
              sentBody.size() <= request.size() &&
              std::ranges::equal(sentBody, request.first(sentBody.size())),
          "the peer gets the frame from its beginning");
}

void requireNothingLeft(const Scene& scene) {
  require(scene.sockets.connections.size() == 1, "there is one connection");
  const auto& connection = scene.sockets.connections.front();
  const bool wasOpened = connection.peer.socketErrno == 0;
  require(std::ranges::count(connection.calls, "close") == (wasOpened ? 1 : 0),
          "the socket is closed once");
  require(scene.codeSigning.liveCodes == 0 && scene.codeSigning.liveRequirements == 0,
          "nothing of the verification is left");
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* first, std::size_t size) {
  Bytes input(first, size);
  Scene scene;
  const Fault& fault = Faults[take(input) % Faults.size()];
  const int error = std::max<int>(1, take(input));
  const Bytes request = requestOfSize(take(input));
  const bool isFilledUp = take(input) == UINT8_MAX;
  Bytes steps = take(input, take(input));
  FakePeer::Bytes answer(input.begin(), input.end());
  if (isFilledUp) {
    answer.resize(sizeof(ProviderFramePrefix) + MaxProviderMessageSize);
  }
  fault.apply(scene, error);
  const auto prepare = [&] { prepareTransfer(scene.sockets.connections.front(), steps, error); };
  scene.sockets.peer.onSend = prepare;
  scene.sockets.peer.onRecv = prepare;
  scene.sockets.peer.answer = [&](const FakePeer::Bytes& /*frame*/) { return answer; };

  errno = 0;
  const auto exchange =
      exchangeProviderMessage(scene.sockets, scene.codeSigning, scene.path, request);

  requireNothingLeft(scene);
  require(exchange.connectFailed == (fault.words == CannotConnect),
          "only a failed connect says that the host does not listen");
  const auto& received = scene.sockets.connections.front().received;
  requireHonestRequest(received, request, fault);
  if (exchange.response) {
    require(fault.words.empty(), "an exchange does not go on after a step that failed");
    requireWholeAnswer(*exchange.response, answer, request, received);
  } else {
    requireError(exchange.response.error(), fault);
  }
  return 0;
}
