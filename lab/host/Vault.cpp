#include "lab/host/Vault.h"

#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include <glib.h>
#include <nlohmann/json.hpp>

#include "lab/support/RandomData.h"

namespace korvan::lab::host {
namespace {

using Json = nlohmann::ordered_json;

constexpr int FormatVersion = 1;
constexpr int OwnerOnly = 0600;

std::vector<Passkey> seed() { return {Passkey::create("example.com", "alice", randomData(16))}; }

std::vector<Passkey> passkeysFrom(const Json& document) {
  if (document.at("version") != FormatVersion) {
    throw std::runtime_error("version is not 1");
  }
  const Json& list = document.at("passkeys");
  if (!list.is_array()) {
    throw std::runtime_error("passkeys is not an array");
  }
  std::vector<Passkey> passkeys;
  for (const Json& entry : list) {
    try {
      passkeys.push_back({passkeyRecordFrom(entry),
                          SigningKey::fromPkcs8(bytesFrom(entry, "privateKey").bytes())});
    } catch (const std::exception& error) {
      throw std::runtime_error("passkeys[" + std::to_string(passkeys.size()) +
                               "]: " + error.what());
    }
  }
  return passkeys;
}

std::string textOf(const std::vector<Passkey>& passkeys) {
  Json list = Json::array();
  for (const Passkey& passkey : passkeys) {
    list.push_back(jsonOf(passkey, "privateKey", passkey.key.pkcs8()));
  }
  return Json{{"version", FormatVersion}, {"passkeys", list}}.dump(2) + "\n";
}

void require(bool done, GError* error) {
  const std::unique_ptr<GError, decltype(&g_error_free)> owner(error, &g_error_free);
  if (!done) {
    throw std::runtime_error(error->message);
  }
}

std::string readFile(const std::filesystem::path& file) {
  char* contents = nullptr;
  std::size_t size = 0;
  GError* error = nullptr;
  const bool done = g_file_get_contents(file.c_str(), &contents, &size, &error) != 0;
  const std::unique_ptr<char, decltype(&g_free)> owner(contents, &g_free);
  require(done, error);
  return {contents, size};
}

void writeFile(const std::filesystem::path& file, const std::string& text) {
  // Another file, brought to the disk and then renamed. (Flags, of which the library takes a set.)
  // NOLINTNEXTLINE(clang-analyzer-optin.core.EnumCastOutOfRange)
  constexpr auto Flags = static_cast<GFileSetContentsFlags>(G_FILE_SET_CONTENTS_CONSISTENT |
                                                            G_FILE_SET_CONTENTS_DURABLE);
  // Some versions of GLib leave an existing file's mode as it is. There may be no file yet.
  std::error_code ignored;
  std::filesystem::permissions(file, std::filesystem::perms{OwnerOnly}, ignored);
  GError* error = nullptr;
  const bool done = g_file_set_contents_full(file.c_str(), text.data(), std::ssize(text), Flags,
                                             OwnerOnly, &error) != 0;
  require(done, error);
}

}  // namespace

Vault::Vault() : passkeys_(seed()) {}

Vault::Vault(const std::filesystem::path& file)
    : file_(std::filesystem::weakly_canonical(std::filesystem::absolute(file))) {
  if (!std::filesystem::exists(file_)) {
    replacePasskeys(seed());
    return;
  }
  const std::string text = readFile(file_);
  try {
    passkeys_ = passkeysFrom(Json::parse(text));
  } catch (const std::exception& error) {
    throw std::runtime_error("The vault " + file_.string() + " is malformed: " + error.what());
  }
}

void Vault::replacePasskeys(std::vector<Passkey> passkeys) {
  if (!file_.empty()) {
    writeFile(file_, textOf(passkeys));
  }
  passkeys_ = std::move(passkeys);
}

}  // namespace korvan::lab::host
