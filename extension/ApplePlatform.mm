#include "extension/ApplePlatform.h"

#include "platform/apple/AppleAppGroupContainers.h"
#include "platform/apple/AppleClock.h"
#include "platform/apple/AppleCodeSigning.h"
#include "platform/apple/AppleExtensionContext.h"
#include "platform/apple/AppleLocalSockets.h"
#include "platform/apple/AppleLocalizedStrings.h"
#include "platform/apple/AppleOperatingSystem.h"
#include "platform/apple/ApplePropertyListSerialization.h"
#include "platform/apple/AppleQueues.h"
#include "platform/apple/AppleViews.h"
#include "platform/apple/AppleWorkspace.h"

namespace korvan {
namespace {

struct ApplePlatform {
  ApplePlatform(ASCredentialProviderViewController* controller, SEL buttonAction)
      : extensionContext(controller), views(controller, buttonAction) {}

  AppleAppGroupContainers appGroupContainers;
  AppleClock clock;
  AppleCodeSigning codeSigning;
  AppleExtensionContext extensionContext;
  AppleLocalSockets localSockets;
  AppleLocalizedStrings localizedStrings;
  AppleOperatingSystem operatingSystem;
  ApplePropertyListSerialization propertyLists;
  AppleQueues queues;
  AppleViews views;
  AppleWorkspace workspace;
  const Services services{.appGroupContainers = appGroupContainers,
                          .clock = clock,
                          .codeSigning = codeSigning,
                          .extensionContext = extensionContext,
                          .localSockets = localSockets,
                          .localizedStrings = localizedStrings,
                          .operatingSystem = operatingSystem,
                          .propertyLists = propertyLists,
                          .queues = queues,
                          .views = views,
                          .workspace = workspace};
};

}  // namespace

std::shared_ptr<const Services> makeApplePlatform(ASCredentialProviderViewController* controller,
                                                  SEL buttonAction) {
  const auto platform = std::make_shared<ApplePlatform>(controller, buttonAction);
  return {platform, &platform->services};
}

}  // namespace korvan
