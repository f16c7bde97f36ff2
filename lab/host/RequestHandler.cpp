#include "lab/host/RequestHandler.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <ranges>
#include <string>
#include <utility>
#include <vector>

#include "lab/host/AuthenticatorData.h"
#include "lab/host/Refusal.h"
#include "lab/support/AuthenticatorFlags.h"

namespace korvan::lab::host {
namespace {

/// ECDSA on P-256 with SHA-256: https://www.iana.org/assignments/cose/cose.xhtml#algorithms.
constexpr std::int64_t Es256 = -7;

/// Of the SHA-256 of the client data:
/// https://www.w3.org/TR/webauthn-3/#collectedclientdata-hash-of-the-serialized-client-data.
constexpr std::size_t ClientDataHashSize = 32;

/// The most bytes of a user handle: https://www.w3.org/TR/webauthn-3/#user-handle.
constexpr std::size_t MaxUserHandleSize = 64;

/// Present and verified, see the class; a passkey in a vault that is synchronized is backed up.
constexpr std::uint8_t CommonFlags = UserPresent | UserVerified | BackupEligible | BackedUp;

bool contains(const auto& list, const auto& value) {
  return std::ranges::find(list, value) != list.end();
}

PropertyListDictionary success() { return {{"ok", true}}; }

Data clientDataHash(const RequestFields& request) {
  Data hash = request.data("clientDataHash");
  if (hash.size() != ClientDataHashSize) {
    throw Refusal("failed", "The request's clientDataHash has " + std::to_string(hash.size()) +
                                " bytes instead of 32.");
  }
  return hash;
}

/// A copy, because a value of the request would keep the whole request in memory for the vault.
Data userHandle(const RequestFields& request) {
  const Data handle = request.data("userHandle");
  if (handle.empty() || handle.size() > MaxUserHandleSize) {
    throw Refusal("failed", "The request's userHandle has " + std::to_string(handle.size()) +
                                " bytes instead of 1 to 64.");
  }
  return Data::copyOf(handle.bytes());
}

/// Unlocked is verified, but a relying party that demands user verification means: at this sign-in.
void requireVerifiableUser(const RequestFields& request) {
  if (request.string("userVerificationPreference") == "required" &&
      !request.boolean("allowsUserInteraction")) {
    throw Refusal("userInteractionRequired", "The relying party demands user verification.");
  }
}

/// The newest passkey that fits all that the request says; what it left empty fits any. The relying
/// party always has to fit: nobody gets another party's signature by naming its passkey.
Passkey& find(std::vector<Passkey>& passkeys, const RequestFields& request) {
  const std::string recordIdentifier = request.string("recordIdentifier");
  const std::string relyingPartyIdentifier = request.string("relyingPartyIdentifier");
  const Data credentialID = request.data("credentialID");
  const std::vector<Data> allowed = request.dataArray("allowedCredentials");
  for (Passkey& passkey : passkeys | std::views::reverse) {
    if (passkey.relyingPartyIdentifier == relyingPartyIdentifier &&
        (recordIdentifier.empty() || passkey.recordIdentifier == recordIdentifier) &&
        (credentialID.empty() || passkey.credentialID == credentialID) &&
        (allowed.empty() || contains(allowed, passkey.credentialID))) {
      return passkey;
    }
  }
  throw Refusal("credentialNotFound", "No passkey in the vault matches the request.");
}

void countSignature(Passkey& passkey) {
  if (passkey.signCount == std::numeric_limits<std::uint32_t>::max()) {
    throw Refusal("failed", "The passkey's sign count is used up.");
  }
  ++passkey.signCount;
}

Data signature(const Passkey& passkey, const Data& authenticatorData, const Data& clientDataHash) {
  std::vector<std::uint8_t> message(authenticatorData.bytes().begin(),
                                    authenticatorData.bytes().end());
  message.insert(message.end(), clientDataHash.bytes().begin(), clientDataHash.bytes().end());
  return passkey.key.sign(message);
}

/// An empty list stands for WebAuthn's defaults, which include ES256
/// (https://www.w3.org/TR/webauthn-3/#dom-publickeycredentialcreationoptions-pubkeycredparams).
void requireEs256(const RequestFields& request) {
  const std::vector<std::int64_t> algorithms = request.integerArray("supportedAlgorithms");
  if (!algorithms.empty() && !contains(algorithms, Es256)) {
    throw Refusal("failed", "The request's supportedAlgorithms lack ES256 (-7).");
  }
}

void requireNoneExcluded(const std::vector<Passkey>& passkeys,
                         const std::string& relyingPartyIdentifier,
                         const std::vector<Data>& excluded) {
  for (const Passkey& passkey : passkeys) {
    if (passkey.relyingPartyIdentifier == relyingPartyIdentifier &&
        contains(excluded, passkey.credentialID)) {
      throw Refusal("matchedExcludedCredential",
                    "The vault already has a passkey that the request excludes.");
    }
  }
}

bool isOfUser(const Passkey& passkey, const std::string& relyingPartyIdentifier,
              const Data& handle) {
  return passkey.relyingPartyIdentifier == relyingPartyIdentifier && passkey.userHandle == handle;
}

Passkey newPasskey(const RequestFields& request) {
  std::string relyingPartyIdentifier = request.string("relyingPartyIdentifier");
  if (relyingPartyIdentifier.empty()) {
    throw Refusal("failed", "The request's relyingPartyIdentifier is empty.");
  }
  return Passkey::create(std::move(relyingPartyIdentifier), request.string("userName"),
                         userHandle(request));
}

}  // namespace

RequestHandler::RequestHandler(Vault& vault, Behavior behavior, std::function<void()> unlocked)
    : vault_(vault),
      userCancels_(behavior.userCancels),
      unlocked_(std::move(unlocked)),
      locked_(behavior.locked) {}

PropertyListDictionary RequestHandler::answer(const PropertyListDictionary& request) {
  const std::scoped_lock lock(mutex_);
  try {
    return handle(RequestFields(request));
  } catch (const Refusal& refusal) {
    return refusal.response();
  } catch (const std::exception& error) {
    return Refusal("failed", error.what()).response();
  }
}

RequestHandler::Handler RequestHandler::handlerFor(std::string_view type) {
  using Row = std::pair<std::string_view, Handler>;
  static constexpr std::array Table{
      Row("assertion", &RequestHandler::assertion),
      Row("interactiveAssertion", &RequestHandler::assertion),
      Row("registration", &RequestHandler::registration),
      Row("synchronize", &RequestHandler::synchronize),
      Row("updateUserName", &RequestHandler::updateUserName),
      Row("removeUnknownCredential", &RequestHandler::removeUnknownCredential),
      Row("acceptedCredentials", &RequestHandler::acceptedCredentials),
  };
  const auto* const row = std::ranges::find(Table, type, &Row::first);
  if (row == Table.end()) {
    throw Refusal("failed", "The request's type is unknown.");
  }
  return row->second;
}

PropertyListDictionary RequestHandler::handle(const RequestFields& request) {
  const Handler handler = handlerFor(request.string("type"));
  unlock(request);
  return (this->*handler)(request);
}

PropertyListDictionary RequestHandler::assertion(const RequestFields& request) {
  const Data hash = clientDataHash(request);
  if (request.boolean("allowsUserInteraction")) {
    askUser();
  }
  std::vector<Passkey> passkeys = vault_.passkeys();
  Passkey& passkey = find(passkeys, request);
  requireVerifiableUser(request);

  countSignature(passkey);
  const Data statement =
      authenticatorData(passkey.relyingPartyIdentifier, CommonFlags, passkey.signCount);
  PropertyListDictionary response{
      {"ok", true},
      {"userHandle", passkey.userHandle},
      {"relyingPartyIdentifier", std::string_view(passkey.relyingPartyIdentifier)},
      {"signature", signature(passkey, statement, hash)},
      {"clientDataHash", hash},
      {"authenticatorData", statement},
      {"credentialID", passkey.credentialID}};
  vault_.replacePasskeys(std::move(passkeys));
  return response;
}

PropertyListDictionary RequestHandler::registration(const RequestFields& request) {
  const Data hash = clientDataHash(request);
  const Passkey passkey = newPasskey(request);
  requireEs256(request);
  if (request.boolean("allowsUserInteraction")) {
    askUser();
  }
  std::vector<Passkey> passkeys = vault_.passkeys();
  requireNoneExcluded(passkeys, passkey.relyingPartyIdentifier,
                      request.dataArray("excludedCredentials"));
  requireVerifiableUser(request);

  const Data statement = authenticatorData(
      passkey.relyingPartyIdentifier, CommonFlags | AttestedCredentialDataIncluded,
      passkey.signCount, attestedCredentialData(passkey.credentialID.bytes(), passkey.key).bytes());
  // A user has one discoverable credential at a relying party: a new one takes the old one's place.
  std::erase_if(passkeys, [&](const Passkey& old) {
    return isOfUser(old, passkey.relyingPartyIdentifier, passkey.userHandle);
  });
  passkeys.push_back(passkey);
  vault_.replacePasskeys(std::move(passkeys));
  return {{"ok", true},
          {"relyingPartyIdentifier", std::string_view(passkey.relyingPartyIdentifier)},
          {"clientDataHash", hash},
          {"credentialID", passkey.credentialID},
          {"attestationObject", attestationObject(statement.bytes())}};
}

// A real host would hand the system its current credential identities here; the lab's system keeps
// none.
PropertyListDictionary RequestHandler::synchronize(const RequestFields& /*request*/) {
  return success();
}

PropertyListDictionary RequestHandler::updateUserName(const RequestFields& request) {
  const std::string relyingPartyIdentifier = request.string("relyingPartyIdentifier");
  const Data handle = request.data("userHandle");
  const std::string userName = request.string("userName");
  std::vector<Passkey> passkeys = vault_.passkeys();
  for (Passkey& passkey : passkeys) {
    if (isOfUser(passkey, relyingPartyIdentifier, handle)) {
      passkey.userName = userName;
    }
  }
  vault_.replacePasskeys(std::move(passkeys));
  return success();
}

PropertyListDictionary RequestHandler::removeUnknownCredential(const RequestFields& request) {
  const std::string relyingPartyIdentifier = request.string("relyingPartyIdentifier");
  const Data credentialID = request.data("credentialID");
  std::vector<Passkey> passkeys = vault_.passkeys();
  std::erase_if(passkeys, [&](const Passkey& passkey) {
    return passkey.relyingPartyIdentifier == relyingPartyIdentifier &&
           passkey.credentialID == credentialID;
  });
  vault_.replacePasskeys(std::move(passkeys));
  return success();
}

PropertyListDictionary RequestHandler::acceptedCredentials(const RequestFields& request) {
  const std::string relyingPartyIdentifier = request.string("relyingPartyIdentifier");
  const Data handle = request.data("userHandle");
  const std::vector<Data> accepted = request.dataArray("acceptedCredentialIDs");
  std::vector<Passkey> passkeys = vault_.passkeys();
  std::erase_if(passkeys, [&](const Passkey& passkey) {
    return isOfUser(passkey, relyingPartyIdentifier, handle) &&
           !contains(accepted, passkey.credentialID);
  });
  vault_.replacePasskeys(std::move(passkeys));
  return success();
}

void RequestHandler::unlock(const RequestFields& request) {
  const bool allowsUserInteraction = request.boolean("allowsUserInteraction");
  if (!locked_) {
    return;
  }
  if (!allowsUserInteraction) {
    throw Refusal("vaultLocked", "The vault is locked.");
  }
  askUser();
  locked_ = false;
  unlocked_();
}

void RequestHandler::askUser() const {
  if (userCancels_) {
    throw Refusal("userCanceled", "The user canceled.");
  }
}

}  // namespace korvan::lab::host
