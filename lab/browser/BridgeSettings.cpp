#include "lab/browser/BridgeSettings.h"

#include <chrono>
#include <optional>
#include <stdexcept>

#include <nlohmann/json.hpp>

namespace korvan::lab {
namespace {

using Json = nlohmann::json;

Json jsonFrom(const std::optional<std::string>& text) { return text ? Json(*text) : Json(); }

std::optional<std::string> textFrom(const Json& json) {
  return json.is_null() ? std::nullopt : std::optional(json.get<std::string>());
}

}  // namespace

std::string bridgeSettingsText(const LabSettings& settings) {
  const OperatingSystemVersion& version = settings.operatingSystemVersion;
  return Json{{"container", jsonFrom(settings.container)},
              {"hostApplication", jsonFrom(settings.hostApplication)},
              {"trustAnchor", settings.trustAnchorPem},
              {"operatingSystemVersion", {version.major, version.minor, version.patch}},
              {"noticeInWindow", settings.noticeMode == NoticeMode::windowWhenNeeded},
              {"timeoutMilliseconds", settings.timeout ? Json(settings.timeout->count()) : Json()}}
      .dump(2);
}

LabSettings bridgeSettingsFrom(const std::string& text) {
  try {
    const Json json = Json::parse(text);
    const Json& version = json.at("operatingSystemVersion");
    const Json& timeout = json.at("timeoutMilliseconds");
    return {.container = textFrom(json.at("container")),
            .hostApplication = textFrom(json.at("hostApplication")),
            .trustAnchorPem = json.at("trustAnchor"),
            .operatingSystemVersion = {.major = version.at(0),
                                       .minor = version.at(1),
                                       .patch = version.at(2)},
            .noticeMode = json.at("noticeInWindow").get<bool>() ? NoticeMode::windowWhenNeeded
                                                                : NoticeMode::pressOk,
            .timeout = timeout.is_null()
                           ? std::nullopt
                           : std::optional(std::chrono::milliseconds(timeout.get<long long>()))};
  } catch (const Json::exception& flaw) {
    throw std::runtime_error(std::string("the bridge's settings are wrong: ") + flaw.what());
  }
}

}  // namespace korvan::lab
