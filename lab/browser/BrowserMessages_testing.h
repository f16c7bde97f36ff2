#pragma once

#include <cstdint>
#include <cstring>
#include <string>

#include <nlohmann/json.hpp>

namespace korvan::lab {

// Messages of the browser's extension, whose details are as Chromium sends them: the lists in its
// order, and nothing that the site left out.

inline constexpr const char* TestChallenge = "kwiSgg10I7ik8Y7ad6_BK4Kyy3wZRn_XJyWXBmEMIbw";

/// A message as the browser writes it to the bridge.
[[nodiscard]] inline std::string frameOf(const std::string& text) {
  const auto size = static_cast<std::uint32_t>(text.size());
  std::string frame(sizeof size, '\0');
  std::memcpy(frame.data(), &size, sizeof size);
  return frame + text;
}

/// What Chromium says about the page, in the details' extensions.
[[nodiscard]] inline nlohmann::json pageExtension(bool sameOriginWithAncestors = true) {
  return {{"remoteDesktopClientOverride",
           {{"origin", "https://login.example.com"},
            {"sameOriginWithAncestors", sameOriginWithAncestors}}}};
}

[[nodiscard]] inline nlohmann::json creationMessage(
    const nlohmann::json& more = nlohmann::json::object()) {
  nlohmann::json details = {
      {"attestation", "none"},
      {"challenge", TestChallenge},
      {"excludeCredentials",
       {{{"id", "AQID"}, {"transports", {"internal", "hybrid"}}, {"type", "public-key"}}}},
      {"extensions", pageExtension()},
      {"pubKeyCredParams",
       {{{"alg", -7}, {"type", "public-key"}}, {{"alg", -257}, {"type", "public-key"}}}},
      {"rp", {{"id", "example.com"}, {"name", "Example"}}},
      {"user", {{"id", "Ym9i"}, {"name", "bob"}, {"displayName", "Bob"}}}};
  details.update(more);
  return {{"kind", "create"}, {"details", details}, {"conditional", false}};
}

[[nodiscard]] inline nlohmann::json signInMessage(
    const nlohmann::json& more = nlohmann::json::object()) {
  nlohmann::json details = {{"allowCredentials", nlohmann::json::array()},
                            {"challenge", TestChallenge},
                            {"extensions", pageExtension()},
                            {"rpId", "example.com"},
                            {"userVerification", "preferred"}};
  details.update(more);
  return {{"kind", "get"}, {"details", details}, {"conditional", false}};
}

[[nodiscard]] inline nlohmann::json reportMessage(const std::string& method,
                                                  const nlohmann::json& details) {
  return {{"kind", "signal"},
          {"method", method},
          {"origin", "https://example.com"},
          {"details", details}};
}

}  // namespace korvan::lab
