#include "lab/system/CallRunner.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>

#include <glib.h>

#include "lab/system/LabExtensionContext.h"
#include "lab/system/MessageTap.h"
#include "lab/system/views/Screen.h"
#include "platform/Services.h"

namespace korvan::lab {
namespace {

using Time = std::chrono::steady_clock::time_point;

Time now() { return std::chrono::steady_clock::now(); }

/// The objects of one request, and the services that refer to them.
struct Session {
  Session(LabPlatform& platform, NoticeMode noticeMode)
      : screen(makeScreen(noticeMode)),
        tap(platform.localSockets),
        services{.appGroupContainers = platform.appGroupContainers,
                 .clock = platform.clock,
                 .codeSigning = platform.codeSigning,
                 .extensionContext = context,
                 .localSockets = tap,
                 .localizedStrings = platform.localizedStrings,
                 .operatingSystem = platform.operatingSystem,
                 .propertyLists = platform.propertyLists,
                 .queues = platform.queues,
                 .views = screen->views(),
                 .workspace = platform.workspace} {}

  LabExtensionContext context;
  std::unique_ptr<Screen> screen;
  MessageTap tap;
  Services services;
};

using End = LabExtensionContext::End;

/// Asks every second, while it exists, what the main loop waits for, and tells each answer once.
class WaitingTicks {
 public:
  /// Refers to both, which outlive it.
  WaitingTicks(GMainContext* context, const Patience& patience,
               const CallRunner::WaitingNotice& notice)
      : patience_(patience), notice_(notice), source_(g_timeout_source_new(1000)) {
    g_source_set_callback(source_, tick, this, nullptr);
    g_source_attach(source_, context);
  }
  WaitingTicks(const WaitingTicks&) = delete;
  WaitingTicks& operator=(const WaitingTicks&) = delete;
  ~WaitingTicks() {
    g_source_destroy(source_);
    g_source_unref(source_);
  }

 private:
  static gboolean tick(gpointer ticks) {
    auto& self = *static_cast<WaitingTicks*>(ticks);
    const std::string whatFor = self.patience_.waitsFor();
    if (self.notice_ && whatFor != self.told_) {
      self.told_ = whatFor;
      self.notice_(whatFor);
    }
    return G_SOURCE_CONTINUE;
  }

  const Patience& patience_;
  const CallRunner::WaitingNotice& notice_;
  GSource* const source_;
  std::string told_;
};

/// The outcome of an entry point whose work is done, after the user has answered the notice.
End endOfRequest(Session& session, const CountedQueues& queues) {
  bool noticeShown = false;
  Time shown = {};
  if (!session.context.end() && session.screen->noticeIsUp()) {
    noticeShown = true;
    shown = now();
    session.screen->letUserAnswer();
    queues.runUntilIdle();
  }
  if (!session.context.end()) {
    if (!noticeShown) {
      std::fputs("korvan-lab: the request was neither completed nor canceled.\n", stderr);
      std::abort();
    }
    return {.outcome = NoticePending(), .time = shown};
  }
  End end = *session.context.end();
  if (auto* const canceled = std::get_if<Canceled>(&end.outcome)) {
    canceled->noticeShown = noticeShown;
  }
  return end;
}

End endOf(const Call& call, CredentialProviderViewController& controller, Session& session,
          LabPlatform& platform, const CallRunner::WaitingNotice& waitingNotice) {
  const CountedQueues& queues = platform.queues;
  try {
    call.invoke(controller);
  } catch (const std::invalid_argument& refusal) {
    return {.outcome = Refused{refusal.what()}, .time = now()};
  }
  const Time returned = now();
  {
    const WaitingTicks ticks(platform.mainContext.get(), platform.patience, waitingNotice);
    queues.runUntilIdle();
  }
  if (platform.patience.gaveUp()) {
    return {.outcome = TimedOut{platform.patience.waitsFor()}, .time = now()};
  }
  return call.isReport ? End{.outcome = Returned(), .time = returned}
                       : endOfRequest(session, queues);
}

}  // namespace

CallRunner::CallRunner(const LabSettings& settings)
    : platform_(settings), noticeMode_(settings.noticeMode) {}

CallResult CallRunner::run(const Call& call) {
  const auto session = std::make_shared<Session>(platform_, noticeMode_);
  const auto controller = std::make_shared<CredentialProviderViewController>(
      std::shared_ptr<const Services>(session, &session->services));
  if (listener_) {
    session->tap.onMessage([this](const PassingMessage& message) {
      platform_.queues.asyncMain([this, message] { listener_(message); });
    });
  }
  platform_.workspace.forget();
  platform_.patience.restart();
  const Time start = now();
  const End end = endOf(call, *controller, *session, platform_, waitingNotice_);
  return {.outcome = end.outcome,
          .milliseconds = std::chrono::duration<double, std::milli>(end.time - start).count(),
          .frames = session->tap.frames(),
          .failedConnections = session->tap.failedConnections()};
}

}  // namespace korvan::lab
