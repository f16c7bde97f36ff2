#include "lab/soak/plan/SoakScript.h"

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "channel/ProviderFrame.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab::soak {
namespace {

using Entry = ProviderMessage::Entry;

enum ScriptPurpose : std::uint8_t { chooseRefusal };

/// More than a Unix-domain socket's buffer holds, so that the host has to wait for the reader.
constexpr std::size_t LargeSize = 300'000;
constexpr std::uint32_t TooMuch = MaxProviderMessageSize + 1;

bool isRegistration(Ask ask) {
  return ask == Ask::interactiveRegistration || ask == Ask::conditionalRegistration;
}

bool isAssertion(Ask ask) { return ask <= Ask::listAssertion; }

Data encoded(const ProviderMessage& message) {
  return LinuxPropertyListSerialization().encodeBinary(message).value();
}

/// `announced` as a frame's prefix, and `body` or less after it.
Data frame(std::size_t announced, std::span<const std::uint8_t> body) {
  const ProviderFramePrefix prefix = encodeProviderFramePrefix(announced);
  MutableData bytes = MutableData::uninitialized(prefix.size() + body.size());
  std::ranges::copy(prefix, bytes.bytes().begin());
  std::ranges::copy(body, bytes.bytes().subspan(prefix.size()).begin());
  return std::move(bytes).freeze();
}

Data frameOf(const Data& body) { return frame(body.size(), body.bytes()); }
Data frameOf(const ProviderMessage& message) { return frameOf(encoded(message)); }

Data textBody(std::string_view text) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

/// Each field as a text where data belongs, and as data where a text belongs; `ok` stays.
ProviderMessage mistyped(const ProviderMessage& answer) {
  std::vector<Entry> entries(answer.entries().begin(), answer.entries().end());
  for (Entry& entry : entries) {
    if (entry.value.data() != nullptr) {
      entry.value = "text";
    } else if (entry.value.text() != nullptr) {
      entry.value = textBody("data");
    }
  }
  return ProviderMessage(std::move(entries));
}

ProviderMessage with(ProviderMessage message, std::string_view key, PropertyListValue value) {
  message.set(Text(key), std::move(value));
  return message;
}

ProviderMessage without(const ProviderMessage& message, std::string_view key) {
  std::vector<Entry> entries;
  std::ranges::copy_if(message.entries(), std::back_inserter(entries),
                       [key](const Entry& entry) { return entry.key.view() != key; });
  return ProviderMessage(std::move(entries));
}

/// A binary property list that is an empty array.
Data arrayBody() {
  constexpr std::array<std::uint8_t, 42> bytes = {
      'b', 'p', 'l', 'i', 's', 't', '0', '0', 0xA0, 8,                    // up to the trailer
      0,   0,   0,   0,   0,   0,   1,   1,                               // the integers' sizes
      0,   0,   0,   0,   0,   0,   0,   1,   0,    0, 0, 0, 0, 0, 0, 0,  // objects, top object
      0,   0,   0,   0,   0,   0,   0,   9};  // the offset table's place
  return Data::copyOf(bytes);
}

Data garbage(const SoakPlan& plan, std::uint64_t number) {
  // Such that it looks like the real thing at first.
  std::vector<std::uint8_t> bytes = {'b', 'p', 'l', 'i', 's', 't', '0', '0'};
  const Data random = plan.dataOf(number, "garbage");
  bytes.insert(bytes.end(), random.bytes().begin(), random.bytes().end());
  return Data::copyOf(bytes);
}

Data bytesFor(const SoakPlan& plan, std::uint64_t number) {
  const Ask ask = plan.askOf(number);
  const ProviderMessage success = successOf(plan, ask, number);
  const ProviderMessage refusal = failureResponse(refusalOf(plan, number), RefusalDescription);
  switch (plan.behaviourOf(number)) {
    case Behaviour::answer:
    case Behaviour::answerInDrops:
      return frameOf(success);
    case Behaviour::answerWithMore: {
      const Data body = encoded(success);
      std::vector<std::uint8_t> more(body.bytes().begin(), body.bytes().end());
      more.insert(more.end(), body.bytes().begin(), body.bytes().end());
      return frame(body.size(), more);
    }
    case Behaviour::answerLarge:
      return frameOf(with(success, "padding", MutableData::zeroed(LargeSize).freeze()));
    case Behaviour::answerWithoutFields:
      return frameOf({{.key = "ok"_text, .value = true}});
    case Behaviour::answerMistyped:
      return frameOf(mistyped(success));
    case Behaviour::answerOtherRequest:
      return frameOf(successOf(plan, ask, mistakenNumber(number)));
    case Behaviour::answerOtherType:
      return frameOf(successOf(plan, mistakenAsk(ask), number));
    case Behaviour::answerWithoutOk:
      return frameOf(without(success, provider_message_key::ok));
    case Behaviour::answerMistypedOk:
      return frameOf(with(success, provider_message_key::ok, "true"));
    case Behaviour::refuse:
      return frameOf(refusal);
    case Behaviour::refuseWithNotice:
      return frameOf(with(refusal, provider_message_key::showUnavailableUI, true));
    case Behaviour::sendArray:
      return frameOf(arrayBody());
    case Behaviour::sendOtherFormat:
      return frameOf(textBody("<plist version=\"1.0\"><dict><key>ok</key><true/></dict></plist>"));
    case Behaviour::sendGarbage:
      return frameOf(garbage(plan, number));
    case Behaviour::announceNothing:
      return frame(0, encoded(success).bytes());
    case Behaviour::announceTooMuch:
      return frame(TooMuch, encoded(success).bytes());
    case Behaviour::announceLess: {
      const Data body = encoded(success);
      return frame(body.size() - 1, body.bytes());
    }
    case Behaviour::closeInAnswerPrefix:
    case Behaviour::dieInAnswerPrefix:
      return frameOf(success).slice(0, 2);
    case Behaviour::closeAfterAnswerPrefix:
    case Behaviour::dieAfterAnswerPrefix:
      return frameOf(success).slice(0, ProviderFramePrefix().size());
    case Behaviour::closeInAnswer:
    case Behaviour::dieInAnswer: {
      const Data whole = frameOf(success);
      return whole.slice(0, whole.size() - 1);
    }
    default:
      return {};
  }
}

Reading readingOf(Behaviour behaviour) {
  switch (behaviour) {
    case Behaviour::closeAtOnce:
    case Behaviour::dieBeforeAccept:
    case Behaviour::dieAtOnce:
      return Reading::nothing;
    case Behaviour::closeAfterPrefix:
    case Behaviour::dieAfterPrefix:
      return Reading::prefix;
    case Behaviour::closeInRequest:
    case Behaviour::dieInRequest:
      return Reading::halfOfTheBody;
    default:
      return Reading::everything;
  }
}

}  // namespace

