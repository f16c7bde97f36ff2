#pragma once

#include <functional>
#include <string>

#include <nlohmann/json.hpp>

#include "lab/browser/site/Ceremonies.h"
#include "lab/browser/site/LoopbackServer.h"

namespace korvan::lab {

/// The lab's own web site: a page with a button for each kind of passkey request, whose answers the
/// lab's relying party judges. The relying party's state lives as long as this object.
///
/// It serves in GLib's default main context, on the thread that runs it. All members belong to that
/// thread.
class Site {
 public:
  /// Listens. Throws std::runtime_error when it cannot.
  Site();

  /// Where the page is: a URL on this machine that nobody can guess. With "?run" at its end the
  /// page makes each request by itself, and then calls onFinished.
  [[nodiscard]] std::string url() const { return server_.url(); }

  /// Shows a request's story on every open page:
  ///
  ///     {"id": 1, "origin": "http://localhost:40123", "kind": "create", "get", "signal" or
  ///     "configure",
  ///      "request": {…}, "entryPoints": ["prepareInterfaceForPasskeyRegistration:", …],
  ///      "outcome": "credential", "canceled", …, "error": {"name": "…", "message": "…"},
  ///      "reason": "…", "milliseconds": 12.3}
  void tell(const nlohmann::json& story);

  /// Called when a page that runs by itself has ended; `well` if its requests were answered as they
  /// should be. The site must not be destroyed in it. May be empty.
  std::function<void(bool well)> onFinished;

 private:
  [[nodiscard]] WebAnswer answer(const WebRequest& request) noexcept;
  [[nodiscard]] WebAnswer answerPost(const WebRequest& request);

  Ceremonies ceremonies_;
  LoopbackServer server_;
};

}  // namespace korvan::lab
