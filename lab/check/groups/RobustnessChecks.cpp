#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include "channel/ProviderFrame.h"
#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Requests.h"
#include "lab/check/groups/RobustnessSteps.h"

namespace korvan::lab::check {
namespace {

using namespace std::chrono_literals;
namespace key = provider_message_key;

/// Whether two answers to the same request mean the same.
bool agree(const ProviderMessage& left, const ProviderMessage& right) {
  return booleanForKey(left, key::ok) == booleanForKey(right, key::ok) &&
         stringForKey(left, key::errorCode) == stringForKey(right, key::errorCode);
}

/// The answer to a request sent in an unusual way, which must be like that to the same request sent
/// as usual.
void requireAnswerAsUsual(CheckContext& context, Connection& connection,
                          const ProviderMessage& usual, const std::string& sent,
                          const std::string& hint) {
  Findings findings = {
      .sent = sent, .wanted = "the usual answer: " + context.described(usual), .hint = hint};
  try {
    const ProviderMessage answer = context.answerOn(connection, plainRequest(context));
    if (agree(answer, usual)) {
      return;
    }
    findings.got = context.described(answer);
  } catch (const CheckEnd& end) {
    if (end.result().outcome == Outcome::skipped) {
      throw;
    }
    findings.got = end.result().findings.got;
  }
  throw CheckEnd(failed(findings));
}

/// Sends a frame so that the host gets to see its parts. A host that waits for more before it takes
/// anything sees the whole.
void sendInParts(CheckContext& context, Connection& connection, const RequestBytes& frame,
                 std::size_t partSize) {
  // The size, and the start of the body.
  constexpr std::size_t Watched = 8;
  bool takesParts = true;
  const auto isTaken = [&] {
    int left = 0;
    return ::ioctl(connection.descriptor(), SIOCOUTQ, &left) != 0 || left == 0;
  };
  for (std::size_t sent = 0; sent < frame.size();) {
    const std::size_t rest = frame.size() - sent;
    const std::size_t size = sent < Watched || partSize == 1 ? std::min(partSize, rest) : rest;
    std::ignore = connection.send(std::span(frame).subspan(sent, size));
    sent += size;
    takesParts = takesParts && sent <= Watched &&
                 context.waits().until(isTaken, "the host to read a part of the request", 1s);
  }
}

Result requestPieces(CheckContext& context) {
  const ProviderMessage usual = context.exchange(plainRequest(context));
  const RequestBytes frame = frameOf(context.encoded(plainRequest(context)));
  for (const auto& [partSize, sent] :
       {std::pair(std::size_t{1}, "a request byte by byte"),
        std::pair(std::size_t{2}, "a request cut within its size")}) {
    context.waits().restart();
    Connection connection = context.connect();
    sendInParts(context, connection, frame, partSize);
    requireAnswerAsUsual(context, connection, usual, sent,
                         "recv() may give less than was asked for: call it until all bytes of the "
                         "size, and then of the body, have come");
  }
  return passed();
}

Result requestOpen(CheckContext& context) {
  // The request of the record was sent like that.
  const SynchronizeRecord& record = context.synchronizeRecord();
  if (!record.answer.empty()) {
    return passed();
  }
  context.waits().restart();
  Connection connection = context.connect();
  std::ignore = connection.sendFrame(context.encoded(plainRequest(context)).bytes());
  connection.halfClose();
  if (connection.readSome(1).ending != Ending::complete) {
    return blockedBy("frame.answer");
  }
  return failed({.sent = context.described(plainRequest(context)),
                 .got = "an answer only after the end of the stream",
                 .wanted = "an answer while the sending half is open",
                 .hint = "waits for the end of the stream; the size says where the request ends"});
}

Result requestUnknownType(CheckContext& context) {
  const ProviderMessage answer = context.exchange(unknownRequest());
  const std::string code = stringForKey(answer, key::errorCode).value_or("");
  // A code that the page does not have counts as "failed"; see refusal.code.
  constexpr std::array Others{provider_error_code::unavailable,
                              provider_error_code::vaultLocked,
                              provider_error_code::userInteractionRequired,
                              provider_error_code::userCanceled,
                              provider_error_code::credentialNotFound,
                              provider_error_code::matchedExcludedCredential};
  const bool ok = booleanForKey(answer, key::ok);
  if (!ok && std::ranges::find(Others, code) == Others.end()) {
    return passed();
  }
  if (!ok && code == provider_error_code::vaultLocked) {
    return warned({.sent = context.described(unknownRequest()),
                   .got = context.described(answer),
                   .wanted = "ok false, errorCode failed",
                   .hint = "refused as vaultLocked: unlock the vault, and check again"});
  }
  return failed({.sent = context.described(unknownRequest()),
                 .got = context.described(answer),
                 .wanted = "ok false, errorCode failed",
                 .hint = ok ? "an unknown type is answered with ok"
                            : "an unknown type is refused as " + code + "; refuse it as failed"});
}

Result requestUnknownKey(CheckContext& context) {
  const ProviderMessage usual = context.exchange(plainRequest(context));
  ProviderMessage request = plainRequest(context);
  request["checkHostUnknown"] = "ignore this";
  Connection connection = context.connect();
  std::ignore = connection.sendFrame(context.encoded(request).bytes());
  requireAnswerAsUsual(context, connection, usual, context.described(request),
                       "the key checkHostUnknown changes the answer; ignore unknown keys");
  return passed();
}

struct Damage {
  std::string name;
  RequestBytes bytes;
};

/// The body of an empty array, which differs from that of an empty dictionary in one byte.
Data emptyArray(const CheckContext& context) {
  const Data dictionary = context.encoded({});
  RequestBytes bytes(dictionary.bytes().begin(), dictionary.bytes().end());
  constexpr std::uint8_t EmptyArray = 0xa0;
  bytes.at(std::string_view("bplist00").size()) = EmptyArray;
  return bytes;
}

std::vector<Damage> damagedRequests(const CheckContext& context) {
  const Data body = context.encoded(plainRequest(context));
  const std::string_view garbage = "this is not a property list";
  return {{.name = "the size 0", .bytes = {0, 0, 0, 0}},
          {.name = "the size 4194305", .bytes = {0, 0x40, 0, 1}},
          {.name = "the size 4294967295", .bytes = {0xff, 0xff, 0xff, 0xff}},
          {.name = "a body that is not a property list",
           .bytes = frameOf(RequestBytes(garbage.begin(), garbage.end()))},
          {.name = "half a property list", .bytes = frameOf(body.slice(0, body.size() / 2))},
          {.name = "an array", .bytes = frameOf(emptyArray(context))},
          {.name = "a request without type",
           .bytes = frameOf(context.encoded({{"allowsUserInteraction", false}}))}};
}

bool isClosed(const Connection& connection) {
  std::uint8_t byte = 0;
  return ::recv(connection.descriptor(), &byte, sizeof byte, MSG_PEEK | MSG_DONTWAIT) <= 0;
}

void requireRefusedOrClosed(CheckContext& context, const Damage& damage) {
  Connection connection = context.connect();
  std::ignore = connection.send(damage.bytes);
  Findings findings = {.sent = damage.name, .wanted = "ok false, or a closed connection"};
  if (!connection.waitForBytes()) {
    findings.got = "nothing";
    findings.hint = damage.name + " is neither refused nor is the connection closed";
    throw CheckEnd(failed(findings));
  }
  if (isClosed(connection)) {
    return;
  }
  const ProviderMessage answer = context.answerOn(connection, {});
  if (booleanForKey(answer, key::ok)) {
    findings.got = context.described(answer);
    findings.hint = damage.name + " is answered with ok";
    throw CheckEnd(failed(findings));
  }
}

Result requestDamaged(CheckContext& context) {
  const auto start = Waits::Clock::now();
  for (const Damage& damage : damagedRequests(context)) {
    startStep(context, start);
    requireRefusedOrClosed(context, damage);
    requireNextAnswer(context, damage.name);
  }
  return passed();
}

Data largestRequest(const CheckContext& context) {
  constexpr std::size_t FillerSize = MaxProviderMessageSize - 256;
  const Data almost = filledRequest(context, FillerSize);
  return filledRequest(context, FillerSize + MaxProviderMessageSize - almost.size());
}

Result requestLarge(CheckContext& context) {
  const ProviderMessage usual = context.exchange(plainRequest(context));
  const RequestBytes frame = frameOf(largestRequest(context));
  Connection connection = context.connect();
  std::size_t sent = 0;
  constexpr std::size_t PartSize = 65536;
  while (sent < frame.size()) {
    const std::size_t size = std::min(PartSize, frame.size() - sent);
    if (!connection.send(std::span(frame).subspan(sent, size))) {
      break;
    }
    sent += size;
  }
  const std::string howFar =
      std::to_string(sent) + " of " + std::to_string(frame.size()) + " bytes";
  requireAnswerAsUsual(context, connection, usual, "a request with a body of 4194304 bytes",
                       "the host took about " + howFar + "; a body may have 4194304");
  return passed();
}

/// Ends the check unless a passkey is made for a user of that name and handle, and its assertion
/// gives the handle.
void requireUserKept(CheckContext& context, std::string_view name, const Data& handle,
                     const std::string& hintOnRefusal) {
  const ProviderMessage request =
      registrationRequest(OtherRelyingParty, name, handle, context.settings().attended);
  context.tellPerson("Now: agree in your host to a passkey for " + std::string(OtherRelyingParty) +
                     ".");
  const ProviderMessage registered = context.exchange(request);
  context.passkeys().remember(request, registered);
  const auto credentialID = dataForKey(registered, key::credentialID);
  Findings findings = {.sent = context.described(request),
                       .got = context.described(registered),
                       .wanted = "a passkey",
                       .hint = hintOnRefusal};
  if (!booleanForKey(registered, key::ok) || !credentialID) {
    throw CheckEnd(failed(findings));
  }
  const ProviderMessage answer = silentAssertion(context, OtherRelyingParty, *credentialID);
  if (dataForKey(answer, key::credentialID) != credentialID) {
    throw CheckEnd(skipped("another passkey has signed; see assertion.credential"));
  }
  const auto came = dataForKey(answer, key::userHandle);
  if (came != handle) {
    findings.got = context.described(answer);
    findings.wanted = "the user handle, " + check::described(handle.bytes());
    findings.hint = "the user handle came back as " +
                    (came ? check::described(came->bytes()) : std::string("nothing"));
    throw CheckEnd(failed(findings));
  }
}

Result requestTexts(CheckContext& context) {
  const CheckPasskey& plain = context.passkeys().first();
  if (dataForKey(silentAssertion(context, plain.relyingParty, plain.credentialID),
                 key::userHandle) != plain.userHandle) {
    return skipped("an assertion's answer has another user handle; see assertion.userHandle");
  }
  // A zero first, where a C string would end.
  RequestBytes handle(64);
  std::ranges::generate(handle, [next = std::uint8_t{0}]() mutable { return next++; });
  requireUserKept(context, "Zoë 東京 🔑", Data(handle),
                  "a name outside ASCII, or a user handle of 64 bytes, is refused");
  requireUserKept(context, "", newIdentifier(),
                  "an empty userName is refused; the relying party may have left it out");
  requireUserKept(context, "trent", Data(RequestBytes{1}), "a user handle of one byte is refused");
  return passed();
}

Check needingPasskey(Check check) {
  check.needs.push_back(Need::passkey);
  return check;
}

}  // namespace

std::vector<Check> robustnessChecks() {
  return {
      hostCheck("request.pieces", "a request that arrives in pieces is served", {"answer.ok"},
                "frames", requestPieces),
      hostCheck("request.open", "it is served while the sending half is open", {"socket.accepts"},
                "the-socket", requestOpen),
      hostCheck("request.unknownType", "an unknown type is refused as failed", {"answer.ok"},
                "requests", requestUnknownType),
      hostCheck("request.unknownKey", "one more key changes nothing", {"answer.ok"}, "bodies",
                requestUnknownKey),
      hostCheck("request.damaged",
                "a damaged request is refused or its connection closed; the next one is served",
                {"answer.ok", "frame.close"}, "frames", requestDamaged),
      hostCheck("request.large", "a body of 4194304 bytes is served",
                {"request.pieces", "request.unknownKey"}, "frames", requestLarge),
      needingPasskey(
          hostCheck("request.texts",
                    "a name outside ASCII or an empty one, and handles of 1 and 64 bytes, are kept",
                    {"answer.ok"}, "registration", requestTexts)),
  };
}

}  // namespace korvan::lab::check
