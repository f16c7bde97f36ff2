#include "lab/browser/BrowserProfile.h"

#include <fstream>
#include <stdexcept>
#include <system_error>
#include <utility>

#include <nlohmann/json.hpp>

#include "lab/browser/BridgeSettings.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

void writeFile(const fs::path& file, const std::string& text) {
  if (!(std::ofstream(file) << text << std::flush)) {
    throw std::system_error(errno, std::generic_category(), "cannot write " + file.string());
  }
}

/// One word of the shell.
std::string shellWord(const std::string& text) {
  std::string word = "'";
  for (const char character : text) {
    word += character == '\'' ? std::string("'\\''") : std::string(1, character);
  }
  return word + "'";
}

/// The extension, beside the lab's program as the build puts it.
fs::path builtExtension(const fs::path& program) {
  const fs::path extension = program.parent_path() / "browser-extension";
  if (!fs::exists(extension / "manifest.json")) {
    throw std::runtime_error("the extension for the browser is missing: there is no " +
                             extension.string() + ".");
  }
  return extension;
}

}  // namespace

fs::path BrowserProfile::bridgeManifest() const {
  return userData() / "NativeMessagingHosts" / (std::string(BridgeName) + ".json");
}

void BrowserProfile::write(const LabSettings& settings, const fs::path& program) const {
  for (const fs::path& folder : {bridgeManifest().parent_path(), temporary()}) {
    fs::create_directories(folder);
  }
  fs::copy(builtExtension(program), extension(),
           fs::copy_options::recursive | fs::copy_options::overwrite_existing);
  writeFile(settingsFile(), bridgeSettingsText(settings));
  // A manifest names a program without arguments.
  const fs::path bridge = directory_ / "bridge";
  writeFile(bridge, "#!/bin/sh\nexec " + shellWord(program) + " browser-bridge " +
                        shellWord(directory_) + "\n");
  fs::permissions(bridge, fs::perms::owner_all);
  const nlohmann::ordered_json manifest = {
      {"name", BridgeName},
      {"description", "Passes passkey requests to the Korvan AutoFill lab"},
      {"path", bridge.string()},
      {"type", "stdio"},
      {"allowed_origins", {"chrome-extension://" + std::string(ExtensionIdentifier) + "/"}}};
  writeFile(bridgeManifest(), manifest.dump(2) + "\n");
}

void BrowserProfile::writeStartPage(const std::string& url) const {
  writeFile(extension() / "start.json", nlohmann::json{{"url", url}}.dump());
}

}  // namespace korvan::lab
