#pragma once

#include <memory>

#import <AuthenticationServices/AuthenticationServices.h>

#include "platform/Services.h"

namespace korvan {

/// The system's services for one controller, which they do not own. Buttons send `buttonAction` to
/// the controller.
[[nodiscard]] std::shared_ptr<const Services> makeApplePlatform(
    ASCredentialProviderViewController* _Nonnull controller, SEL _Nonnull buttonAction);

}  // namespace korvan
