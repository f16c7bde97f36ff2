#include "lab/soak/SoakFlight.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "channel/ProviderFrame.h"
#include "channel/ProviderMessage.h"
#include "lab/soak/Behavior.h"
#include "lab/soak/plan/ClientName.h"
#include "lab/soak/plan/SoakLog.h"
#include "lab/system/CountedQueues.h"
#include "lab/system/ForwardedSockets.h"
#include "lab/system/views/LabViews.h"
#include "platform/ExtensionContext.h"
#include "platform/Workspace.h"

namespace korvan::lab::soak {
namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::string_view ReturnKey = "\r";

/// The kernel's sockets for one request: they show the host the request's number and which attempt
/// it is, and keep what is sent. Used by one thread at a time.
class NumberedSockets final : public ForwardedSockets {
 public:
  NumberedSockets(const LocalSockets& sockets, std::uint64_t number)
      : ForwardedSockets(sockets), number_(number) {}

  [[nodiscard]] int connect(int descriptor, std::string_view path) const override {
    sent_.emplace_back();
    const ClientName name{.number = number_, .attempt = static_cast<std::uint32_t>(sent_.size())};
    return bindToName(descriptor, name) == 0 ? ForwardedSockets::connect(descriptor, path) : -1;
  }

  [[nodiscard]] std::ptrdiff_t send(int descriptor,
                                    std::span<const std::uint8_t> bytes) const override {
    const std::ptrdiff_t count = ForwardedSockets::send(descriptor, bytes);
    const int keptErrno = errno;
    const auto sent = bytes.first(static_cast<std::size_t>(std::max<std::ptrdiff_t>(count, 0)));
    sent_.back().insert(sent_.back().end(), sent.begin(), sent.end());
    errno = keptErrno;
    return count;
  }

  /// What each attempt sent.
  [[nodiscard]] const std::vector<Bytes>& sent() const noexcept { return sent_; }

 private:
  const std::uint64_t number_;
  mutable std::vector<Bytes> sent_;
};

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
    add(Canceled{.error = error, .noticeShown = noticeShown});
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

/// True when `sent` is one frame whose message is the request's.
bool isFrameOf(const SoakRequest& request, const PropertyListSerialization& propertyLists,
               std::span<const std::uint8_t> sent) {
  ProviderFramePrefix prefix{};
  if (sent.size() < prefix.size()) {
    return false;
  }
  std::ranges::copy(sent.first(prefix.size()), prefix.begin());
  const auto body = sent.subspan(prefix.size());
  if (body.size() != decodeProviderFramePrefix(prefix)) {
    return false;
  }
  const auto message = decodeProviderMessage(propertyLists, Data::copyOf(body)).message;
  // The configuration's names no relying party.
  return message &&
         stringForKey(*message, provider_message_key::type) == request.ask->messageType &&
         stringForKey(*message, "relyingPartyIdentifier")
                 .value_or(relyingPartyOf(request.number)) == relyingPartyOf(request.number);
}

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

SoakFlight::SoakFlight(const SoakRequest& request, LabPlatform& platform, SoakSite& site)
    : request_(request),
      site_(site),
      session_(std::make_shared<Session>(request.number, platform, site)),
      controller_(std::make_shared<CredentialProviderViewController>(
          std::shared_ptr<const Services>(session_, &session_->services))) {
  request.behavior->partIn(request).script.writeTo(site.scriptOf(request.number));
}

SoakFlight::~SoakFlight() {
  std::error_code ignored;
  std::filesystem::remove(site_.scriptOf(request_.number), ignored);
}

void SoakFlight::start() {
  const Call call = request_.ask->call(request_.number);
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

SoakEvidence SoakFlight::evidence() {
  const std::weak_ptr<CredentialProviderViewController> controller = controller_;
  controller_ = nullptr;
  SoakEvidence evidence{.request = request_,
                        .start = session_->start,
                        .end = now(),
                        .isLaunched = session_->workspace.isLaunched(),
                        .outcomes = session_->context.outcomes,
                        .attempts = {},
                        // The session holds what the controller's view shows.
                        .isKept = !controller.expired() || session_.use_count() != 1};
  for (const Bytes& sent : session_->sockets.sent()) {
    evidence.attempts.push_back(
        {.isRequestSent = isFrameOf(request_, session_->services.propertyLists, sent),
         .digest = digestOf(sent)});
  }
  return evidence;
}

}  // namespace korvan::lab::soak
