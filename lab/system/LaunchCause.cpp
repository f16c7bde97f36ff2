#include "lab/system/LaunchCause.h"

#include <cstddef>
#include <optional>
#include <sstream>
#include <thread>

#include <fcntl.h>

#include "channel/HostIdentifiers.h"
#include "channel/PeerVerification.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab {
namespace {

using Clock = LaunchedHost::Clock;

constexpr std::chrono::seconds MostWaiting(10);
constexpr std::chrono::milliseconds Pause(50);
/// What the extension grants a host that it opened.
constexpr std::chrono::seconds Granted(5);

std::string secondsOf(Clock::duration duration) {
  std::ostringstream text;
  text.setf(std::ios::fixed);
  text.precision(1);
  text << std::chrono::duration<double>(duration).count() << " s";
  return text.str();
}

/// What the listener at the socket is, if there is one: empty if it is the host.
std::optional<std::string> flawOfListener(const LabPlatform& platform, const std::string& socket) {
  const LocalSockets& sockets = platform.systemSockets;
  const Descriptor connection(sockets.socket());
  // A queue that is full must not hold up anybody.
  ::fcntl(connection.get(), F_SETFL, O_NONBLOCK);
  if (sockets.connect(connection.get(), socket) != 0) {
    return std::nullopt;
  }
  const PeerVerdict verdict =
      verifyPeer(sockets, platform.codeSigning, connection.get(), AcceptedHostIdentifiers);
  return verdict.error ? verdict.error->localizedDescription().value_or("") : std::string();
}

std::string causeOf(const LaunchedHost& host, const LabPlatform& platform,
                    const std::string& socket, const std::function<Clock::time_point()>& now) {
  while (true) {
    const Clock::duration spent = now() - host.startTime();
    if (const auto flaw = flawOfListener(platform, socket)) {
      const std::string listens =
          host.program() + " listens" +
          (spent > Granted ? ", " + secondsOf(spent) + " after it was opened; it has 5 s" : "");
      return flaw->empty() ? listens : listens + ", but is not trusted: " + visibleText(*flaw);
    }
    if (const auto ending = host.ending()) {
      return host.program() + " " + *ending;
    }
    if (spent > MostWaiting || platform.patience.isOver()) {
      return host.program() + " runs, but nobody listens at " + socket;
    }
    std::this_thread::sleep_for(Pause);
  }
}

void appendErrors(std::vector<std::string>& sentences, const std::string& errors) {
  constexpr std::size_t MostLines = 20;
  std::istringstream lines(errors);
  std::vector<std::string> written;
  for (std::string line; std::getline(lines, line);) {
    written.push_back("  " + visibleText(line));
  }
  if (written.empty()) {
    return;
  }
  sentences.emplace_back("It wrote to standard error:");
  const std::size_t skipped = written.size() > MostLines ? written.size() - MostLines : 0;
  sentences.insert(sentences.end(), written.begin() + static_cast<std::ptrdiff_t>(skipped),
                   written.end());
}

}  // namespace

std::vector<std::string> causesOfFailedLaunch(LabPlatform& platform,
                                              const std::function<Clock::time_point()>& now) {
  const auto& host = platform.workspace.launched();
  const auto container = platform.appGroupContainers.containerPath(AppGroupIdentifier);
  if (!host || !container) {
    return {};
  }
  if (!host->started()) {
    return {host->program() + " cannot be executed"};
  }
  std::vector<std::string> sentences = {causeOf(*host, platform, *container + "/acp.sock", now) +
                                        "."};
  appendErrors(sentences, host->errors());
  return sentences;
}

}  // namespace korvan::lab
