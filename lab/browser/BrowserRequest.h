#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

namespace korvan::lab {

/// What a page asked of the browser, as the browser's extension passes it on.
struct BrowserRequest {
  enum class Kind : std::uint8_t {
    create,     ///< a new passkey
    get,        ///< a sign-in
    signal,     ///< a report about passkeys
    configure,  ///< the extension's configuration; no page asks for it
  };

  Kind kind = Kind::configure;
  /// Of the page, or empty.
  std::string origin;
  /// What the page asked, with bytes as base64url.
  nlohmann::json details;
  /// The method of `PublicKeyCredential` that a report comes from.
  std::string method;
  /// A new passkey is to be made without the user, or not at all.
  bool conditional = false;
  /// What is signed for the page. Empty for reports and the configuration.
  /// https://www.w3.org/TR/webauthn-3/#dictionary-client-data
  std::string clientDataJSON;

  /// Such as "create".
  [[nodiscard]] std::string_view kindName() const;
};

/// Parses a message of the browser's extension. On failure a sentence says what is wrong.
[[nodiscard]] std::expected<BrowserRequest, std::string> parseBrowserRequest(
    std::string_view message);

/// A passkey that the system knows of, because it was made through the browser.
struct KnownIdentity {
  std::string relyingParty;
  std::string credentialID;  ///< base64url
  std::string userHandle;    ///< base64url
  std::string userName;

  friend bool operator==(const KnownIdentity&, const KnownIdentity&) = default;
};

// The calls that requests become, as lines that parseCall() reads. They throw InvalidLine that
// names the place when the details are not of the kinds that they must be.

/// Registers a passkey.
[[nodiscard]] nlohmann::json registrationLine(const BrowserRequest& request);

/// Signs in with a passkey, without the user or with.
[[nodiscard]] nlohmann::json assertionLine(const BrowserRequest& request,
                                           const KnownIdentity& identity, bool interactive);

/// Signs in with a passkey that the host lets the user choose.
[[nodiscard]] nlohmann::json credentialListLine(const BrowserRequest& request);

/// Passes on a report. Throws InvalidLine for an unknown method too.
[[nodiscard]] nlohmann::json reportLine(const BrowserRequest& request);

[[nodiscard]] nlohmann::json configurationLine();

/// Why the system itself refuses the request, before any extension is asked.
[[nodiscard]] std::optional<std::string> flawForPlatform(const BrowserRequest& request);

/// The relying party of a sign-in, and the IDs of the credentials that it accepts, as base64url;
/// none if it accepts any.
struct AllowedCredentials {
  std::string relyingParty;
  std::vector<std::string> credentialIDs;
};
[[nodiscard]] AllowedCredentials allowedCredentials(const BrowserRequest& request);

}  // namespace korvan::lab
