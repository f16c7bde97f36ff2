#pragma once

#include <functional>
#include <memory>

#import <AuthenticationServices/AuthenticationServices.h>

#include "platform/apple/AppleExtensionContext.h"
#include "platform/apple/AppleViews.h"
#include "platform/fake/FakePlatform.h"

namespace korvan {

/// The fakes, except for what belongs to the controller: its extension context and its views.
///
/// A program that links this gets one for each controller, since it defines makeApplePlatform
/// itself.
struct PartlyFakePlatform {
  PartlyFakePlatform(ASCredentialProviderViewController* _Nonnull controller,
                     SEL _Nonnull buttonAction);

  /// Called whenever a platform is made, on the thread that makes it. Empty at first.
  static std::function<void(const std::shared_ptr<PartlyFakePlatform>& made)>& onMake();

  const std::shared_ptr<FakePlatform> fakes = std::make_shared<FakePlatform>();
  AppleExtensionContext extensionContext;
  AppleViews views;
  const Services services;
};

}  // namespace korvan
