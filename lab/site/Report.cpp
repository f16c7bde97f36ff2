#include "lab/site/Report.h"

#include <algorithm>
#include <utility>

namespace korvan::lab {

Call updatedUserNameReport(std::string relyingParty, Data userHandle, std::string newName) {
  return {.invoke =
              [relyingParty = std::move(relyingParty), userHandle = std::move(userHandle),
               newName = std::move(newName)](CredentialProviderViewController& controller) {
                controller.reportPublicKeyCredentialUpdateForRelyingParty(relyingParty, userHandle,
                                                                          newName);
              },
          .isReport = true};
}

Call unknownCredentialReport(std::string relyingParty, Data credentialID) {
  return {
      .invoke =
          [relyingParty = std::move(relyingParty),
           credentialID = std::move(credentialID)](CredentialProviderViewController& controller) {
            controller.reportUnknownPublicKeyCredentialForRelyingParty(relyingParty, credentialID);
          },
      .isReport = true};
}

Call acceptedCredentialsReport(std::string relyingParty, Data userHandle,
                               std::vector<Data> acceptedCredentialIDs) {
  return {.invoke =
              [relyingParty = std::move(relyingParty), userHandle = std::move(userHandle),
               accepted =
                   std::move(acceptedCredentialIDs)](CredentialProviderViewController& controller) {
                controller.reportAllAcceptedPublicKeyCredentialsForRelyingParty(
                    relyingParty, userHandle, accepted);
              },
          .isReport = true};
}

bool wasDelivered(const CallReport& report) {
  return std::ranges::any_of(report.frames, [](const RecordedFrame& frame) {
    return frame.direction == Direction::request;
  });
}

}  // namespace korvan::lab
