#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Peer.h"
#include "lab/check/Requests.h"
#include "lab/site/AttestationReader.h"

namespace korvan::lab::check {
namespace {

using namespace std::chrono_literals;

/// The process that listens; -1 when nobody does.
pid_t listenerOf(CheckContext& context) {
  try {
    return peerOf(context.connect()).process;
  } catch (const CheckEnd&) {
    return -1;
  }
}

Result launchTwice(CheckContext& context) {
  const pid_t first = listenerOf(context);
  LaunchedProgram second(context.settings().launch);
  second.start();
  pid_t listener = first;
  const auto isOver = [&] {
    const bool ended = !second.isRunning();
    listener = listenerOf(context);
    // Nobody listens for a moment when a socket is taken over.
    return ended || (listener != first && listener >= 0);
  };
  // One that goes on without a socket of its own is as good as one that ends.
  std::ignore = context.waits().until(isOver, "the second start to end", 2s);
  second.kill();
  if (listener == first && listenerOf(context) == first) {
    return passed();
  }
  return failed({.sent = "a second start of the program",
                 .got = listener < 0 ? "nobody listens" : "another process listens",
                 .wanted = "the first one's socket, left alone",
                 .hint = listener < 0
                             ? "the second removed the first one's socket; look who listens first"
                             : "the second took the socket over; look who listens first"});
}

/// Starts the program after a check has ended it. Throws a CheckEnd "failed" when it does not
/// listen.
void startAgain(CheckContext& context, const std::string& after) {
  // Only restart.stale is about one that an ended program has left.
  context.removeStaleSocket();
  if (!context.startProgram()) {
    throw CheckEnd(failed({.got = "a program that " + context.program().ending(),
                           .wanted = "a host that listens again",
                           .hint = "does not listen when it is started again after " + after}));
  }
}

Result restartStale(CheckContext& context) {
  context.program().kill();
  if (context.startProgram()) {
    return passed();
  }
  const bool isThere = std::filesystem::exists(context.socketPath());
  const Findings findings = {
      .got = "a program that " + context.program().ending(),
      .wanted = "a host that listens again",
      .hint = isThere ? "EADDRINUSE: remove the stale file first"
                      : "does not listen when it is started again after SIGKILL"};
  context.removeStaleSocket();
  return failed(findings);
}

Result restartStop(CheckContext& context) {
  Findings findings = {.sent = "SIGTERM", .wanted = "an end within 2 seconds"};
  context.waits().restart(EndingTime);
  context.program().signal(SIGTERM);
  if (!context.program().endsWithin(context.waits(), EndingTime)) {
    findings.got = "a program that runs after 2 seconds";
    findings.hint = "still runs 2 s after SIGTERM";
    return failed(findings);
  }
  if (context.hostListens()) {
    findings.got = "a socket on which somebody listens after the end";
    findings.hint = "one can still connect: does a child or a copy hold the socket?";
    // With all that it has started, which may take a moment to end.
    context.program().kill();
    std::ignore = context.waits().until([&] { return !context.hostListens(); },
                                        "the program's children to end", 1s);
    return failed(findings);
  }
  startAgain(context, "SIGTERM");
  return passed();
}

std::uint32_t signCountIn(const ProviderMessage& answer) {
  const auto bytes = dataForKey(answer, provider_message_key::authenticatorData);
  const auto statement = bytes ? readAuthenticatorData(*bytes) : std::nullopt;
  return statement ? statement->signCount : 0;
}

/// Passes unless the count after a restart is below that before it. See assertion.counter for one
/// that does not grow otherwise.
Result countGoesOn(const ProviderMessage& before, const ProviderMessage& after) {
  if (signCountIn(after) >= signCountIn(before)) {
    return passed();
  }
  return failed({.sent = "an assertion before a restart, and one after it",
                 .got = "the sign count " + std::to_string(signCountIn(before)) + ", and then " +
                        std::to_string(signCountIn(after)),
                 .wanted = "zero always, or more with every assertion",
                 .hint = "the sign count starts again after a restart: keep it with the passkey"});
}

Result restartKeeps(CheckContext& context) {
  const bool attended = context.settings().attended;
  const CheckPasskey passkey = context.passkeys().first();
  const auto signIn = [&] {
    const ProviderMessage request =
        assertionRequest(passkey.relyingParty, passkey.credentialID, attended);
    context.tellPerson("Now: agree in your host to sign in to " + passkey.relyingParty + ".");
    return context.exchange(request);
  };
  // Twice, so that the count is above that of a first sign-in.
  std::ignore = signIn();
  const ProviderMessage before = signIn();
  if (!booleanForKey(before, provider_message_key::ok)) {
    return skipped("an assertion was answered with " + context.described(before));
  }
  context.stopProgram();
  startAgain(context, "SIGTERM");
  const ProviderMessage after = signIn();
  const std::string code = stringForKey(after, provider_message_key::errorCode).value_or("");
  if (booleanForKey(after, provider_message_key::ok)) {
    return countGoesOn(before, after);
  }
  if (code == provider_error_code::vaultLocked ||
      code == provider_error_code::userInteractionRequired) {
    return skipped("after the restart an assertion was answered with " + context.described(after));
  }
  return failed({.sent = "an assertion with a passkey that was made before a restart",
                 .got = context.described(after),
                 .wanted = "a signature",
                 .hint = "the passkeys are gone after a restart: keep them in a file"});
}

}  // namespace

std::vector<Check> processChecks() {
  return {
      {.name = "launch.twice",
       .passes = "a second start leaves the first one's socket alone",
       .needs = {Need::program, Need::host},
       .after = {"launch.url", "socket.kind", "client.leaves"},
       .see = "the-socket",
       .run = launchTwice},
      {.name = "restart.stale",
       .passes = "killed and started again, it listens again",
       .needs = {Need::program, Need::host},
       .after = {"launch.url", "socket.kind"},
       .see = "the-socket",
       .run = restartStale},
      {.name = "restart.stop",
       .passes = "SIGTERM ends it within 2 seconds, and nobody listens after that",
       .needs = {Need::program, Need::host},
       .after = {"launch.url", "socket.kind"},
       .see = "the-socket",
       .run = restartStop},
      {.name = "restart.keeps",
       .passes = "the passkeys, and their sign counts, are still there after a restart",
       .needs = {Need::program, Need::host, Need::passkey},
       .after = {"answer.ok"},
       .see = "check-your-host",
       .run = restartKeeps},
  };
}

}  // namespace korvan::lab::check
