#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include <unistd.h>

#include "channel/ProviderMessage.h"
#include "lab/check/broken-host/Alterations.h"
#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {
namespace {

bool isOfAnyone(const Message& request) {
  return isRegistration(request) || isAssertion(request) || isReport(request);
}

bool asksSilently(const Message& request) {
  return !booleanForKey(request, "allowsUserInteraction");
}

bool isSilentSignIn(const Message& request) {
  return isAssertion(request) && asksSilently(request);
}

bool isSilentCreation(const Message& request) {
  return isRegistration(request) && asksSilently(request);
}

bool isCreationWithUser(const Message& request) {
  return isRegistration(request) && !asksSilently(request);
}

bool isOfUnknownType(const Message& request) {
  const auto type = stringForKey(request, "type");
  return type && type != "synchronize" && !isOfAnyone(request);
}

[[noreturn]] void waitForEver() {
  while (true) {
    ::pause();
  }
}

/// Asks a user who never answers, and holds the vault meanwhile. The next ones wait for it, even if
/// the client has left.
decltype(Mistake::serve) holdingVault(IsOfKind isOfKind) {
  return [isOfKind](int socket, const Mistake& mistake, const Surroundings& surroundings) {
    static std::mutex vault;
    const Bytes body = readFrame(socket);
    const auto request = surroundings.propertyLists.decode(Data::copyOf(body));
    std::unique_lock lock(vault, std::defer_lock);
    if (request && request->dictionary() != nullptr && isOfAnyone(*request->dictionary())) {
      lock.lock();
      if (isOfKind(*request->dictionary())) {
        waitForEver();
      }
    }
    if (!body.empty()) {
      sendAll(socket, answerFrame(body, mistake, surroundings));
    }
  };
}

/// Serves nobody any more after a frame that has no body.
void hangAfterDamage(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  static std::atomic<bool> hangs = false;
  if (hangs) {
    waitForEver();
  }
  const Bytes body = readFrame(socket);
  if (body.empty()) {
    hangs = true;
    return;
  }
  sendAll(socket, answerFrame(body, mistake, surroundings));
}

/// Takes its time for everything but reports, with which a run only clears up.
void serveSlowly(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  const Bytes body = readFrame(socket);
  const auto request = surroundings.propertyLists.decode(Data::copyOf(body));
  if (!request || request->dictionary() == nullptr || !isReport(*request->dictionary())) {
    std::this_thread::sleep_for(std::chrono::milliseconds(550));
  }
  if (!body.empty()) {
    sendAll(socket, answerFrame(body, mistake, surroundings));
  }
}

}  // namespace

const Mistake& slowness() {
  static const Mistake slow{
      .name = "answers-slowly",
      .fails = {},
      .hint = "",
      .options = {"--timeout", "1.5", "--only", "request.damaged", "--only", "client.*", "--only",
                  "host.leak", "--only", "registration.conditional"},
      .serve = serveSlowly};
  return slow;
}

std::vector<Mistake> stallMistakes() {
  return {
      {.name = "asks-silently-and-holds-its-vault",
       .fails = {"assertion.silent"},
       .hint = "the request does not allow interaction",
       .serve = holdingVault(isSilentSignIn)},
      {.name = "asks-silently-and-holds-its-vault-until-killed",
       .fails = {"assertion.silent"},
       .hint = "the request does not allow interaction",
       .launched = true,
       .serve = holdingVault(isSilentSignIn)},
      {.name = "asks-for-a-silent-passkey-and-holds-its-vault",
       .fails = {"registration.conditional"},
       .hint = "the request does not allow interaction",
       .options = {"--unattended"},
       .serve = holdingVault(isSilentCreation)},
      {.name = "keeps-registrations-waiting",
       .fails = {"registration.answer"},
       .hint = "the host does not answer",
       .serve = waitingForUser(isCreationWithUser)},
      {.name = "keeps-registrations-waiting-until-killed",
       .fails = {"registration.answer"},
       .hint = "the host does not answer",
       .launched = true,
       .serve = holdingVault(isCreationWithUser)},
      {.name = "never-answers-unknown-types",
       .fails = {"request.unknownType"},
       .hint = "the host does not answer",
       .serve = waitingForUser(isOfUnknownType)},
      {.name = "hangs-after-damage",
       .fails = {"request.damaged"},
       .hint = "the host does not answer any more after the size 0",
       .serve = hangAfterDamage},
  };
}

}  // namespace korvan::lab::broken
