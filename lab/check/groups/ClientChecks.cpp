#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include <sys/socket.h>

#include "lab/check/Catalog.h"
#include "lab/check/CheckContext.h"
#include "lab/check/Peer.h"
#include "lab/check/ProcessUsage.h"
#include "lab/check/Requests.h"
#include "lab/check/groups/RobustnessSteps.h"

namespace korvan::lab::check {
namespace {

using namespace std::chrono_literals;
namespace key = provider_message_key;

/// The host cannot write its answer.
void leaveWithoutReading(CheckContext& context) {
  Connection connection = context.connect();
  ::shutdown(connection.descriptor(), SHUT_RD);
  std::ignore = connection.sendFrame(context.encoded(plainRequest(context)).bytes());
  // Both halves are closed when the host has given up.
  std::ignore = context.waits().forEvent(connection.descriptor(), 0, "the host to close", 1s);
}

/// The host sees a reset.
void leaveWithAnswerUnread(CheckContext& context) {
  Connection connection = context.connect();
  std::ignore = connection.sendFrame(context.encoded(plainRequest(context)).bytes());
  std::ignore = connection.waitForBytes(1s);
}

void leaveAtOnce(CheckContext& context) { context.connect().close(); }

void leaveWithinRequest(CheckContext& context) {
  Connection connection = context.connect();
  const RequestBytes frame = frameOf(context.encoded(plainRequest(context)));
  std::ignore = connection.send(std::span(frame).first(frame.size() / 2));
}

struct Leaving {
  void (*leave)(CheckContext& context);
  std::string how;
};

Result clientLeaves(CheckContext& context) {
  constexpr int Times = 3;
  const auto start = Waits::Clock::now();
  for (const Leaving& leaving :
       {Leaving{.leave = leaveWithoutReading, .how = "a client that leaves before the answer"},
        Leaving{.leave = leaveWithAnswerUnread, .how = "a client that leaves the answer unread"},
        Leaving{.leave = leaveWithinRequest, .how = "a client that leaves within its request"},
        Leaving{.leave = leaveAtOnce, .how = "a client that leaves without a request"}}) {
    for (int time = 0; time < Times; ++time) {
      startStep(context, start);
      leaving.leave(context);
      requireNextAnswer(context, leaving.how, "; does it ignore SIGPIPE?");
    }
  }
  return passed();
}

Waits::Duration since(Waits::Clock::time_point start) {
  return std::chrono::duration_cast<Waits::Duration>(Waits::Clock::now() - start);
}

[[noreturn]] void endAsTooSlow(const CheckContext& context, std::size_t requests,
                               Waits::Clock::time_point start) {
  context.endAsTooSlow(std::to_string(requests) +
                       (requests == 1 ? " request took " : " requests took ") +
                       std::to_string(since(start).count()) + " ms");
}

/// Ends the check unless one request took a moment only.
void requireQuickAnswer(const CheckContext& context, Waits::Clock::time_point start) {
  if (since(start) > 500ms) {
    endAsTooSlow(context, 1, start);
  }
}

/// More than a small pool of threads can serve.
Result manySilent(CheckContext& context) {
  constexpr std::size_t Count = 16;
  std::vector<Connection> silent;
  while (silent.size() < Count) {
    silent.push_back(context.connect());
  }
  Connection connection = context.connect();
  std::ignore = connection.sendFrame(context.encoded(plainRequest(context)).bytes());
  if (!connection.waitForBytes(1s)) {
    return failed({.sent = "a request, beside 16 connections on which nothing comes",
                   .got = "nothing within a second",
                   .wanted = "an answer within a second",
                   .hint = "16 clients that send nothing hold up all: do they use up a pool of "
                           "threads?"});
  }
  std::ignore = context.answerOn(connection, plainRequest(context));
  return passed();
}

Result clientSilent(CheckContext& context) {
  const auto start = Waits::Clock::now();
  std::ignore = context.exchange(plainRequest(context));
  requireQuickAnswer(context, start);
  const Connection silent = context.connect();
  Connection halfSilent = context.connect();
  std::ignore = halfSilent.send(std::array<std::uint8_t, 2>{});
  Connection connection = context.connect();
  std::ignore = connection.sendFrame(context.encoded(plainRequest(context)).bytes());
  if (!connection.waitForBytes(1s)) {
    return failed({.sent = "a request, beside two connections on which nothing more comes",
                   .got = "nothing within a second",
                   .wanted = "an answer within a second",
                   .hint = "one connection at a time: a client that sends nothing holds up all"});
  }
  std::ignore = context.answerOn(connection, plainRequest(context));
  return manySilent(context);
}

struct Asking {
  Connection connection;
  ProviderMessage request;
};

/// The number of the request, from 1, whose hash an answer has. 0 if there is none.
std::size_t numberOfAsked(const std::vector<Asking>& all, const ProviderMessage& answer) {
  const auto hash = dataForKey(answer, key::clientDataHash);
  const auto asked = std::ranges::find_if(all, [&](const Asking& each) {
    return hash && dataForKey(each.request, key::clientDataHash) == hash;
  });
  return asked == all.end() ? 0 : static_cast<std::size_t>(asked - all.begin()) + 1;
}

Result clientMany(CheckContext& context) {
  const CheckPasskey& passkey = context.passkeys().first();
  const auto start = Waits::Clock::now();
  std::ignore = silentAssertion(context, passkey.relyingParty, passkey.credentialID);
  // A host that signs one after the other may still be busy with them in the next checks.
  requireQuickAnswer(context, start);
  constexpr std::size_t Count = 16;
  std::vector<Asking> all;
  while (all.size() < Count) {
    all.push_back({.connection = context.connect(),
                   .request = assertionRequest(passkey.relyingParty, passkey.credentialID, false)});
  }
  for (Asking& each : all) {
    std::ignore = each.connection.sendFrame(context.encoded(each.request).bytes());
  }
  for (std::size_t number = 1; number <= Count; ++number) {
    Asking& asking = all[number - 1];
    const ProviderMessage answer = context.answerOn(asking.connection, asking.request);
    const std::size_t came = numberOfAsked(all, answer);
    if (came == number) {
      continue;
    }
    const std::string who = "of 16 requests at once, number " + std::to_string(number);
    return failed({.sent = context.described(asking.request),
                   .got = context.described(answer),
                   .wanted = "its own answer",
                   .hint = came == 0 ? who + " got an answer to none of them"
                                     : who + " got the answer to number " + std::to_string(came) +
                                           ": do connections share a buffer?"});
  }
  return passed();
}

constexpr std::size_t LeakRequests = 200;

/// Requests that are served and refused, and clients that leave, also within their request: so
/// many, or as many as there is time for. How many there were.
std::size_t makeRequests(CheckContext& context, const Data& filled, std::size_t most,
                         Waits::Clock::time_point end) {
  const RequestBytes frame = frameOf(filled);
  const auto half = std::span(frame).first(frame.size() / 2);
  std::size_t number = 0;
  for (; number < most && Waits::Clock::now() < end; ++number) {
    Connection connection = context.connect();
    switch (number % 4) {
      case 0:
        std::ignore = connection.sendFrame(filled.bytes());
        std::ignore = context.answerOn(connection, plainRequest(context));
        break;
      case 1:
        std::ignore = connection.sendFrame(context.encoded(unknownRequest()).bytes());
        std::ignore = context.answerOn(connection, unknownRequest());
        break;
      case 2:
        std::ignore = connection.sendFrame(filled.bytes());
        break;
      default:
        std::ignore = connection.send(half);
    }
  }
  return number;
}

struct Growth {
  std::string_view what;
  std::size_t before;
  std::size_t after;
  std::string_view advice;
};

std::string textOf(const Growth& growth) {
  return std::string(growth.what) + " " + std::to_string(growth.before) + " → " +
         std::to_string(growth.after);
}

Result hostLeak(CheckContext& context) {
  const pid_t process = peerOf(context.connect()).process;
  const auto usage = [&] {
    const auto now = usageOf(process);
    return now ? *now
               : throw CheckEnd(skipped("/proc/" + std::to_string(process) + " cannot be read"));
  };
  constexpr std::size_t FewestRequests = 15;
  constexpr std::size_t LittleMemory = 1024;
  constexpr std::size_t FillerSize = 32768;
  // Memory that is collected, cached or kept for reuse stops growing; what leaks does not.
  constexpr int Rounds = 6;
  const Data filled = filledRequest(context, FillerSize);
  const auto start = Waits::Clock::now();
  const Waits::Duration timeout = context.waits().timeout();
  const std::size_t count = makeRequests(context, filled, LeakRequests, start + timeout / 4);
  if (count < FewestRequests) {
    endAsTooSlow(context, count, start);
  }
  // A quarter of the requests may fail to give back a descriptor or a thread. A pool may grow a
  // bit.
  const std::size_t few = std::max<std::size_t>(count / 10, 3);
  const ProcessUsage first = usage();
  ProcessUsage before = first;
  ProcessUsage after;
  for (int round = 0; round < Rounds; ++round) {
    if (makeRequests(context, filled, count, start + timeout * 3 / 4) < count) {
      endAsTooSlow(context, count, start);
    }
    const auto isSettled = [&] {
      after = usage();
      return after.descriptors <= first.descriptors + few && after.threads <= first.threads + few &&
             after.children <= first.children + few;
    };
    if (!context.waits().until(isSettled, "the host to release what it used", 1s)) {
      break;
    }
    if (after.memory <= before.memory + LittleMemory) {
      return passed();
    }
    before = after;
  }
  const std::array all{
      Growth{.what = "descriptors",
             .before = first.descriptors,
             .after = after.descriptors,
             .advice = "close every connection, also when its client leaves"},
      Growth{.what = "threads",
             .before = first.threads,
             .after = after.threads,
             .advice = "end a connection's thread with it, also when its client leaves"},
      Growth{.what = "child processes",
             .before = first.children,
             .after = after.children,
             .advice = "wait for each with waitpid(), or it stays as a zombie"},
      Growth{.what = "memory in KiB",
             .before = first.memory,
             .after = after.memory,
             .advice = "release what a request needed"}};
  const auto leak = after.descriptors > first.descriptors + few ? all[0]
                    : after.threads > first.threads + few       ? all[1]
                    : after.children > first.children + few     ? all[2]
                                                                : all[3];
  return failed({.sent = std::to_string(count) + " requests, more than once",
                 .got = textOf(all[0]) + ", " + textOf(all[1]) + ", " + textOf(all[2]) + ", " +
                        textOf(all[3]),
                 .wanted = "as before",
                 .hint = textOf(leak) + ": " + std::string(leak.advice)});
}

}  // namespace

std::vector<Check> clientChecks() {
  return {
      {.name = "client.leaves",
       .passes = "a client that leaves does no harm to the next",
       .needs = {Need::host},
       .after = {"answer.ok"},
       .see = "timing",
       .run = clientLeaves},
      {.name = "client.silent",
       .passes = "a client that sends nothing does not hold up others",
       .needs = {Need::host},
       .after = {"answer.ok", "client.leaves"},
       .see = "the-socket",
       .run = clientSilent},
      {.name = "client.many",
       .passes = "16 clients at once get an answer each",
       .needs = {Need::host, Need::passkey},
       .after = {"answer.ok"},
       .see = "the-socket",
       .run = clientMany},
      {.name = "host.leak",
       .passes = "200 requests leave descriptors, threads, child processes and memory as they were",
       .needs = {Need::host},
       .after = {"frame.close", "request.pieces", "request.unknownType", "request.unknownKey",
                 "client.leaves"},
       .see = "the-socket",
       .run = hostLeak},
  };
}

}  // namespace korvan::lab::check
