#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace korvan {

/// The family that an error's code belongs to.
enum class ErrorDomain : std::uint8_t {
  /// NSPOSIXErrorDomain: codes are `errno` values.
  posix,
  /// NSOSStatusErrorDomain: codes are the Security framework's status values.
  osStatus,
  /// ASExtensionErrorDomain: codes are ExtensionErrorCode values.
  extension,
};

/// The domain's name as the platform writes it.
[[nodiscard]] std::string_view nameOfErrorDomain(ErrorDomain domain) noexcept;

/// What an error carries in addition to its code.
struct ErrorUserInfo {
  /// NSLocalizedDescriptionKey: a text for people.
  std::optional<std::string> localizedDescription;
  friend bool operator==(const ErrorUserInfo&, const ErrorUserInfo&) = default;
};

/// An NSError: domain, code and user info.
struct Error {
  ErrorDomain domain = ErrorDomain::posix;
  std::int64_t code = 0;
  /// The platform distinguishes nullopt, which is no dictionary, from an empty dictionary.
  std::optional<ErrorUserInfo> userInfo;

  [[nodiscard]] std::optional<std::string> localizedDescription() const {
    return userInfo ? userInfo->localizedDescription : std::nullopt;
  }
  friend bool operator==(const Error&, const Error&) = default;
};

/// ASExtensionErrorCode, from AuthenticationServices.
enum class ExtensionErrorCode : std::int64_t {
  failed = 0,
  userCanceled = 1,
  userInteractionRequired = 100,
  credentialIdentityNotFound = 101,
  /// Known to the platform from macOS 15.0 on.
  matchedExcludedCredential = 102,
};

}  // namespace korvan
