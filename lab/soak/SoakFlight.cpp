#include "lab/soak/SoakFlight.h"

#include <cstddef>
#include <string_view>
#include <utility>
#include <variant>

#include "lab/soak/SoakCall.h"

namespace korvan::lab::soak {
namespace {

constexpr std::string_view ReturnKey = "\r";

/// Keeps every end of the request, however many there are.
class SoakContext final : public ExtensionContext {
 public:
  void completeExtensionConfigurationRequest() override { add(CompletedConfiguration()); }
  void completeAssertionRequest(const PasskeyAssertionCredential& credential) override {
    add(CompletedAssertion{credential});
  }
  void completeRegistrationRequest(const PasskeyRegistrationCredential& credential) override {
    add(CompletedRegistration{credential});
  }
  void cancelRequest(const Error& error) override {
    add(Cancelled{.error = error, .noticeShown = noticeShown});
  }

  void add(Outcome outcome) { outcomes.push_back(std::move(outcome)); }

  std::vector<Outcome> outcomes;
  bool noticeShown = false;
};

/// The host application as the extension opens and counts it.
class SoakWorkspace final : public Workspace {
 public:
  explicit SoakWorkspace(const Workspace& workspace) : workspace_(workspace) {}

  [[nodiscard]] bool openURL(std::string_view url) const override {
    isLaunched_ = true;
    return workspace_.openURL(url);
  }
  [[nodiscard]] std::size_t runningApplicationCount(
      std::string_view bundleIdentifier) const override {
    return workspace_.runningApplicationCount(bundleIdentifier);
  }

  [[nodiscard]] bool isLaunched() const noexcept { return isLaunched_; }

 private:
  const Workspace& workspace_;
  mutable bool isLaunched_ = false;
};

}  // namespace

struct SoakFlight::Session {
  Session(std::uint64_t number, LabPlatform& platform, SoakSite& site)
      : queues(platform.systemQueues, platform.mainContext.get()),
        sockets(platform.localSockets, number),
        workspace(site.workspace),
        services{.appGroupContainers = site.containers,
                 .clock = platform.clock,
                 .codeSigning = platform.codeSigning,
                 .extensionContext = context,
                 .localSockets = sockets,
                 .localizedStrings = platform.localizedStrings,
                 .operatingSystem = platform.operatingSystem,
                 .propertyLists = platform.propertyLists,
                 .queues = queues,
                 .views = views,
                 .workspace = workspace} {}

  CountedQueues queues;
  NumberedSockets sockets;
  SoakContext context;
  LabViews views;
  SoakWorkspace workspace;
  Services services;
  std::int64_t start = now();
};

SoakFlight::SoakFlight(const SoakPlan& plan, std::uint64_t number, LabPlatform& platform,
                       SoakSite& site)
    : plan_(plan),
      number_(number),
      session_(std::make_shared<Session>(number, platform, site)),
      controller_(std::make_shared<CredentialProviderViewController>(
          std::shared_ptr<const Services>(session_, &session_->services))) {}

SoakFlight::~SoakFlight() = default;

void SoakFlight::start() {
  const Call call = soakCall(plan_, number_);
  call.invoke(*controller_);
  if (call.isReport) {
    session_->context.add(Returned());
  }
}

bool SoakFlight::isOver() {
  if (!session_->queues.isIdle()) {
    return false;
  }
  if (session_->views.hasButtonFor(ReturnKey)) {
    session_->context.noticeShown = true;
    session_->views.press(ReturnKey);
  }
  return session_->queues.isIdle();
}

SoakEvidence SoakFlight::land() {
  const std::weak_ptr<CredentialProviderViewController> controller = controller_;
  controller_ = nullptr;
  return {.number = number_,
          .start = session_->start,
          .end = now(),
          .isLaunched = session_->workspace.isLaunched(),
          .outcomes = session_->context.outcomes,
          .attempts = session_->sockets.attempts(),
          // The session holds what the controller's view shows.
          .isKept = !controller.expired() || session_.use_count() != 1};
}

}  // namespace korvan::lab::soak
