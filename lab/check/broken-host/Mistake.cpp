#include "lab/check/broken-host/Mistake.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <mutex>
#include <optional>
#include <span>
#include <utility>

#include <sys/socket.h>

#include "channel/ProviderFrame.h"
#include "channel/ProviderMessage.h"
#include "lab/host/AuthenticatorData.h"

namespace korvan::lab::broken {
namespace {

bool readAll(int socket, std::span<std::uint8_t> bytes) {
  while (!bytes.empty()) {
    const ssize_t count = ::recv(socket, bytes.data(), bytes.size(), 0);
    if (count == 0 || (count < 0 && errno != EINTR)) {
      return false;
    }
    bytes = bytes.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
  return true;
}

PropertyListDictionary failure(std::string_view description) {
  return {{"ok", false}, {"errorCode", "failed"}, {"errorDescription", description}};
}

/// The passkey's signature, as WebAuthn wants it.
Data signSoundly(const Signing& signing) {
  Bytes message(signing.statement.bytes().begin(), signing.statement.bytes().end());
  message.insert(message.end(), signing.clientDataHash.bytes().begin(),
                 signing.clientDataHash.bytes().end());
  return signing.key.sign(message);
}

void alterAssertion(const PropertyListDictionary& request, PropertyListDictionary& answer,
                    const Mistake& mistake, const host::Vault& vault) {
  const auto passkey =
      std::ranges::find(vault.passkeys(), *dataForKey(answer, "credentialID"),
                        [](const host::Passkey& each) { return each.credentialID; });
  const Data statement = *dataForKey(answer, "authenticatorData");
  Bytes altered(statement.bytes().begin(), statement.bytes().end());
  if (mistake.statement) {
    mistake.statement(request, altered);
  }
  const Signing signing{.key = passkey->key,
                        .statement = Data::copyOf(altered),
                        .clientDataHash = *dataForKey(answer, "clientDataHash")};
  answer["authenticatorData"] = signing.statement;
  answer["signature"] = mistake.sign ? mistake.sign(signing) : signSoundly(signing);
}

void alterRegistration(const PropertyListDictionary& request, PropertyListDictionary& answer,
                       const Mistake& mistake) {
  // What host::attestationObject() puts before the authenticator data.
  constexpr std::size_t Start = 30;
  const Data object = *dataForKey(answer, "attestationObject");
  Bytes altered(object.bytes().begin() + Start, object.bytes().end());
  mistake.statement(request, altered);
  answer["attestationObject"] = host::attestationObject(altered);
}

void alterStatement(const PropertyListDictionary& request, PropertyListDictionary& answer,
                    const Mistake& mistake, const host::Vault& vault) {
  if (answer.contains("authenticatorData") && (mistake.statement || mistake.sign)) {
    alterAssertion(request, answer, mistake, vault);
  } else if (answer.contains("attestationObject") && mistake.statement) {
    alterRegistration(request, answer, mistake);
  }
}

PropertyListDictionary answerTo(const Bytes& requestBody, const Mistake& mistake,
                                const Surroundings& surroundings) {
  const auto request = surroundings.propertyLists.decode(Data::copyOf(requestBody));
  if (!request || request->dictionary() == nullptr) {
    return failure("The request is not a dictionary.");
  }
  // Mistakes remember things from one request to the next, and the handler does not know that the
  // vault is looked at.
  static std::mutex mutex;
  const std::scoped_lock lock(mutex);
  PropertyListDictionary seen = *request->dictionary();
  if (mistake.request) {
    mistake.request(seen);
  }
  PropertyListDictionary answer = surroundings.handler.answer(seen);
  alterStatement(*request->dictionary(), answer, mistake, surroundings.vault);
  if (mistake.keep) {
    std::vector<host::Passkey> passkeys = surroundings.vault.passkeys();
    mistake.keep(*request->dictionary(), passkeys);
    surroundings.vault.replacePasskeys(std::move(passkeys));
  }
  if (mistake.answer) {
    mistake.answer(*request->dictionary(), answer);
  }
  return answer;
}

}  // namespace

const std::vector<Mistake>& allMistakes() {
  static const std::vector<Mistake> mistakes = [] {
    constexpr std::array Groups{socketMistakes,  framingMistakes,      robustnessMistakes,
                                stallMistakes,   registrationMistakes, assertionMistakes,
                                refusalMistakes, reportMistakes,       processMistakes};
    std::vector<Mistake> all;
    for (const auto group : Groups) {
      for (Mistake& mistake : group()) {
        all.push_back(std::move(mistake));
      }
    }
    return all;
  }();
  return mistakes;
}

Bytes readFrame(int socket) {
  ProviderFramePrefix prefix{};
  if (!readAll(socket, prefix)) {
    return {};
  }
  const std::uint32_t size = decodeProviderFramePrefix(prefix);
  Bytes body(isValidProviderMessageSize(size) ? size : 0);
  return readAll(socket, body) ? body : Bytes();
}

Bytes answerFrame(const Bytes& requestBody, const Mistake& mistake,
                  const Surroundings& surroundings) {
  const auto encoded =
      surroundings.propertyLists.encodeBinary(answerTo(requestBody, mistake, surroundings));
  Bytes body(encoded->bytes().begin(), encoded->bytes().end());
  if (mistake.body) {
    mistake.body(body);
  }
  const ProviderFramePrefix prefix = encodeProviderFramePrefix(body.size());
  Bytes frame(prefix.begin(), prefix.end());
  frame.insert(frame.end(), body.begin(), body.end());
  if (mistake.frame) {
    mistake.frame(frame);
  }
  return frame;
}

void sendAll(int socket, const Bytes& bytes) {
  std::span<const std::uint8_t> left = bytes;
  while (!left.empty()) {
    const ssize_t count = ::send(socket, left.data(), left.size(), MSG_NOSIGNAL);
    if (count < 0 && errno != EINTR) {
      return;
    }
    left = left.subspan(count > 0 ? static_cast<std::size_t>(count) : 0);
  }
}

void serveSoundly(int socket, const Mistake& mistake, const Surroundings& surroundings) {
  const Bytes request = readFrame(socket);
  if (!request.empty()) {
    sendAll(socket, answerFrame(request, mistake, surroundings));
  }
  if (mistake.afterAnswer) {
    mistake.afterAnswer(socket);
  }
}

}  // namespace korvan::lab::broken
