#include "lab/check/CheckContext.h"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <stdexcept>
#include <system_error>
#include <tuple>
#include <utility>

#include "channel/ProviderFrame.h"
#include "lab/check/Check.h"
#include "lab/check/Requests.h"
#include "lab/check/SocketTable.h"
#include "lab/json/MessageJson.h"
#include "lab/site/AnswerJudge.h"

namespace korvan::lab::check {
namespace {

std::string secondsOf(std::chrono::milliseconds duration) {
  const auto tenths = duration.count() / 100;
  return std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " s";
}

/// Leaves the first and the last items of a long array.
void shortenArray(nlohmann::ordered_json& value) {
  constexpr std::size_t Most = 8;
  if (value.is_array() && value.size() > Most) {
    const std::string left = "… " + std::to_string(value.size() - 2) + " more …";
    value = {value.front(), left, value.back()};
  }
}

}  // namespace

CheckContext::CheckContext(CheckSettings settings, Voice say)
    : settings_(std::move(settings)),
      say_(std::move(say)),
      waits_(settings_.timeout,
             [this](const std::string& whatFor) { say_("Waiting for " + whatFor); }),
      codeSigning_(settings_.trustAnchorPem),
      passkeys_(*this),
      program_(settings_.launch.empty() ? nullptr
                                        : std::make_unique<LaunchedProgram>(settings_.launch)) {}

Connection CheckContext::connect() {
  closeSilentConnection();
  Connection connection(socketPath(), waits_);
  hasConnected_ = true;
  return connection;
}

const Connection& CheckContext::silentConnection() {
  if (!silentConnection_) {
    silentConnection_.emplace(connect());
  }
  return *silentConnection_;
}

bool CheckContext::hostListens() const {
  std::error_code error;
  if (std::filesystem::is_socket(socketPath(), error) &&
      std::ranges::any_of(socketsAt(socketPath()), &SocketEntry::listens)) {
    return true;
  }
  // The table has another name for a socket that was bound to a relative path.
  try {
    const Connection connection(socketPath(), waits_);
    return true;
  } catch (const CheckEnd&) {
    return false;
  }
}

void CheckContext::removeStaleSocket() const {
  std::error_code error;
  if (!hostListens() && std::filesystem::is_socket(socketPath(), error)) {
    std::filesystem::remove(socketPath(), error);
  }
}

ProviderMessage CheckContext::exchange(const ProviderMessage& request) {
  const auto leaveUnanswered = [&](const std::string& got) {
    Result result = failed({.sent = described(request),
                            .got = got,
                            .wanted = "an answer",
                            .hint = "the host does not answer"});
    result.because = judgeOfAnswering(request);
    throw CheckEnd(std::move(result));
  };
  if (unanswered_.contains(request)) {
    leaveUnanswered("not asked again, since a request like it was not answered");
  }
  if (unanswered_.holdsVault() && needsVault(request)) {
    throw CheckEnd(skipped("the host still keeps another request waiting"));
  }
  const Waits::Duration left = waits_.left();
  Connection connection = connect();
  // A host may answer before it has read everything, as when it refuses the size.
  std::ignore = connection.sendFrame(encoded(request).bytes());
  if (!connection.waitForBytes()) {
    requireTime(left);
    unanswered_.add(request);
    leaveUnanswered("nothing within " + secondsOf(waits_.timeout()));
  }
  return answerOn(connection, request);
}

ProviderMessage CheckContext::answerOn(Connection& connection, const ProviderMessage& request) {
  ProviderFramePrefix prefix{};
  const Waits::Duration left = waits_.left();
  const auto fail = [&](const std::string& got, const std::string& hint) {
    throw CheckEnd(failed({.sent = described(request),
                           .got = got,
                           .wanted = "a frame with a property list",
                           .hint = hint}));
  };
  const auto requireComplete = [&](const Received& received, std::size_t size) {
    const std::string some =
        std::to_string(received.bytes.size()) + " of " + std::to_string(size) + " bytes";
    if (received.ending == Ending::timedOut) {
      requireTime(left);
      fail(some + ", and no more within " + secondsOf(waits_.timeout()),
           "the host does not answer");
    }
    if (received.ending != Ending::complete) {
      fail(some + ", and then the connection " +
               (received.ending == Ending::reset ? "broke" : "was closed"),
           "the host closed the connection before it had answered");
    }
  };
  const Received size = connection.read(prefix.size());
  requireComplete(size, prefix.size());
  std::ranges::copy(size.bytes, prefix.begin());
  const std::uint32_t bodySize = decodeProviderFramePrefix(prefix);
  if (!isValidProviderMessageSize(bodySize)) {
    fail("a frame that announces " + std::to_string(bodySize) + " bytes", "see frame.bounds");
  }
  Received body = connection.read(bodySize);
  requireComplete(body, bodySize);
  const Data bytes(std::move(body.bytes));
  auto decoded = decodeProviderMessage(propertyLists_, bytes);
  if (!decoded.message) {
    fail(check::described(bytes.bytes()), "see body.binary and body.dictionary");
  }
  if (!booleanForKey(*decoded.message, provider_message_key::ok)) {
    const bool silent = !booleanForKey(request, provider_message_key::allowsUserInteraction);
    refusals_.push_back({.request = request, .findings = judgeRefusal(*decoded.message, silent)});
  }
  return *std::move(decoded.message);
}

void CheckContext::endAsTooSlow(const std::string& why) const {
  throw CheckEnd(skipped("the host answers too slowly to tell: " + why +
                         "; check again with a longer --timeout"));
}

/// Ends the check as skipped when an answer that did not come had less than half of the timeout,
/// because earlier ones took the rest.
void CheckContext::requireTime(Waits::Duration left) const {
  if (left < waits_.timeout() / 2) {
    endAsTooSlow("earlier answers left " + secondsOf(left) + " of " + secondsOf(waits_.timeout()));
  }
}

std::string CheckContext::described(const ProviderMessage& message) const {
  auto json = messageJson(propertyLists_, encoded(message));
  for (auto& value : json) {
    shortenArray(value);
  }
  return json.dump();
}

Data CheckContext::encoded(const ProviderMessage& message) const {
  auto body = propertyLists_.encodeBinary(message);
  if (!body) {
    throw std::invalid_argument("a check's message cannot be encoded");
  }
  return *std::move(body);
}

const SynchronizeRecord& CheckContext::synchronizeRecord() {
  if (!synchronizeRecord_) {
    std::ignore = silentConnection();
    synchronizeRecord_ = recordSynchronize(*std::exchange(silentConnection_, std::nullopt),
                                           encoded(synchronizeRequest(settings_.attended)));
  }
  return *synchronizeRecord_;
}

void CheckContext::tellPerson(const std::string& sentence) {
  if (settings_.attended) {
    say_(sentence);
    waits_.restart();
  }
}

bool CheckContext::startProgram() {
  stopProgram();
  synchronizeRecord_.reset();
  passkeys_.forget();
  unanswered_.forgetHost();
  launchRecord_ = {};
  waits_.restart(LaunchTime);
  try {
    program_->start();
  } catch (const std::runtime_error& error) {
    launchRecord_.failure = error.what();
    return false;
  }
  bool listens = false;
  std::ignore = waits_.until(
      [&] {
        listens = hostListens();
        return listens || !program_->isRunning();
      },
      "the program to listen");
  if (listens) {
    launchRecord_.listenedAfter = std::chrono::duration_cast<std::chrono::milliseconds>(
        Waits::Clock::now() - program_->startTime());
  }
  return listens;
}

void CheckContext::stopProgram() {
  closeSilentConnection();
  waits_.restart(EndingTime);
  program_->signal(SIGTERM);
  std::ignore = program_->endsWithin(waits_, EndingTime);
  killProgram();
}

void CheckContext::killProgram() {
  program_->kill();
  // Its children end a moment later. Until then they would pass for the program's next start, and
  // make that one end because the socket is taken.
  waits_.restart();
  std::ignore = waits_.until([this] { return !hostListens(); }, "the program's children to end",
                             std::chrono::seconds(1));
}

}  // namespace korvan::lab::check
