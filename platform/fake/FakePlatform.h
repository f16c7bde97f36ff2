#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "platform/PropertyList.h"
#include "platform/Services.h"
#include "platform/fake/FakeAppGroupContainers.h"
#include "platform/fake/FakeClock.h"
#include "platform/fake/FakeCodeSigning.h"
#include "platform/fake/FakeExtensionContext.h"
#include "platform/fake/FakeLocalSockets.h"
#include "platform/fake/FakeLocalizedStrings.h"
#include "platform/fake/FakeOperatingSystem.h"
#include "platform/fake/FakePropertyListSerialization.h"
#include "platform/fake/FakeQueues.h"
#include "platform/fake/FakeViews.h"
#include "platform/fake/FakeWorkspace.h"

namespace korvan {

/// All fakes together. By default nothing fails except what the host refuses.
class FakePlatform : public std::enable_shared_from_this<FakePlatform> {
 public:
  using Host = std::function<PropertyListValue(const PropertyListDictionary& request)>;

  [[nodiscard]] std::shared_ptr<const Services> services();

  /// A peer that answers every request with the result of `host`.
  [[nodiscard]] FakePeer answering(Host host);
  /// A peer that answers with bytes that are not a property list.
  [[nodiscard]] static FakePeer answeringGarbage();
  /// No peer: the connection is refused.
  [[nodiscard]] static FakePeer refusing();

  /// The requests to peers made by answering(), in order.
  std::vector<PropertyListDictionary> requests;

  FakeAppGroupContainers appGroupContainers;
  FakeClock clock;
  FakeCodeSigning codeSigning;
  FakeLocalSockets localSockets;
  FakeLocalizedStrings localizedStrings;
  FakeOperatingSystem operatingSystem;
  FakePropertyListSerialization propertyLists;
  FakeQueues queues;
  FakeExtensionContext extensionContext{queues};
  FakeViews views;
  FakeWorkspace workspace{queues};

 private:
  Services services_{.appGroupContainers = appGroupContainers,
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

/// The frame that carries `body`.
[[nodiscard]] FakePeer::Bytes framed(std::span<const std::uint8_t> body);

}  // namespace korvan
