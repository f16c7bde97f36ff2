#pragma once

#include <functional>
#include <mutex>
#include <string_view>

#include "lab/host/RequestFields.h"
#include "lab/host/Vault.h"
#include "platform/PropertyList.h"

namespace korvan::lab::host {

/// Answers the requests of the credential-provider extension from a vault.
///
/// This host has no user to ask, so it plays one: whenever a request allows user interaction, the
/// user agrees, and unlocks a locked vault, or (as told) always cancels. A user who has unlocked
/// the vault counts as verified, so answers carry the flag "user verified". Only a request that
/// demands user verification without allowing user interaction is refused, to be made again with
/// the user.
class RequestHandler {
 public:
  struct Behavior {
    bool locked = false;       ///< the vault starts out locked
    bool userCancels = false;  ///< the user cancels whatever is asked
  };

  /// Keeps its passkeys in `vault`, which outlives it and is its alone meanwhile. `unlocked` is
  /// called, on the thread of the request, when a request unlocks the vault.
  RequestHandler(Vault& vault, Behavior behavior, std::function<void()> unlocked);

  /// The response to `request`, whatever the request is. A request that changes the vault has it
  /// saved before the response is returned; one that is refused has changed nothing. Usable from
  /// any thread; several requests are answered one after another.
  [[nodiscard]] PropertyListDictionary answer(const PropertyListDictionary& request);

 private:
  /// One function a request type. They throw a Refusal, or any std::exception for "failed".
  using Handler = PropertyListDictionary (RequestHandler::*)(const RequestFields& request);

  static Handler handlerFor(std::string_view type);
  PropertyListDictionary handle(const RequestFields& request);

  PropertyListDictionary assertion(const RequestFields& request);
  PropertyListDictionary registration(const RequestFields& request);
  PropertyListDictionary synchronize(const RequestFields& request);
  PropertyListDictionary updateUserName(const RequestFields& request);
  PropertyListDictionary removeUnknownCredential(const RequestFields& request);
  PropertyListDictionary acceptedCredentials(const RequestFields& request);

  void unlock(const RequestFields& request);
  void askUser() const;

  Vault& vault_;
  const bool userCancels_;
  const std::function<void()> unlocked_;
  std::mutex mutex_;
  bool locked_;
};

}  // namespace korvan::lab::host
