#include "lab/json/OutcomeWriter.h"

#include <cmath>
#include <optional>

#include <nlohmann/json.hpp>

#include "lab/json/MessageJson.h"
#include "lab/support/Base64Url.h"

namespace korvan::lab {
namespace {

using OrderedJson = nlohmann::ordered_json;

OrderedJson jsonOf(const std::optional<std::string>& text) {
  return text ? OrderedJson(*text) : OrderedJson(nullptr);
}

OrderedJson jsonOf(const std::optional<Data>& data) {
  return data ? OrderedJson(base64Url(data->bytes())) : OrderedJson(nullptr);
}

OrderedJson jsonOf(const Error& error) {
  return {{"domain", nameOfErrorDomain(error.domain)},
          {"code", error.code},
          {"localizedDescription", jsonOf(error.localizedDescription())}};
}

OrderedJson jsonOf(const PasskeyAssertionCredential& credential) {
  return {{"userHandle", jsonOf(credential.userHandle)},
          {"relyingParty", jsonOf(credential.relyingParty)},
          {"signature", jsonOf(credential.signature)},
          {"clientDataHash", jsonOf(credential.clientDataHash)},
          {"authenticatorData", jsonOf(credential.authenticatorData)},
          {"credentialID", jsonOf(credential.credentialID)}};
}

OrderedJson jsonOf(const PasskeyRegistrationCredential& credential) {
  return {{"relyingParty", jsonOf(credential.relyingParty)},
          {"clientDataHash", jsonOf(credential.clientDataHash)},
          {"credentialID", jsonOf(credential.credentialID)},
          {"attestationObject", jsonOf(credential.attestationObject)}};
}

/// One function per outcome.
struct OutcomeJson {
  OrderedJson operator()(const CompletedAssertion& completed) const {
    return {{"outcome", "completedAssertion"}, {"credential", jsonOf(completed.credential)}};
  }
  OrderedJson operator()(const CompletedRegistration& completed) const {
    return {{"outcome", "completedRegistration"}, {"credential", jsonOf(completed.credential)}};
  }
  OrderedJson operator()(const CompletedConfiguration& /*completed*/) const {
    return {{"outcome", "completedConfiguration"}};
  }
  OrderedJson operator()(const Canceled& canceled) const {
    return {{"outcome", "cancelled"},
            {"error", jsonOf(canceled.error)},
            {"noticeShown", canceled.noticeShown}};
  }
  OrderedJson operator()(const NoticePending& /*pending*/) const {
    return {{"outcome", "noticePending"}};
  }
  OrderedJson operator()(const Returned& /*returned*/) const { return {{"outcome", "returned"}}; }
  OrderedJson operator()(const Refused& refused) const {
    return {{"outcome", "exception"}, {"reason", refused.reason}};
  }
  OrderedJson operator()(const TimedOut& timedOut) const {
    return {{"outcome", "timedOut"}, {"waitedFor", timedOut.waitedFor}};
  }
};

OrderedJson jsonOf(const PropertyListSerialization& propertyLists,
                   const std::vector<RecordedFrame>& frames) {
  OrderedJson messages = OrderedJson::array();
  for (const RecordedFrame& frame : frames) {
    messages.push_back(
        {{"direction", frame.direction == Direction::request ? "request" : "response"},
         {"message", messageJson(propertyLists, frame.body)}});
  }
  return messages;
}

double roundedToMicroseconds(double milliseconds) {
  constexpr double MicrosecondsPerMillisecond = 1000;
  return std::round(milliseconds * MicrosecondsPerMillisecond) / MicrosecondsPerMillisecond;
}

std::string textOf(const OrderedJson& json) {
  // A host may send what is not UTF-8; the line must be JSON nevertheless.
  return json.dump(-1, ' ', false, OrderedJson::error_handler_t::replace);
}

}  // namespace

std::string OutcomeWriter::line(const CallResult& result) const {
  OrderedJson json = std::visit(OutcomeJson(), result.outcome);
  json["milliseconds"] = roundedToMicroseconds(result.milliseconds);
  if (showMessages_) {
    json["messages"] = jsonOf(propertyLists_, result.frames);
  }
  return textOf(json);
}

std::string OutcomeWriter::invalidLine(std::string_view reason) const {
  OrderedJson json = {{"outcome", "invalid"}, {"reason", reason}, {"milliseconds", 0}};
  if (showMessages_) {
    json["messages"] = OrderedJson::array();
  }
  return textOf(json);
}

}  // namespace korvan::lab
