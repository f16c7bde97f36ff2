#include "lab/OutcomeWriter.h"

#include <cmath>
#include <optional>

#include <nlohmann/json.hpp>

#include "lab/MessageJson.h"
#include "lab/host/Base64Url.h"

namespace korvan::lab {
namespace {

using Json = nlohmann::ordered_json;

Json jsonOf(const std::optional<std::string>& text) { return text ? Json(*text) : Json(nullptr); }

Json jsonOf(const std::optional<Data>& data) {
  return data ? Json(host::base64Url(data->bytes())) : Json(nullptr);
}

Json jsonOf(const Error& error) {
  return {{"domain", nameOfErrorDomain(error.domain)},
          {"code", error.code},
          {"localizedDescription", jsonOf(error.localizedDescription())}};
}

Json jsonOf(const PasskeyAssertionCredential& credential) {
  return {{"userHandle", jsonOf(credential.userHandle)},
          {"relyingParty", jsonOf(credential.relyingParty)},
          {"signature", jsonOf(credential.signature)},
          {"clientDataHash", jsonOf(credential.clientDataHash)},
          {"authenticatorData", jsonOf(credential.authenticatorData)},
          {"credentialID", jsonOf(credential.credentialID)}};
}

Json jsonOf(const PasskeyRegistrationCredential& credential) {
  return {{"relyingParty", jsonOf(credential.relyingParty)},
          {"clientDataHash", jsonOf(credential.clientDataHash)},
          {"credentialID", jsonOf(credential.credentialID)},
          {"attestationObject", jsonOf(credential.attestationObject)}};
}

/// One function an outcome.
struct OutcomeJson {
  Json operator()(const CompletedAssertion& completed) const {
    return {{"outcome", "completedAssertion"}, {"credential", jsonOf(completed.credential)}};
  }
  Json operator()(const CompletedRegistration& completed) const {
    return {{"outcome", "completedRegistration"}, {"credential", jsonOf(completed.credential)}};
  }
  Json operator()(const CompletedConfiguration& /*completed*/) const {
    return {{"outcome", "completedConfiguration"}};
  }
  Json operator()(const Cancelled& cancelled) const {
    return {{"outcome", "cancelled"},
            {"error", jsonOf(cancelled.error)},
            {"noticeShown", cancelled.noticeShown}};
  }
  Json operator()(const NoticePending& /*pending*/) const { return {{"outcome", "noticePending"}}; }
  Json operator()(const Returned& /*returned*/) const { return {{"outcome", "returned"}}; }
  Json operator()(const Refused& refused) const {
    return {{"outcome", "exception"}, {"reason", refused.reason}};
  }
};

Json jsonOf(const PropertyListSerialization& propertyLists,
            const std::vector<RecordedFrame>& frames) {
  Json messages = Json::array();
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

std::string textOf(const Json& json) {
  // What came from the host may hold what is not UTF-8; the line is JSON all the same.
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

}  // namespace

std::string OutcomeWriter::line(const CallReport& report) const {
  Json json = std::visit(OutcomeJson(), report.outcome);
  json["milliseconds"] = roundedToMicroseconds(report.milliseconds);
  if (showMessages_) {
    json["messages"] = jsonOf(propertyLists_, report.frames);
  }
  return textOf(json);
}

std::string OutcomeWriter::invalidLine(std::string_view reason) const {
  Json json = {{"outcome", "invalid"}, {"reason", reason}, {"milliseconds", 0}};
  if (showMessages_) {
    json["messages"] = Json::array();
  }
  return textOf(json);
}

}  // namespace korvan::lab
