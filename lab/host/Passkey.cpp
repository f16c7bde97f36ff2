#include "lab/host/Passkey.h"

#include <memory>
#include <stdexcept>
#include <utility>

#include <glib.h>
#include <openssl/rand.h>

namespace korvan::host {
namespace {

constexpr std::size_t CredentialIDSize = 32;

std::string randomUuid() {
  const std::unique_ptr<char, decltype(&g_free)> uuid(g_uuid_string_random(), &g_free);
  return uuid.get();
}

}  // namespace

Passkey Passkey::create(std::string relyingPartyIdentifier, std::string userName, Data userHandle) {
  return {.recordIdentifier = randomUuid(),
          .relyingPartyIdentifier = std::move(relyingPartyIdentifier),
          .userName = std::move(userName),
          .userHandle = std::move(userHandle),
          .credentialID = randomData(CredentialIDSize),
          .key = SigningKey::generate(),
          .signCount = 0};
}

Data randomData(std::size_t size) {
  MutableData data = MutableData::uninitialized(size);
  if (RAND_bytes(data.bytes().data(), static_cast<int>(size)) != 1) {
    throw std::runtime_error("The system has no random bytes to give.");
  }
  return std::move(data).freeze();
}

}  // namespace korvan::host