SoakScript scriptFor(const SoakPlan& plan, std::uint64_t number) {
  const Behaviour behaviour = plan.behaviourOf(number);
  return {.reading = readingOf(behaviour),
          .stalls = behaviour == Behaviour::stallAndClose,
          .sends = bytesFor(plan, number),
          .inDrops = behaviour == Behaviour::answerInDrops,
          .dies = isDeath(behaviour)};
}

ProviderMessage successOf(const SoakPlan& plan, Ask ask, std::uint64_t number) {
  ProviderMessage answer = {{.key = "ok"_text, .value = true}};
  if (isAssertion(ask) || isRegistration(ask)) {
    answer.set("relyingPartyIdentifier"_text, SoakPlan::relyingPartyOf(number));
    answer.set("clientDataHash"_text, plan.dataOf(number, "clientDataHash"));
    answer.set("credentialID"_text, plan.dataOf(number, "credentialID"));
  }
  if (isAssertion(ask)) {
    answer.set("userHandle"_text, plan.dataOf(number, "userHandle"));
    answer.set("signature"_text, plan.dataOf(number, "signature"));
    answer.set("authenticatorData"_text, plan.dataOf(number, "authenticatorData"));
  }
  if (isRegistration(ask)) {
    answer.set("attestationObject"_text, plan.dataOf(number, "attestationObject"));
  }
  return answer;
}

Ask mistakenAsk(Ask ask) noexcept {
  return isAssertion(ask) ? Ask::interactiveRegistration : Ask::silentAssertion;
}

std::string_view refusalOf(const SoakPlan& plan, std::uint64_t number) {
  constexpr std::array codes = {provider_error_code::failed,
                                provider_error_code::unavailable,
                                provider_error_code::vaultLocked,
                                provider_error_code::userInteractionRequired,
                                provider_error_code::userCanceled,
                                provider_error_code::credentialNotFound,
                                provider_error_code::matchedExcludedCredential};
  return codes[plan.choiceFor(number, chooseRefusal) % codes.size()];
}

Data receivedBody(const SoakScript& script) {
  ProviderFramePrefix prefix{};
  if (script.sends.size() < prefix.size()) {
    return {};
  }
  std::ranges::copy(script.sends.bytes().first(prefix.size()), prefix.begin());
  const std::size_t announced = decodeProviderFramePrefix(prefix);
  return announced <= script.sends.size() - prefix.size()
             ? script.sends.slice(prefix.size(), announced)
             : Data();
}

}  // namespace korvan::lab::soak
