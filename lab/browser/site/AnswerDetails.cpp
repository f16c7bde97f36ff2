#include "lab/browser/site/AnswerDetails.h"

#include "lab/site/AttestationReader.h"
#include "lab/site/StatementJudge.h"
#include "lab/site/ValueWords.h"
#include "lab/support/AuthenticatorFlags.h"
#include "lab/support/Base64Url.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

using Details = std::vector<AnswerDetail>;

void addAttested(Details& details, const Data& bytes) {
  if (const auto attested = readAttestedCredentialData(bytes)) {
    details.emplace_back("Authenticator model (AAGUID)", hexadecimalOf(attested->aaguid.bytes()));
    details.emplace_back("Public key (COSE)", hexadecimalOf(attested->coseKey.bytes()));
  }
}

void addStatement(Details& details, const Data& bytes) {
  const auto statement = readAuthenticatorData(bytes);
  if (!statement) {
    details.emplace_back("Authenticator data", hexadecimalOf(bytes.bytes()));
    return;
  }
  details.emplace_back("Relying party's SHA-256",
                       hexadecimalOf(statement->relyingPartyHash.bytes()));
  details.emplace_back("Flags", wordsForFlags(statement->flags));
  details.emplace_back("Sign count", std::to_string(statement->signCount));
  if ((statement->flags & AttestedCredentialDataIncluded) != 0) {
    addAttested(details, statement->rest);
  }
}

}  // namespace

Details detailsOf(const WebCredential& credential) {
  Details details{{"Credential ID", base64Url(credential.credentialID.bytes())},
                  {"Client data", visibleText(credential.clientDataJSON)}};
  if (const auto& object = credential.attestationObject) {
    addStatement(details, readAttestationObject(*object).value_or(*object));
  }
  // A registration's is the one in the attestation object.
  if (credential.authenticatorData && !credential.attestationObject) {
    addStatement(details, *credential.authenticatorData);
  }
  if (credential.signature) {
    details.emplace_back("Signature", hexadecimalOf(credential.signature->bytes()));
  }
  if (credential.userHandle) {
    details.emplace_back("User handle", base64Url(credential.userHandle->bytes()));
  }
  return details;
}

}  // namespace korvan::lab
