#pragma once

#include <memory>

#import <AuthenticationServices/AuthenticationServices.h>

#include "platform/Services.h"

namespace korvan {

/// The services of the system for one controller, which they do not own. A button sends
/// `buttonAction` to the controller.
[[nodiscard]] std::shared_ptr<const Services> makeApplePlatform(
    ASCredentialProviderViewController* _Nonnull controller, SEL _Nonnull buttonAction);

}  // namespace korvan
