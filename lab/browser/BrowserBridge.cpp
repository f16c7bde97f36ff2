#include "lab/browser/BrowserBridge.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <iostream>
#include <optional>
#include <string>
#include <utility>
#include <variant>

#include <glib-unix.h>
#include <glib.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "lab/browser/BridgeSettings.h"
#include "lab/browser/BrowserAnswer.h"
#include "lab/browser/BrowserProfile.h"
#include "lab/browser/BrowserRequest.h"
#include "lab/browser/EntryPointCaller.h"
#include "lab/browser/KnownIdentities.h"
#include "lab/browser/NativeMessage.h"
#include "lab/browser/Stories.h"
#include "lab/browser/StoryLine.h"
#include "lab/json/JsonFields.h"
#include "lab/support/ExitStatus.h"
#include "lab/support/FileContents.h"
#include "lab/system/CallRunner.h"

namespace korvan::lab {
namespace {

using Json = nlohmann::json;
using Clock = std::chrono::steady_clock;

/// For a call that times out by itself to say so first.
constexpr std::chrono::seconds Grace(1);

std::string_view nameOfOutcome(const BrowserRequest& request, const BrowserAnswer& answer) {
  if (!answer.errorName.empty()) {
    return "canceled";
  }
  if (!answer.response.is_null()) {
    return "credential";
  }
  return request.kind == BrowserRequest::Kind::signal ? "returned" : "completed";
}

class Bridge {
 public:
  Bridge(const BrowserProfile& profile, int input, int output)
      : profile_(profile),
        settings_(bridgeSettingsFrom(contentsOf(profile.settingsFile()))),
        identities_(profile.identitiesFile()),
        runner_(settings_),
        caller_(runner_, identities_),
        input_(input),
        output_(output) {}

  int run() {
    auto request = readRequest();
    if (!request) {
      return finish(refusalAnswer("The lab cannot read the browser's message.", request.error()));
    }
    request_ = *std::move(request);
    watch();
    try {
      return finish(serve());
    } catch (const std::exception& error) {
      return finish(refusalAnswer("The lab could not go on.", error.what()));
    }
  }

 private:
  std::expected<BrowserRequest, std::string> readRequest() {
    const auto message = readNativeMessage(input_);
    start_ = Clock::now();
    return message ? parseBrowserRequest(*message) : std::unexpected(message.error());
  }

  void watch() {
    // Also called at the end of the input.
    g_unix_fd_add(input_, G_IO_IN, inputEnded, this);
    if (settings_.timeout) {
      g_timeout_add(static_cast<guint>((*settings_.timeout + Grace).count()), timedOut, this);
    }
  }

  static gboolean inputEnded(gint /*descriptor*/, GIOCondition /*condition*/, gpointer bridge) {
    BrowserAnswer answer = refusalAnswer("", "the page took its request back, or is gone");
    answer.errorName = "AbortError";
    auto& self = *static_cast<Bridge*>(bridge);
    self.end_ = Clock::now();
    self.tell(answer);
    ::_exit(Well);
  }

  static gboolean timedOut(gpointer bridge) {
    ::_exit(static_cast<Bridge*>(bridge)->finish(
        refusalAnswer("Korvan did not answer in time.", "the request took too long")));
  }

  BrowserAnswer serve() {
    if (const auto flaw = flawForPlatform(request_)) {
      return refusalAnswer(*flaw, *flaw);
    }
    result_ = caller_.serve(request_);
    BrowserAnswer answer = browserAnswer(request_, result_->outcome);
    if (const auto identity = identityMade(request_, answer)) {
      identities_.add(*identity);
    }
    return answer;
  }

  /// The page first: why a host did not start may take a while to find out.
  int finish(BrowserAnswer answer) {
    end_ = Clock::now();
    writeNativeMessage(output_,
                       answer.message().dump(-1, ' ', false, Json::error_handler_t::replace));
    if (!answer.errorName.empty() && result_ && result_->frames.empty()) {
      for (const std::string& sentence : runner_.causesOfFailedLaunch()) {
        answer.reason += "; " + sentence;
      }
    }
    tell(answer);
    return Well;
  }

  void tell(const BrowserAnswer& answer) const {
    Json story = {
        {"id", ::getpid()},
        {"origin", request_.origin},
        {"kind", request_.kindName()},
        {"request", request_.details},
        {"entryPoints", caller_.called()},
        {"outcome", nameOfOutcome(request_, answer)},
        {"milliseconds", std::chrono::duration<double, std::milli>(end_ - start_).count()}};
    if (!answer.errorName.empty()) {
      story["error"] = {{"name", answer.errorName}, {"message", answer.errorMessage}};
      story["reason"] = answer.reason;
      const auto* const canceled = result_ ? std::get_if<Canceled>(&result_->outcome) : nullptr;
      story["noticeShown"] = canceled != nullptr && canceled->noticeShown;
    }
    if (!tellStory(profile_.storySocket(), story)) {
      std::cerr << storyLine(story) << '\n' << std::flush;
    }
  }

  const BrowserProfile& profile_;
  const LabSettings settings_;
  const KnownIdentities identities_;
  CallRunner runner_;
  EntryPointCaller caller_;
  const int input_;
  const int output_;
  BrowserRequest request_;
  std::optional<CallResult> result_;
  Clock::time_point start_ = Clock::now();
  Clock::time_point end_ = start_;
};

}  // namespace

int runBrowserBridge(const std::filesystem::path& directory, int input, int output) {
  const BrowserProfile profile(directory);
  return Bridge(profile, input, output).run();
}

}  // namespace korvan::lab
