#include "lab/soak/Behavior.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <cstring>
#include <utility>

#include "channel/ProviderFrame.h"
#include "channel/ProviderMessage.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab::soak {
namespace {

namespace key = provider_message_key;
using Bytes = std::vector<std::uint8_t>;
using Kind = Ask::Kind;

/// More than a Unix-domain socket's buffer holds, so that the host has to wait for the reader.
constexpr std::size_t LargeSize = 300'000;

constexpr std::string_view RefusalDescription = "The host refuses.";
constexpr const char* Closed = "Korvan closed the credential-provider connection.";
constexpr const char* WrongSize =
    "Korvan returned a credential-provider message with an invalid size.";

// What the host sends.

Bytes bytesOf(std::string_view text) { return {text.begin(), text.end()}; }

Bytes encoded(const ProviderMessage& message) {
  const Data body = LinuxPropertyListSerialization().encodeBinary(message).value();
  return {body.bytes().begin(), body.bytes().end()};
}

/// `announced` as a frame's prefix, and `body` after it.
Bytes frame(std::size_t announced, const Bytes& body) {
  const ProviderFramePrefix prefix = encodeProviderFramePrefix(announced);
  Bytes bytes(prefix.begin(), prefix.end());
  bytes.insert(bytes.end(), body.begin(), body.end());
  return bytes;
}

Bytes frameOf(const Bytes& body) { return frame(body.size(), body); }

ProviderMessage with(ProviderMessage message, std::string_view name, PropertyListValue value) {
  message.insert_or_assign(name, std::move(value));
  return message;
}

ProviderMessage ok(ProviderMessage message = {}) { return with(std::move(message), key::ok, true); }

/// The answer's fields, beside `ok`, to a request of this kind and number.
ProviderMessage fields(Kind kind, std::uint64_t number) {
  ProviderMessage message;
  const auto addData = [&](std::initializer_list<std::string_view> names) {
    for (const std::string_view name : names) {
      message = with(std::move(message), name, dataOf(number, name));
    }
  };
  if (kind == Kind::assertion || kind == Kind::registration) {
    message = with(std::move(message), "relyingPartyIdentifier", relyingPartyOf(number));
    addData({"clientDataHash", "credentialID"});
  }
  if (kind == Kind::assertion) {
    addData({"userHandle", "signature", "authenticatorData"});
  }
  if (kind == Kind::registration) {
    addData({"attestationObject"});
  }
  return message;
}

ProviderMessage fields(const SoakRequest& request) {
  return fields(request.ask->kind, request.number);
}

/// What a host says that did what it was asked.
ProviderMessage success(const SoakRequest& request) { return ok(fields(request)); }

/// Each field as a text where data belongs, and as data where a text belongs; `ok` stays.
ProviderMessage mistyped(ProviderMessage message) {
  for (auto& [name, value] : message) {
    if (value.data() != nullptr) {
      value = "text";
    } else if (value.text() != nullptr) {
      value = Data(bytesOf("data"));
    }
  }
  return message;
}

// What is right for the extension to make of it.

Outcome canceled(ExtensionErrorCode code, std::optional<std::string> description,
                 bool noticeShown = false) {
  return Canceled{
      .error = {.domain = ErrorDomain::extension,
                .code = static_cast<std::int64_t>(code),
                .userInfo = ErrorUserInfo{.localizedDescription = std::move(description)}},
      .noticeShown = noticeShown};
}

/// Of a message that says that the request succeeded.
Outcome completed(Kind kind, const ProviderMessage& message) {
  switch (kind) {
    case Kind::assertion:
      return CompletedAssertion{{.userHandle = dataForKey(message, "userHandle"),
                                 .relyingParty = stringForKey(message, "relyingPartyIdentifier"),
                                 .signature = dataForKey(message, "signature"),
                                 .clientDataHash = dataForKey(message, "clientDataHash"),
                                 .authenticatorData = dataForKey(message, "authenticatorData"),
                                 .credentialID = dataForKey(message, "credentialID")}};
    case Kind::registration:
      return CompletedRegistration{{.relyingParty = stringForKey(message, "relyingPartyIdentifier"),
                                    .clientDataHash = dataForKey(message, "clientDataHash"),
                                    .credentialID = dataForKey(message, "credentialID"),
                                    .attestationObject = dataForKey(message, "attestationObject")}};
    default:
      return CompletedConfiguration();
  }
}

ExtensionErrorCode codeOf(std::string_view errorCode) {
  using Pair = std::pair<std::string_view, ExtensionErrorCode>;
  constexpr std::array codes = {
      Pair{provider_error_code::vaultLocked, ExtensionErrorCode::userInteractionRequired},
      Pair{provider_error_code::userInteractionRequired,
           ExtensionErrorCode::userInteractionRequired},
      Pair{provider_error_code::userCanceled, ExtensionErrorCode::userCanceled},
      Pair{provider_error_code::credentialNotFound, ExtensionErrorCode::credentialIdentityNotFound},
      Pair{provider_error_code::matchedExcludedCredential,
           ExtensionErrorCode::matchedExcludedCredential}};
  const auto* const found = std::ranges::find(codes, errorCode, &Pair::first);
  return found != codes.end() ? found->second : ExtensionErrorCode::failed;
}

std::string failed(std::string_view step, int error) {
  // Called on the main thread alone, and by no other thread meanwhile.
  return std::string(step) + " failed: " + std::strerror(error);  // NOLINT(concurrency-mt-unsafe)
}

/// The ways in which the kernel tells that the host closed before it had read everything.
std::vector<std::string> closedWhileSending() {
  return {failed("Writing to Korvan", EPIPE), failed("Writing to Korvan", ECONNRESET),
          failed("Reading from Korvan", ECONNRESET)};
}

constexpr const char* NoSuchProcess =
    "Reading the Korvan peer code signature failed: there is no such process";

/// The decoder's own words on a body: what it is that it cannot read is its to say.
std::string flawOf(const Bytes& body) {
  const auto decoded = LinuxPropertyListSerialization().decode(Data::copyOf(body));
  return decoded ? "(the body can be decoded)"
                 : decoded.error().localizedDescription.value_or("(no words)");
}

// Parts.

/// Sends the message, which the extension takes for `meaning`.
HostPart answers(const SoakRequest& request, const ProviderMessage& message,
                 const ProviderMessage& meaning) {
  return {.script = {.sends = frameOf(encoded(message))},
          .answered = completed(request.ask->kind, meaning)};
}

HostPart answers(const SoakRequest& request, const ProviderMessage& message) {
  return answers(request, message, message);
}

HostPart refuses(const SoakRequest& request, bool showsNotice) {
  ProviderMessage message = failureResponse(request.errorCode, RefusalDescription);
  if (showsNotice) {
    message = with(std::move(message), key::showUnavailableUI, true);
  }
  return {.script = {.sends = frameOf(encoded(message))},
          .answered =
              canceled(codeOf(request.errorCode), std::string(RefusalDescription), showsNotice)};
}

/// Sends all that belongs to a success but its `ok`.
HostPart fails(const ProviderMessage& message) {
  return {.script = {.sends = frameOf(encoded(message))},
          .answered = canceled(ExtensionErrorCode::failed, std::nullopt)};
}

/// Sends what the extension cannot take.
HostPart sends(Bytes bytes, std::string failure) {
  return {.script = {.sends = std::move(bytes)}, .failures = {std::move(failure)}};
}

/// Sends what remains of a good answer without its last `missing` bytes, but `most` at most.
HostPart cuts(const SoakRequest& request, std::size_t most) {
  Bytes bytes = frameOf(encoded(success(request)));
  bytes.resize(std::min(most, bytes.size() - 1));
  return sends(std::move(bytes), Closed);
}

HostPart cutsInPrefix(const SoakRequest& request) { return cuts(request, 2); }
HostPart cutsAfterPrefix(const SoakRequest& request) {
  return cuts(request, ProviderFramePrefix().size());
}
HostPart cutsInBody(const SoakRequest& request) { return cuts(request, SIZE_MAX); }

template <Reading reading>
HostPart closes(const SoakRequest& /*request*/) {
  return {.script = {.reading = reading},
          .failures = reading == Reading::everything ? std::vector<std::string>{Closed}
                                                     : closedWhileSending()};
}

/// Dies where it would close.
template <HostPart (*closing)(const SoakRequest&)>
HostPart dies(const SoakRequest& request) {
  HostPart part = closing(request);
  part.script.dies = true;
  if (part.script.reading != Reading::everything) {
    part.failures.emplace_back(NoSuchProcess);
  }
  return part;
}

using Request = const SoakRequest&;

constexpr auto Behaviors = std::to_array<Behavior>({
    // Answers.
    {"answer", 250, [](Request request) { return answers(request, success(request)); }},
    {"answerInDrops", 30,
     [](Request request) {
       HostPart part = answers(request, success(request));
       part.script.inDrops = true;
       return part;
     }},
    {"answerWithMore", 30,
     [](Request request) {  // more bytes than the frame announces
       HostPart part = answers(request, success(request));
       part.script.sends.resize(2 * part.script.sends.size());
       return part;
     }},
    {"answerLarge", 10,
     [](Request request) {
       return answers(request,
                      with(success(request), "padding", Data::copyOf(Bytes(LargeSize, 0))));
     }},
    {"answerWithoutFields", 30, [](Request request) { return answers(request, ok()); }},
    {"answerMistyped", 30,
     [](Request request) { return answers(request, mistyped(success(request)), ok()); }},
    {"answerOtherRequest", 30,
     [](Request request) {  // The host is trusted: the extension compares nothing.
       return answers(request, ok(fields(request.ask->kind, request.number + 1)));
     }},
    {"answerOtherType", 30,
     [](Request request) {
       const bool isAssertion = request.ask->kind == Kind::assertion;
       return answers(
           request, ok(fields(isAssertion ? Kind::registration : Kind::assertion, request.number)));
     }},
    {"answerWithoutOk", 30, [](Request request) { return fails(fields(request)); }},
    {"answerMistypedOk", 30,
     [](Request request) { return fails(with(fields(request), key::ok, "true")); }},
    {"refuse", 100, [](Request request) { return refuses(request, false); }},
    {"refuseWithNotice", 30, [](Request request) { return refuses(request, true); }},
    // Frames without a valid answer.
    {"sendArray", 30,
     [](Request /*request*/) {
       return sends(frameOf(bytesOf("<array/>")), "Korvan returned an invalid response.");
     }},
    {"sendOtherFormat", 30,
     [](Request request) {  // success without any other field, as XML
       HostPart part = answers(request, ok());
       part.script.sends =
           frameOf(bytesOf("<plist version=\"1.0\"><dict><key>ok</key><true/></dict></plist>"));
       return part;
     }},
    {"sendGarbage", 30,
     [](Request request) {  // such that it looks like the real thing at first
       const Bytes body =
           bytesOf("bplist00, and then nothing of the kind for " + relyingPartyOf(request.number));
       return sends(frameOf(body), flawOf(body));
     }},
    {"announceNothing", 30,
     [](Request request) { return sends(frame(0, encoded(success(request))), WrongSize); }},
    {"announceTooMuch", 30,
     [](Request request) {
       return sends(frame(MaxProviderMessageSize + 1, encoded(success(request))), WrongSize);
     }},
    {"announceLess", 30,
     [](Request request) {  // fewer bytes than the body has
       Bytes body = encoded(success(request));
       Bytes bytes = frame(body.size() - 1, body);
       body.pop_back();
       return sends(std::move(bytes), flawOf(body));
     }},
    // Closes without an answer, or within it.
    {"closeAtOnce", 30, closes<Reading::nothing>},
    {"closeAfterPrefix", 20, closes<Reading::prefix>},
    {"closeInRequest", 20, closes<Reading::halfOfTheBody>},
    {"closeAfterRequest", 30, closes<Reading::everything>},
    {"stallAndClose", 40,
     [](Request request) {
       HostPart part = closes<Reading::everything>(request);
       part.script.stalls = true;
       return part;
     }},
    {"closeInAnswerPrefix", 20, cutsInPrefix},
    {"closeAfterAnswerPrefix", 20, cutsAfterPrefix},
    {"closeInAnswer", 30, cutsInBody},
    // Dies: SIGKILL ends the whole process. What happens before the host can know which request it
    // is happens to every request or to none.
    {"dieBeforeAccept", 0, dies<closes<Reading::noConnection>>},
    {"dieAtOnce", 2, dies<closes<Reading::nothing>>},
    {"dieAfterPrefix", 1, dies<closes<Reading::prefix>>},
    {"dieInRequest", 1, dies<closes<Reading::halfOfTheBody>>},
    {"dieAfterRequest", 2, dies<closes<Reading::everything>>},
    {"dieInAnswerPrefix", 1, dies<cutsInPrefix>},
    {"dieAfterAnswerPrefix", 1, dies<cutsAfterPrefix>},
    {"dieInAnswer", 2, dies<cutsInBody>},
});

/// The outcome where the host gives no usable answer.
Outcome unavailable(const std::string& failure, bool isLaunched) {
  return isLaunched
             ? canceled(ExtensionErrorCode::failed,
                        "Korvan opened, but the credential provider could not connect to it in "
                        "time.",
                        true)
             : canceled(ExtensionErrorCode::failed, failure);
}

std::vector<Outcome> unavailable(const std::vector<std::string>& failures, bool isLaunched) {
  std::vector<Outcome> outcomes;
  outcomes.reserve(failures.size());
  for (const std::string& failure : failures) {
    outcomes.push_back(unavailable(failure, isLaunched));
  }
  return outcomes;
}

}  // namespace

std::span<const Behavior> behaviors() noexcept { return Behaviors; }

std::vector<Outcome> rightOutcomes(const SoakRequest& request, bool isLaunched) {
  if (request.ask->kind == Kind::report) {
    return {Returned()};
  }
  const HostPart part = request.behavior->partIn(request);
  return part.answered ? std::vector{*part.answered} : unavailable(part.failures, isLaunched);
}

std::vector<Outcome> outcomesOfOutage(const SoakRequest& request, bool isLaunched) {
  if (request.ask->kind == Kind::report) {
    return {Returned()};
  }
  std::vector<std::string> failures = closedWhileSending();
  // There is a socket that nobody listens on; or, for a moment when a host starts, none.
  failures.insert(failures.end(),
                  {NoSuchProcess, Closed, failed("Connecting to Korvan", ECONNREFUSED),
                   failed("Connecting to Korvan", ENOENT)});
  return unavailable(failures, isLaunched);
}

}  // namespace korvan::lab::soak
