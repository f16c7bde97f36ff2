#pragma once

#include <filesystem>
#include <optional>

#include <nlohmann/json.hpp>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// Receives the stories that bridges send: what a page asked, and how that ended. A story is an
/// object with
///
///     "id"            the bridge's process ID
///     "origin"        the page's, or ""
///     "kind"          "create", "get", "signal" or "configure"
///     "request"       what the page asked, bytes as base64url
///     "entryPoints"   those that were called, in order, as the platform spells them
///     "outcome"       "credential", "completed", "returned" or "canceled"
///     "error"         with "canceled": the page's exception, {"name", "message"}
///     "reason"        with "canceled": the reason for a developer
///     "noticeShown"   whether the notice was up
///     "milliseconds"  from the message's arrival to the answer
class StoryListener {
 public:
  /// Listens on a new socket. Throws std::system_error when it cannot.
  explicit StoryListener(const std::filesystem::path& socket);

  /// Readable when there is a story.
  [[nodiscard]] int descriptor() const { return socket_.get(); }

  /// The next story that has arrived, or nullopt if none has. Other messages are skipped.
  [[nodiscard]] std::optional<nlohmann::json> next() const;

 private:
  Descriptor socket_;
};

/// Sends a story to the listener at `socket`. False if there is none.
[[nodiscard]] bool tellStory(const std::filesystem::path& socket, const nlohmann::json& story);

}  // namespace korvan::lab
