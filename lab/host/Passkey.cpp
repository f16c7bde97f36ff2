#include "lab/host/Passkey.h"

#include <memory>
#include <utility>

#include <glib.h>

#include "lab/support/RandomData.h"

namespace korvan::lab::host {
namespace {

constexpr std::size_t CredentialIDSize = 32;

std::string randomUuid() {
  const std::unique_ptr<char, decltype(&g_free)> uuid(g_uuid_string_random(), &g_free);
  return uuid.get();
}

}  // namespace

Passkey Passkey::create(std::string relyingPartyIdentifier, std::string userName, Data userHandle) {
  return {{.recordIdentifier = randomUuid(),
           .relyingPartyIdentifier = std::move(relyingPartyIdentifier),
           .userName = std::move(userName),
           .userHandle = std::move(userHandle),
           .credentialID = randomData(CredentialIDSize)},
          SigningKey::generate()};
}

}  // namespace korvan::lab::host
