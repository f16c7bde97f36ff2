#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "lab/system/LabSettings.h"

namespace korvan::lab {

/// The files of a browser that asks the lab for passkeys, in a directory of their own: the
/// browser's own profile, the browser's extension, and what bridges need.
class BrowserProfile {
 public:
  /// The ID that the key in the extension's manifest gives it.
  static constexpr std::string_view ExtensionIdentifier = "ndpbaafgcfnnpnjmgegomfcoiombhpon";
  /// What the extension calls its native-messaging host.
  static constexpr std::string_view BridgeName = "example.korvan.lab.browser_bridge";

  /// Names the files; writes none.
  explicit BrowserProfile(std::filesystem::path directory) : directory_(std::move(directory)) {}

  /// Writes the files into the directory, which must exist. `program` is the lab's own. Throws
  /// std::runtime_error when something cannot be written, or the extension is not with the program.
  void write(const LabSettings& settings, const std::filesystem::path& program) const;

  /// Has the browser's extension open this page when the browser has started.
  void writeStartPage(const std::string& url) const;

  /// The browser's own profile.
  [[nodiscard]] std::filesystem::path userData() const { return directory_ / "user-data"; }
  /// For the temporary files that the browser would leave behind.
  [[nodiscard]] std::filesystem::path temporary() const { return directory_ / "temporary"; }
  [[nodiscard]] std::filesystem::path extension() const { return directory_ / "extension"; }
  /// The native-messaging manifest, which tells the browser where the bridge is.
  [[nodiscard]] std::filesystem::path bridgeManifest() const;
  [[nodiscard]] std::filesystem::path browserLog() const { return directory_ / "browser.log"; }

  [[nodiscard]] std::filesystem::path settingsFile() const { return directory_ / "settings.json"; }
  [[nodiscard]] std::filesystem::path identitiesFile() const { return directory_ / "identities"; }
  [[nodiscard]] std::filesystem::path storySocket() const { return directory_ / "stories.sock"; }

 private:
  const std::filesystem::path directory_;
};

}  // namespace korvan::lab
