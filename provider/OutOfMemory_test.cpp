// How a request ends when memory runs out, at each of its allocations in turn. Each runs in a
// process of its own, because running out of memory ends the process.

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <functional>
#include <new>
#include <optional>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "channel/ExchangeProviderMessage.h"
#include "provider/ControllerFixture_testing.h"

namespace {

/// Counts down to the allocation that fails; 0 when none is to fail.
std::size_t allocationsUntilFailure = 0;
bool hasThrown = false;

void* allocate(std::size_t size) noexcept {
  if (allocationsUntilFailure != 0 && --allocationsUntilFailure == 0) {
    return nullptr;
  }
  return std::malloc(std::max<std::size_t>(size, 1));
}

void* allocateOrThrow(std::size_t size) {
  void* const memory = allocate(size);
  if (memory == nullptr) {
    hasThrown = true;
    throw std::bad_alloc();
  }
  return memory;
}

}  // namespace

// All are replaced, because a sanitizer's versions do not call the first.
void* operator new(std::size_t size) { return allocateOrThrow(size); }
void* operator new[](std::size_t size) { return allocateOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, const std::nothrow_t&) noexcept { std::free(memory); }
void operator delete[](void* memory, const std::nothrow_t&) noexcept { std::free(memory); }

namespace korvan {
namespace {

/// How a process ended.
enum Exit : int {
  Finished = 10,
  OutOfMemory = 11,
  WrongOutcome = 12,
  LeftOpen = 13,
  OtherEnd = 14
};

constexpr unsigned SecondsUntilHang = 20;

/// Whether the request's outcome is right so far; called in the child when memory has run out.
const std::function<bool()>* outcomeIsRight = nullptr;

[[noreturn]] void endOfProcess() {
  try {
    std::rethrow_exception(std::current_exception());
  } catch (const std::bad_alloc&) {
    _exit((*outcomeIsRight)() ? OutOfMemory : WrongOutcome);
  } catch (...) {
    _exit(OtherEnd);
  }
}

class MemoryRunsOut : public ControllerFixture {
 protected:
  using Ending = FakeExtensionContext::Ending;

  /// Runs `request` once for each of its allocations, which fails. The outcome is then `expected`
  /// or none, and `expected` when no allocation fails; nullopt for a report, which has no outcome.
  void expectOneOutcomeOrNone(const std::function<void()>& request,
                              const std::optional<Ending>& expected) {
    const auto& endings = platform->extensionContext.endings;
    expectEndOfProcess(
        request, [&] { return endings.empty() || isExactly(endings, expected); },
        [&] { return isExactly(endings, expected); });
  }

  void expectEndOfProcess(const std::function<void()>& request,
                          const std::function<bool()>& rightSoFar,
                          const std::function<bool()>& rightAtLast) {
    outcomeIsRight = &rightSoFar;
    std::size_t failing = 1;
    int exit = exitOfChild(failing, request, rightAtLast);
    while (exit == OutOfMemory) {
      ++failing;
      exit = exitOfChild(failing, request, rightAtLast);
    }
    EXPECT_EQ(exit, Finished) << "when allocation " << failing << " fails";
    EXPECT_GT(failing, 1U);
  }

 private:
  static bool isExactly(const std::vector<Ending>& endings, const std::optional<Ending>& expected) {
    return expected ? endings.size() == 1 && endings[0] == *expected : endings.empty();
  }

  int exitOfChild(std::size_t failing, const std::function<void()>& request,
                  const std::function<bool()>& rightAtLast) {
    const pid_t child = fork();
    if (child == 0) {
      run(failing, request, rightAtLast);
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status)) << "ended by signal " << WTERMSIG(status);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }

