#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Judgment.h"
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
  context.killProgram();
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

/// Connections are accepted in their order: an answer on the next tells of the last one.
void waitUntilAccepted(CheckContext& context) {
  Connection next = context.connect();
  const bool attended = context.settings().attended;
  std::ignore = next.sendFrame(context.encoded(synchronizeRequest(attended)).bytes());
  std::ignore = next.waitForBytes(1s);
}

Result restartStop(CheckContext& context) {
  Findings findings = {.sent = "SIGTERM", .wanted = "an end within 2 seconds"};
  std::optional<Connection> silent = context.connect();
  waitUntilAccepted(context);
  context.waits().restart(EndingTime);
  context.program().signal(SIGTERM);
  if (!context.program().endsWithin(context.waits(), EndingTime)) {
    silent.reset();
    context.waits().restart();
    const bool waited = context.program().endsWithin(context.waits(), 1s);
    findings.got = "a program that runs after 2 seconds";
    findings.hint = waited ? "SIGTERM ends it only when the last client has left"
                           : "still runs 2 s after SIGTERM";
    return failed(findings);
  }
  silent.reset();
  if (context.hostListens()) {
    findings.got = "a socket on which somebody listens after the end";
    findings.hint = "one can still connect: does a child or a copy hold the socket?";
    context.killProgram();
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

bool signsIn(CheckContext& context, const CheckPasskey& passkey) {
  const auto request = assertionRequest(passkey.relyingParty, passkey.credentialID, false);
  return isOk(context.exchange(request));
}

/// A passkey that a report removed. Nullopt if the host heeds no such report.
std::optional<CheckPasskey> removedPasskey(CheckContext& context) {
  CheckPasskey passkey = context.passkeys().make(RelyingParty, "nina");
  std::ignore =
      context.exchange(unknownCredentialReport(passkey.relyingParty, passkey.credentialID));
  return !signsIn(context, passkey) ? std::optional(passkey) : std::nullopt;
}

/// Ends the check if the host makes the same passkey again as at its last start. That was its
/// first, so this must be as well.
void requireNewRandomness(CheckContext& context, const CheckPasskey& firstOfLastStart) {
  const Exchange exchange = askToRegister(
      context,
      registrationRequest(RelyingParty, "oscar", newIdentifier(), context.settings().attended));
  if (isOk(exchange.answer)) {
    requireDifferent(context, registrationOf(firstOfLastStart), exchange,
                     "passkeys made before and after a restart",
                     "; is the random generator seeded alike at each start?");
  }
}

/// Starts the program beside the one that runs, and lets it end by itself if it does.
void startSecond(CheckContext& context) {
  LaunchedProgram second(context.settings().launch);
  second.start();
  context.waits().restart();
  std::ignore = second.endsWithin(context.waits(), 2s);
  second.kill();
}

/// Passes unless a second start of the program takes the passkeys from the file.
Result outlastsSecondStart(CheckContext& context, const std::function<Exchange()>& signIn) {
  startSecond(context);
  context.killProgram();
  startAgain(context, "a second start and SIGKILL");
  const Exchange after = signIn();
  if (isOk(after.answer) || needsUser(after.answer)) {
    return passed();
  }
  return failed({.sent = "an assertion after a second start of the program, and a restart",
                 .got = context.described(after.answer),
                 .wanted = "a signature",
                 .hint = "the passkeys are gone after a second start: make sure that no other "
                         "process runs before the file is written"});
}

Result restartKeeps(CheckContext& context) {
  const bool attended = context.settings().attended;
  const CheckPasskey passkey = context.passkeys().first();
  const auto signIn = [&] {
    const ProviderMessage request =
        assertionRequest(passkey.relyingParty, passkey.credentialID, attended);
    context.tellPerson("Now: agree in your host to sign in to " + passkey.relyingParty + ".");
    return Exchange{.request = request, .answer = context.exchange(request)};
  };
  // Twice, so that the count is above that of a first sign-in.
  std::ignore = signIn();
  const Exchange before = signIn();
  if (!isOk(before.answer)) {
    return skipped("an assertion was answered with " + context.described(before.answer));
  }
  const auto removed = removedPasskey(context);
  context.killProgram();
  startAgain(context, "SIGKILL");
  requireNewRandomness(context, passkey);
  const Exchange after = signIn();
  if (needsUser(after.answer)) {
    return skipped("after the restart an assertion was answered with " +
                   context.described(after.answer));
  }
  if (!isOk(after.answer)) {
    return failed({.sent = "an assertion with a passkey that was made before the host was killed",
                   .got = context.described(after.answer),
                   .wanted = "a signature",
                   .hint = "the passkeys are gone after a restart: keep each in a file before the "
                           "answer to its registration"});
  }
  if (removed && signsIn(context, *removed)) {
    return failed({.sent = "an assertion with a passkey that a report removed before the host was "
                           "killed",
                   .got = "a signature",
                   .wanted = "a refusal with credentialNotFound",
                   .hint = "a removed passkey is back after a restart: keep what reports change"});
  }
  Result result = newFlawIn(context, after, before, passkey);
  if (result.outcome == Outcome::passed) {
    result = countGoesOn(before.answer, after.answer);
  }
  return result.outcome == Outcome::passed ? outlastsSecondStart(context, signIn) : result;
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
       .passes =
           "the passkeys, their sign counts and what reports changed outlast SIGKILL, and new "
           "passkeys are different",
       .needs = {Need::program, Need::host, Need::passkey},
       .after = {"answer.ok"},
       .see = "check-your-host",
       .run = restartKeeps},
  };
}

}  // namespace korvan::lab::check
