#include "channel/RequestDispatcher.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "channel/ExchangeProviderMessage.h"
#include "channel/HostIdentifiers.h"
#include "platform/AppGroupContainers.h"
#include "platform/Clock.h"
#include "platform/Queues.h"
#include "platform/Workspace.h"

namespace korvan {
namespace {

namespace key = provider_message_key;

constexpr std::string_view SocketName = "acp.sock";
constexpr std::string_view HostLaunchURL = "korvan:///launch?source=credential-provider";
constexpr std::uint32_t RetryIntervalMicroseconds = 200'000;
constexpr double LaunchBudgetSeconds = 5.0;

/// A pending request. The caller's thread makes it, a background thread works on it, and the main
/// thread finishes it; only one of them uses it at a time.
struct PendingRequest {
  std::shared_ptr<const Services> services;
  std::string socketPath;
  Data encodedRequest;
  ProviderMessage request;
  ProviderCompletion completion;
  std::weak_ptr<const void> controller;

  bool launchAttempted = false;
  /// Written on the main thread while the background waits for it.
  bool hostLaunched = false;
  std::optional<Error> exchangeError = std::nullopt;
  DecodedProviderMessage answer = {};
};

/// The path of the host's socket, if there is a container to hold it.
std::optional<std::string> socketPathIn(std::optional<std::string> container) {
  if (!container || container->empty()) {
    return std::nullopt;
  }
  std::string path = *std::move(container);
  if (path.back() != '/') {
    path += '/';
  }
  path += SocketName;
  return path;
}

ProviderExchange exchange(const PendingRequest& pending) {
  return exchangeProviderMessage(pending.services->localSockets, pending.services->codeSigning,
                                 pending.socketPath, pending.encodedRequest.bytes());
}

bool mayLaunchHost(const PendingRequest& pending, bool connectFailed) {
  // Opening a host that runs but does not listen would change nothing.
  return connectFailed && booleanForKey(pending.request, key::allowsUserInteraction) &&
         pending.services->workspace.runningApplicationCount(HostBundleIdentifier) == 0;
}

void launchHost(PendingRequest& pending) {
  const Services& services = *pending.services;
  services.queues.syncMain(
      [&] { pending.hostLaunched = services.workspace.openURL(HostLaunchURL); });
}

/// Retries until the host answers, fails after connecting, or has had its time to start.
ProviderExchange pollLaunchedHost(const PendingRequest& pending) {
  const Clock& clock = pending.services->clock;
  const double deadline = clock.systemUptime() + LaunchBudgetSeconds;
  while (true) {
    // The host has only just been opened and needs time first. The deadline is checked after the
    // attempt, so that there is always at least one.
    clock.usleep(RetryIntervalMicroseconds);
    ProviderExchange attempt = exchange(pending);
    if (!attempt.connectFailed || !(clock.systemUptime() < deadline)) {
      return attempt;
    }
  }
}

/// The background part: blocks for as long as the host takes.
void obtainAnswer(PendingRequest& pending) {
  ProviderExchange attempt = exchange(pending);
  pending.launchAttempted = mayLaunchHost(pending, attempt.connectFailed);
  if (pending.launchAttempted) {
    launchHost(pending);
    if (pending.hostLaunched) {
      attempt = pollLaunchedHost(pending);
    }
  }
  if (attempt.response) {
    pending.answer = decodeProviderMessage(pending.services->propertyLists, *attempt.response);
  } else {
    pending.exchangeError = std::move(attempt.response).error();
  }
}

std::string failureDescription(const PendingRequest& pending) {
  // Whether the launch succeeded tells the user more than the error of the last attempt.
  if (pending.launchAttempted) {
    return pending.hostLaunched
               ? "Korvan opened, but the credential provider could not connect to it in time."
               : "Korvan could not be opened.";
  }
  auto description =
      pending.exchangeError ? pending.exchangeError->localizedDescription() : std::nullopt;
  if (!description && pending.answer.error) {
    description = pending.answer.error->localizedDescription;
  }
  return description.value_or("Korvan returned an invalid response.");
}

/// The failure response when the host gave no response.
ProviderMessage unavailableResponse(const PendingRequest& pending) {
  ProviderMessage response =
      failureResponse(provider_error_code::unavailable, failureDescription(pending));
  if (pending.launchAttempted) {
    response.insert_or_assign(key::showUnavailableUI, true);
  }
  return response;
}

/// The main-thread part.
void complete(const PendingRequest& pending) {
  const auto controller = pending.controller.lock();
  if (!controller || !pending.completion) {
    return;
  }
  if (pending.answer.message) {
    pending.completion(*pending.answer.message);
  } else {
    pending.completion(unavailableResponse(pending));
  }
}

/// Ends the background part. Gives the main thread the only reference, because what the completion
/// owns, and often the services with it, must be released there.
void completeOnMain(std::shared_ptr<PendingRequest> pending) {
  const Queues& queues = pending->services->queues;
  queues.asyncMain([pending = std::move(pending)] { complete(*pending); });
}

}  // namespace

void dispatchProviderRequest(const std::shared_ptr<const Services>& services,
                             std::weak_ptr<const void> controller, ProviderMessage request,
                             ProviderCompletion completion) {
  auto socketPath = socketPathIn(services->appGroupContainers.containerPath(AppGroupIdentifier));
  auto encoded = services->propertyLists.encodeBinary(request);
  // Of two failures the container's is the one to report: without a container no request can be
  // served, whatever it contains.
  if (!socketPath) {
    if (completion) {
      completion(failureResponse(provider_error_code::unavailable,
                                 "The Korvan App Group is unavailable."));
    }
    return;
  }
  if (!encoded) {
    if (completion) {
      completion(failureResponse(
          provider_error_code::failed,
          encoded.error().localizedDescription.value_or("Unable to encode the request.")));
    }
    return;
  }
  auto pending = std::make_shared<PendingRequest>(services, *std::move(socketPath),
                                                  *std::move(encoded), std::move(request),
                                                  std::move(completion), std::move(controller));
  services->queues.asyncBackground([pending = std::move(pending)]() mutable {
    obtainAnswer(*pending);
    completeOnMain(std::move(pending));
  });
}

}  // namespace korvan
