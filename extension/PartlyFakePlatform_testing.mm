#include "extension/PartlyFakePlatform_testing.h"

#include "extension/ApplePlatform.h"

namespace korvan {

PartlyFakePlatform::PartlyFakePlatform(ASCredentialProviderViewController* controller,
                                       SEL buttonAction)
    : extensionContext(controller),
      views(controller, buttonAction),
      services{.appGroupContainers = fakes->appGroupContainers,
               .clock = fakes->clock,
               .codeSigning = fakes->codeSigning,
               .extensionContext = extensionContext,
               .localSockets = fakes->localSockets,
               .localizedStrings = fakes->localizedStrings,
               .operatingSystem = fakes->operatingSystem,
               .propertyLists = fakes->propertyLists,
               .queues = fakes->queues,
               .views = views,
               .workspace = fakes->workspace} {}

std::function<void(const std::shared_ptr<PartlyFakePlatform>&)>& PartlyFakePlatform::onMake() {
  static std::function<void(const std::shared_ptr<PartlyFakePlatform>&)> called;
  return called;
}

std::shared_ptr<const Services> makeApplePlatform(ASCredentialProviderViewController* controller,
                                                  SEL buttonAction) {
  const auto platform = std::make_shared<PartlyFakePlatform>(controller, buttonAction);
  if (PartlyFakePlatform::onMake()) {
    PartlyFakePlatform::onMake()(platform);
  }
  return {platform, &platform->services};
}

}  // namespace korvan
