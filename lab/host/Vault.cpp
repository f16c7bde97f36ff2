#include "lab/host/Vault.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

#include <glib.h>

// Has the errors of this JSON library say where in the document they are.
#define JSON_DIAGNOSTICS 1
#include <nlohmann/json.hpp>

#include "lab/support/Base64Url.h"
#include "lab/support/RandomData.h"

namespace korvan::lab::host {
namespace {

using Json = nlohmann::ordered_json;

constexpr int FormatVersion = 1;
constexpr int OwnerOnly = 0600;

std::vector<Passkey> seed() { return {Passkey::create("example.com", "alice", randomData(16))}; }

Data bytesAt(const Json& object, const char* name) {
  const std::optional<Data> bytes = fromBase64Url(object.at(name).get<std::string>());
  if (!bytes) {
    throw std::runtime_error(std::string(name) + " is not base64url without padding");
  }
  return *bytes;
}

std::uint32_t countAt(const Json& object, const char* name) {
  const Json& count = object.at(name);
  constexpr auto Most = std::numeric_limits<std::uint32_t>::max();
  if (!count.is_number_unsigned() || count.get<std::uint64_t>() > Most) {
    throw std::runtime_error(std::string(name) + " is not an integer from 0 to 4294967295");
  }
  return count.get<std::uint32_t>();
}

Passkey passkeyFrom(const Json& object) {
  return {.recordIdentifier = object.at("recordIdentifier").get<std::string>(),
          .relyingPartyIdentifier = object.at("relyingPartyIdentifier").get<std::string>(),
          .userName = object.at("userName").get<std::string>(),
          .userHandle = bytesAt(object, "userHandle"),
          .credentialID = bytesAt(object, "credentialID"),
          .key = SigningKey::fromPkcs8(bytesAt(object, "privateKey").bytes()),
          .signCount = countAt(object, "signCount")};
}

Json jsonOf(const Passkey& passkey) {
  return {{"recordIdentifier", passkey.recordIdentifier},
          {"relyingPartyIdentifier", passkey.relyingPartyIdentifier},
          {"userName", passkey.userName},
          {"userHandle", base64Url(passkey.userHandle.bytes())},
          {"credentialID", base64Url(passkey.credentialID.bytes())},
          {"privateKey", base64Url(passkey.key.pkcs8().bytes())},
          {"signCount", passkey.signCount}};
}

std::vector<Passkey> passkeysFrom(const Json& document) {
  if (document.at("version") != FormatVersion) {
    throw std::runtime_error("version is not 1");
  }
  std::vector<Passkey> passkeys;
  for (const Json& entry : document.at("passkeys").get_ref<const Json::array_t&>()) {
    try {
      passkeys.push_back(passkeyFrom(entry));
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
    list.push_back(jsonOf(passkey));
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
