#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <cstdlib>
#include <mutex>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

#include "channel/ProviderFrame.h"
#include "channel/ProviderMessage.h"
#include "lab/check/broken-host/Alterations.h"
#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {
namespace {

constexpr std::size_t RequestPrefixSize = ProviderFramePrefix().size();

void answer(int socket, const Bytes& request, const Mistake& mistake,
            const Surroundings& surroundings) {
  if (!request.empty()) {
    sendAll(socket, answerFrame(request, mistake, surroundings));
  }
}

/// At most `size` bytes, as one call gives them.
Bytes receivedOnce(int socket, std::size_t size) {
  Bytes bytes(size);
  const ssize_t count = ::recv(socket, bytes.data(), bytes.size(), 0);
  bytes.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return bytes;
}

Bytes receivedUntilTheEnd(int socket) {
  Bytes all;
  constexpr std::size_t Piece = 4096;
  for (Bytes some = receivedOnce(socket, Piece); !some.empty();
       some = receivedOnce(socket, Piece)) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

/// The size in the first four bytes; the number 0 for fewer.
std::size_t announcedSize(const Bytes& bytes) {
  ProviderFramePrefix prefix{};
  if (bytes.size() < prefix.size()) {
    return 0;
  }
  std::copy_n(bytes.begin(), prefix.size(), prefix.begin());
  return decodeProviderFramePrefix(prefix);
}

/// All of `size` bytes, or fewer when the client leaves before.
Bytes received(int socket, std::size_t size) {
  Bytes all;
  while (all.size() < size) {
    const Bytes some = receivedOnce(socket, size - all.size());
    if (some.empty()) {
      break;
    }
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

void serveWithSizeAtOnce(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  const std::size_t size = announcedSize(receivedOnce(socket, RequestPrefixSize));
  if (isValidProviderMessageSize(size)) {
    answer(socket, received(socket, size), mistake, surroundings);
  }
}

void serveWithBodyAtOnce(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  const std::size_t size = announcedSize(received(socket, RequestPrefixSize));
  if (isValidProviderMessageSize(size)) {
    answer(socket, receivedOnce(socket, size), mistake, surroundings);
  }
}

void serveAfterTheEnd(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  Bytes all = receivedUntilTheEnd(socket);
  if (all.size() > RequestPrefixSize) {
    all.erase(all.begin(), all.begin() + RequestPrefixSize);
    answer(socket, all, mistake, surroundings);
  }
}

/// Waits for a size that it likes.
void serveWithoutRefusals(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  while (true) {
    const Bytes prefix = received(socket, RequestPrefixSize);
    const std::size_t size = announcedSize(prefix);
    if (prefix.empty() || isValidProviderMessageSize(size)) {
      answer(socket, received(socket, size), mistake, surroundings);
      return;
    }
  }
}

void serveOrEnd(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  const Bytes prefix = received(socket, RequestPrefixSize);
  const std::size_t announced = announcedSize(prefix);
  const std::size_t size = isValidProviderMessageSize(announced) ? announced : 0;
  const Bytes request = received(socket, size);
  if (prefix.size() < RequestPrefixSize || request.size() < size) {
    return;
  }
  const auto decoded = surroundings.propertyLists.decode(Data::copyOf(request));
  if (!decoded || decoded->dictionary() == nullptr) {
    std::quick_exit(EXIT_FAILURE);
  }
  answer(socket, request, mistake, surroundings);
}

void serveUpTo64KiB(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  constexpr std::size_t Most = 65536;
  const std::size_t size = announcedSize(received(socket, RequestPrefixSize));
  if (size <= Most) {
    answer(socket, received(socket, size), mistake, surroundings);
  }
}

/// No flags: a client that has left is a SIGPIPE.
void serveWithoutCare(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  if (const Bytes request = readFrame(socket); !request.empty()) {
    const Bytes frame = answerFrame(request, mistake, surroundings);
    std::ignore = ::send(socket, frame.data(), frame.size(), 0);
  }
}

/// Answers whoever connects, even one that has left without a request.
void serveWithoutCareForAll(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  const Bytes frame = answerFrame(readFrame(socket), mistake, surroundings);
  std::ignore = ::send(socket, frame.data(), frame.size(), 0);
}

/// Fails when a client has left without a request.
void serveOrFailWithoutRequest(int socket, const Mistake& mistake,
                               const Surroundings& surroundings) {
  const Bytes prefix = received(socket, RequestPrefixSize);
  if (prefix.empty()) {
    std::quick_exit(EXIT_FAILURE);
  }
  if (const std::size_t size = announcedSize(prefix); isValidProviderMessageSize(size)) {
    answer(socket, received(socket, size), mistake, surroundings);
  }
}

/// Has its thread wait for ever for the rest of a request.
void serveOrWaitForEver(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  const Bytes prefix = received(socket, RequestPrefixSize);
  const std::size_t announced = announcedSize(prefix);
  const std::size_t size = isValidProviderMessageSize(announced) ? announced : 0;
  const Bytes request = received(socket, size);
  if (request.size() < size) {
    ::pause();
  }
  answer(socket, request, mistake, surroundings);
}

void serveOrFail(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  if (const Bytes request = readFrame(socket); !request.empty()) {
    const Bytes frame = answerFrame(request, mistake, surroundings);
    if (::send(socket, frame.data(), frame.size(), MSG_NOSIGNAL) < 0) {
      std::quick_exit(EXIT_FAILURE);
    }
  }
}

bool asksForAssertion(const Bytes& request, const Surroundings& surroundings) {
  const auto decoded = surroundings.propertyLists.decode(Data::copyOf(request));
  return decoded && decoded->dictionary() != nullptr &&
         stringForKey(*decoded->dictionary(), provider_message_key::type) == "assertion";
}

/// Two assertions that meet are answered as if each were the other.
class Meeting {
 public:
  Bytes exchange(Bytes request) {
    std::unique_lock lock(mutex_);
    if (waiting_ != nullptr) {
      std::swap(request, *std::exchange(waiting_, nullptr));
      changed_.notify_all();
      return request;
    }
    waiting_ = &request;
    // A request that comes alone meets nobody.
    constexpr auto Patience = std::chrono::milliseconds(100);
    if (!changed_.wait_for(lock, Patience, [&] { return waiting_ != &request; })) {
      waiting_ = nullptr;
    }
    return request;
  }

 private:
  std::mutex mutex_;
  std::condition_variable changed_;
  Bytes* waiting_ = nullptr;
};

void serveMixedUp(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  static Meeting meeting;
  Bytes request = readFrame(socket);
  if (asksForAssertion(request, surroundings)) {
    request = meeting.exchange(std::move(request));
  }
  answer(socket, request, mistake, surroundings);
}

void keepForever() {
  constexpr std::size_t Size = 16384;
  static std::mutex mutex;
  static std::vector<Bytes> kept;
  const std::scoped_lock lock(mutex);
  kept.emplace_back(Size, std::uint8_t{1});
}

void leakMemory(int /*socket*/) { keepForever(); }

void fillCache(int /*socket*/) {
  constexpr int Most = 500;
  static std::atomic<int> count = 0;
  if (++count < Most) {
    keepForever();
  }
}

}  // namespace

std::vector<Mistake> robustnessMistakes() {
  constexpr std::string_view Unknown = "checkHostUnknown";
  const auto isUnknown = [](const PropertyListDictionary& request) {
    return stringForKey(request, provider_message_key::type) == "checkHostUnknown";
  };
  return {
      {.name = "reads-the-size-at-once",
       .fails = {"request.pieces"},
       .hint = "recv() may give less than was asked for",
       .serve = serveWithSizeAtOnce},
      {.name = "reads-the-body-at-once",
       .fails = {"request.pieces"},
       .hint = "recv() may give less than was asked for",
       .serve = serveWithBodyAtOnce},
      {.name = "waits-for-the-end",
       .fails = {"frame.answer", "request.open"},
       .hint = "no answer: does the host wait for the end of the stream",
       .serve = serveAfterTheEnd},
      {.name = "waits-for-the-end-of-the-stream",
       .fails = {"request.open"},
       .hint = "waits for the end of the stream; the size says where the request ends",
       .options = {"--only", "request.open"},
       .serve = serveAfterTheEnd},
      {.name = "serves-unknown-types",
       .fails = {"request.unknownType"},
       .hint = "an unknown type is answered with ok",
       .answer =
           [isUnknown](auto& request, auto& answer) {
             if (isUnknown(request)) {
               answer = {{"ok", true}};
             }
           }},
      {.name = "is-unavailable-for-unknown-types",
       .fails = {"request.unknownType"},
       .hint = "an unknown type is refused as unavailable; refuse it as failed",
       .answer =
           [isUnknown](auto& request, auto& answer) {
             if (isUnknown(request)) {
               answer["errorCode"] = "unavailable";
             }
           }},
      {.name = "refuses-unknown-keys",
       .fails = {"request.unknownKey"},
       .hint = "the key checkHostUnknown changes the answer",
       .answer =
           [Unknown](auto& request, auto& answer) {
             if (request.contains(Unknown)) {
               answer = failureResponse("failed", "What is that?");
             }
           }},
      {.name = "refuses-all-that-is-silent-as-locked",
       .fails = {},
       .hint = "refused as vaultLocked: unlock the vault, and check again",
       .warns = {"request.unknownType"},
       .answer = refusing(
           [](const auto& request) { return !booleanForKey(request, "allowsUserInteraction"); },
           "vaultLocked")},
      {.name = "ends-at-damaged-requests",
       .fails = {"request.damaged"},
       .hint = "the host ended with status 1 after the size 0",
       .launched = true,
       .serve = serveOrEnd},
      {.name = "ends-at-damaged-requests-for-good",
       .fails = {"request.damaged"},
       .hint = "the host has ended after the size 0",
       .serve = serveOrEnd},
      {.name = "waits-for-another-size",
       .fails = {"request.damaged"},
       .hint = "the size 0 is neither refused nor is the connection closed",
       .serve = serveWithoutRefusals},
      {.name = "takes-a-request-without-type",
       .fails = {"request.damaged"},
       .hint = "a request without type is answered with ok",
       .request =
           [](auto& request) {
             if (!request.contains(provider_message_key::type)) {
               request["type"] = "synchronize";
             }
           }},
      {.name = "takes-no-large-requests",
       .fails = {"request.large"},
       .hint = "a body may have 4194304",
       .serve = serveUpTo64KiB},
      {.name = "refuses-names-outside-ascii",
       .fails = {"request.texts"},
       .hint = "a name outside ASCII, or a user handle of 64 bytes, is refused",
       .answer =
           [](auto& request, auto& answer) {
             const auto name = stringForKey(request, provider_message_key::userName);
             if (name && std::ranges::any_of(*name, [](char each) { return each < 0; })) {
               answer = failureResponse("failed", "The name cannot be read.");
             }
           }},
      {.name = "refuses-empty-names",
       .fails = {"request.texts"},
       .hint = "an empty userName is refused",
       .options = {"--only", "request.*"},
       .answer =
           [](auto& request, auto& answer) {
             if (stringForKey(request, provider_message_key::userName) == "") {
               answer = failureResponse("failed", "A user has a name.");
             }
           }},
      {.name = "refuses-short-user-handles",
       .fails = {"request.texts"},
       .hint = "a user handle of one byte is refused",
       .options = {"--only", "request.*"},
       .answer =
           [](auto& request, auto& answer) {
             const auto handle = dataForKey(request, provider_message_key::userHandle);
             if (handle && handle->size() < 16) {
               answer = failureResponse("failed", "That is not a user handle.");
             }
           }},
      {.name = "keeps-user-handles-as-c-strings",
       .fails = {"request.texts"},
       .hint = "the user handle came back as nothing",
       .answer =
           [](auto& /*request*/, auto& answer) {
             const auto handle = dataForKey(answer, provider_message_key::userHandle);
             if (handle && handle->bytes().front() == 0) {
               answer["userHandle"] = Data();
             }
           }},
      {.name = "is-ended-by-sigpipe",
       .fails = {"client.leaves"},
       .hint = "ended by SIGPIPE: ignore it",
       .launched = true,
       .serve = serveWithoutCare},
      {.name = "is-ended-by-sigpipe-without-a-request",
       .fails = {"client.leaves"},
       .hint = "ended by SIGPIPE: ignore it",
       .launched = true,
       .serve = serveWithoutCareForAll},
      {.name = "is-ended-by-sigpipe-for-good",
       .fails = {"client.leaves"},
       .hint = "before the answer; does it ignore SIGPIPE?",
       .serve = serveWithoutCareForAll},
      {.name = "fails-without-a-request",
       .fails = {"client.leaves"},
       .hint = "the host ended with status 1 after a client that leaves without a request",
       .launched = true,
       .serve = serveOrFailWithoutRequest},
      {.name = "ends-with-its-client",
       .fails = {"client.leaves"},
       .hint = "the host has ended after a client that leaves before the answer",
       .serve = serveOrFail},
      {.name = "serves-one-at-a-time",
       .fails = {"client.silent"},
       .hint = "one connection at a time",
       .mostAtOnce = 1},
      {.name = "has-four-threads",
       .fails = {"client.silent"},
       .hint = "16 clients that send nothing hold up all: do they use up a pool of threads?",
       .mostAtOnce = 4},
      {.name = "mixes-up-answers",
       .fails = {"client.many"},
       .hint = ": do connections share a buffer?",
       .serve = serveMixedUp},
      {.name = "leaks-descriptors",
       .fails = {"host.leak"},
       .hint = ": close every connection",
       .options = {"--timeout", "20"},
       .greet = [](int /*socket*/) { std::ignore = ::dup(STDIN_FILENO); }},
      {.name = "leaks-threads",
       .fails = {"host.leak"},
       .hint = ": end a connection's thread with it",
       .options = {"--timeout", "20"},
       .greet = [](int /*socket*/) { std::thread(::pause).detach(); }},
      {.name = "waits-for-ever-for-the-rest-of-a-request",
       .fails = {"host.leak"},
       .hint = ": close every connection, also when its client leaves",
       .options = {"--timeout", "20"},
       .serve = serveOrWaitForEver},
      {.name = "leaves-zombies",
       .fails = {"host.leak"},
       .hint = ": wait for each with waitpid(), or it stays as a zombie",
       .greet =
           [](int /*socket*/) {
             if (::fork() == 0) {
               ::_exit(EXIT_SUCCESS);
             }
           }},
      {.name = "leaks-memory",
       .fails = {"host.leak"},
       .hint = ": release what a request needed",
       .options = {"--timeout", "20"},
       .greet = leakMemory},
      // Not a mistake.
      {.name = "fills-a-cache",
       .fails = {},
       .hint = "",
       .options = {"--timeout", "20"},
       .greet = fillCache},
  };
}

}  // namespace korvan::lab::broken