  [[noreturn]] void run(std::size_t failing, const std::function<void()>& request,
                        const std::function<bool()>& rightAtLast) {
    alarm(SecondsUntilHang);
    std::set_terminate(endOfProcess);
    allocationsUntilFailure = failing;
    try {
      request();
    } catch (const std::bad_alloc&) {
      // Thrown to the caller, before the request was submitted.
      _exit(platform->localSockets.openDescriptors() == 0 ? OutOfMemory : LeftOpen);
    }
    const bool failed = std::exchange(allocationsUntilFailure, 0) == 0;
    if (hasThrown || !rightAtLast()) {
      _exit(WrongOutcome);
    }
    // An allocation that does not throw, such as a sort's buffer, may fail without harm.
    _exit(failed ? OutOfMemory : Finished);
  }
};

TEST_F(MemoryRunsOut, DuringAnExchangeEndsIt) {
  auto& sockets = platform->localSockets;
  auto& codeSigning = platform->codeSigning;
  const FakePeer::Bytes body(100, 7);
  sockets.peer.bytesPerCall = 60;
  sockets.peer.answer = [&](const FakePeer::Bytes&) { return framed(body); };
  std::optional<ProviderExchange> result;
  const auto isClosed = [&] {
    return !result && sockets.openDescriptors() == 0 && codeSigning.liveCodes == 0 &&
           codeSigning.liveRequirements == 0;
  };
  expectEndOfProcess(
      [&] {
        try {
          result = exchangeProviderMessage(sockets, codeSigning, "/groups/korvan/acp.sock", body);
        } catch (const std::bad_alloc&) {
          _exit(isClosed() ? OutOfMemory : LeftOpen);
        }
      },
      [] { return true; },
      [&] { return result->response && result->response->size() == body.size(); });
}

TEST_F(MemoryRunsOut, DuringASilentSignInEndsIt) {
  hostAnswers({{"ok", true},
               {"userHandle", bytes("handle")},
               {"relyingPartyIdentifier", "a relying party with a long name"},
               {"signature", bytes("signature")},
               {"clientDataHash", bytes("hash")},
               {"authenticatorData", bytes("data")},
               {"credentialID", bytes("ID")}});
  expectOneOutcomeOrNone(
      [&] {
        controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
        runAll();
      },
      PasskeyAssertionCredential{.userHandle = bytes("handle"),
                                 .relyingParty = "a relying party with a long name",
                                 .signature = bytes("signature"),
                                 .clientDataHash = bytes("hash"),
                                 .authenticatorData = bytes("data"),
                                 .credentialID = bytes("ID")});
}

TEST_F(MemoryRunsOut, DuringACredentialListEndsIt) {
  hostAnswers(failureResponse("credentialNotFound", "There is no passkey for this relying party."));
  expectOneOutcomeOrNone(
      [&] {
        controller->prepareCredentialListForServiceIdentifiers({}, requestParameters());
        runAll();
      },
      cancellation(101, "There is no passkey for this relying party."));
}

TEST_F(MemoryRunsOut, DuringARegistrationEndsIt) {
  hostAnswers({{"ok", true},
               {"relyingPartyIdentifier", "a relying party with a long name"},
               {"attestationObject", bytes("attestation")}});
  PasskeyRegistrationCredential expected;
  expected.relyingParty = "a relying party with a long name";
  expected.attestationObject = bytes("attestation");
  expectOneOutcomeOrNone(
      [&] {
        controller->prepareInterfaceForPasskeyRegistration(passkeyRequest());
        runAll();
      },
      expected);
}

TEST_F(MemoryRunsOut, DuringASynchronizationWithAHostThatComesUpEndsIt) {
  const FakePeer host = platform->answering(
      [](const ProviderMessage&) -> PropertyListValue { return ProviderMessage{{"ok", true}}; });
  platform->localSockets.nextPeers = {FakePlatform::refusing(), FakePlatform::refusing(), host};
  expectOneOutcomeOrNone(
      [&] {
        controller->prepareInterfaceForExtensionConfiguration();
        runAll();
      },
      FakeExtensionContext::ConfigurationCompleted());
}

TEST_F(MemoryRunsOut, DuringTheNoticeEndsIt) {
  platform->localSockets.peer = FakePlatform::refusing();
  platform->workspace.opens = false;
  expectOneOutcomeOrNone(
      [&] {
        controller->prepareInterfaceToProvideCredentialForRequest(passkeyRequest());
        runAll();
        platform->views.pressButton();
      },
      cancellation(0, "Korvan could not be opened."));
}

TEST_F(MemoryRunsOut, BeforeAnEarlyFailureEndsTheRequest) {
  platform->appGroupContainers.path = std::nullopt;
  expectOneOutcomeOrNone(
      [&] {
        controller->provideCredentialWithoutUserInteractionForRequest(passkeyRequest());
        runAll();
      },
      cancellation(0, "The Korvan App Group is unavailable."));
}

TEST_F(MemoryRunsOut, DuringAReportEndsIt) {
  hostAnswers({{"ok", true}});
  expectOneOutcomeOrNone(
      [&] {
        controller->reportAllAcceptedPublicKeyCredentialsForRelyingParty(
            "example.com", bytes("handle"), PropertyListValue::Array{bytes("A"), bytes("B")});
        runAll();
      },
      std::nullopt);
}

}  // namespace
}  // namespace korvan
