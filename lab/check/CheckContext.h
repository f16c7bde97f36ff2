#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "channel/ProviderMessage.h"
#include "lab/check/CheckPasskeys.h"
#include "lab/check/Connection.h"
#include "lab/check/LaunchedProgram.h"
#include "lab/check/SynchronizeRecord.h"
#include "lab/check/UnansweredRequests.h"
#include "lab/check/Waits.h"
#include "lab/site/Finding.h"
#include "platform/linux/LinuxLocalSockets.h"
#include "platform/linux/codesigning/LinuxCodeSigning.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab::check {

struct CheckSettings {
  /// The app group's container. Never made.
  std::filesystem::path container;
  /// The certificate that the chain of the host's signature must end in.
  std::string trustAnchorPem;
  /// The program that is the host, and its arguments; empty when the host runs already.
  // So that initializers may leave it out.
  // NOLINTNEXTLINE(readability-redundant-member-init)
  std::vector<std::string> launch = {};
  std::chrono::milliseconds timeout = std::chrono::seconds(10);
  /// Whether a person answers what the host asks.
  bool attended = true;
};

/// Takes a sentence for the person who watches the run, while a check lasts.
using Voice = std::function<void(const std::string& sentence)>;

/// How long the extension retries until a host that it has started listens.
inline constexpr std::chrono::milliseconds LaunchTime = std::chrono::seconds(5);

/// How long a host may take to end when it is asked to.
inline constexpr std::chrono::milliseconds EndingTime = std::chrono::seconds(2);

/// The result of the last start of the program.
struct LaunchRecord {
  /// Why it could not be started at all; empty when it was.
  std::string failure;
  /// How long it took to listen. Nullopt when it ended before, or did not in time.
  std::optional<std::chrono::milliseconds> listenedAfter;
};

struct Exchange {
  ProviderMessage request;
  ProviderMessage answer;
};

/// What was found in the refusal of a request. The refusal itself may be 4 MiB.
struct JudgedRefusal {
  ProviderMessage request;
  FindingList findings;
};

/// What the checks of one run share. Not thread-safe.
class CheckContext {
 public:
  CheckContext(CheckSettings settings, Voice say);
  CheckContext(const CheckContext&) = delete;
  CheckContext& operator=(const CheckContext&) = delete;
  ~CheckContext() = default;

  [[nodiscard]] const CheckSettings& settings() const noexcept { return settings_; }
  [[nodiscard]] std::string socketPath() const { return settings_.container / "acp.sock"; }
  [[nodiscard]] Waits& waits() noexcept { return waits_; }
  [[nodiscard]] const LinuxLocalSockets& sockets() const noexcept { return sockets_; }
  [[nodiscard]] const LinuxCodeSigning& codeSigning() const noexcept { return codeSigning_; }
  [[nodiscard]] const PropertyListSerialization& propertyLists() const noexcept {
    return propertyLists_;
  }

  /// A new connection. Throws a CheckEnd "failed" when nobody takes it.
  [[nodiscard]] Connection connect();

  /// The connection of the checks that send nothing, made when it is asked for first. They share it
  /// with synchronizeRecord(), so that no client leaves a host that cannot bear that before
  /// client.leaves tells of it. It lasts until another connection is made. Throws as connect().
  [[nodiscard]] const Connection& silentConnection();

  /// Closes that connection.
  void closeSilentConnection() { silentConnection_.reset(); }

  /// Whether anybody has taken a connection of this run.
  [[nodiscard]] bool hasConnected() const noexcept { return hasConnected_; }

  /// True when somebody listens now. Makes no connection where the kernel tells.
  [[nodiscard]] bool hostListens() const;

  /// One exchange on a connection of its own: the host's answer, decoded as the extension decodes
  /// it. Throws a CheckEnd "failed" that says how far it got when there is none; it names the check
  /// that judges that where another one does. Throws a CheckEnd "skipped" for a request that a host
  /// cannot answer while it keeps others waiting, and when earlier answers of the check took so
  /// long that there is no time left for this one.
  [[nodiscard]] ProviderMessage exchange(const ProviderMessage& request);

  /// The rest of an exchange, on a connection on which the whole request was sent.
  [[nodiscard]] ProviderMessage answerOn(Connection& connection, const ProviderMessage& request);

  /// Ends a check as skipped, because the host answers too slowly for it. `why` says how slowly.
  [[noreturn]] void endAsTooSlow(const std::string& why) const;

  /// The requests of exchange() that were not answered in time.
  [[nodiscard]] const UnansweredRequests& unanswered() const noexcept { return unanswered_; }

  /// All answers so far that are not `ok`, in their order.
  [[nodiscard]] const std::vector<JudgedRefusal>& refusals() const noexcept { return refusals_; }

  /// A request for people, as one line of JSON.
  [[nodiscard]] std::string described(const ProviderMessage& message) const;

  /// The bytes of a request's body.
  [[nodiscard]] Data encoded(const ProviderMessage& message) const;

  /// How the host treats one plain request, with every byte that it sent. The exchange is made when
  /// this is called first.
  [[nodiscard]] const SynchronizeRecord& synchronizeRecord();

  /// Tells the person, if there is one, what to do in the host, and gives them the whole timeout.
  void tellPerson(const std::string& sentence);

  /// Removes a socket file on which nobody listens.
  void removeStaleSocket() const;

  /// The host, of a run that starts it itself; for checks with Need::program.
  [[nodiscard]] LaunchedProgram& program() { return *program_; }
  [[nodiscard]] bool hasProgram() const noexcept { return program_ != nullptr; }

  /// Starts the program, again if it runs, and waits until it listens or ends, for LaunchTime if
  /// the timeout is shorter. True when it listens.
  bool startProgram();

  /// What the last startProgram() came to.
  [[nodiscard]] const LaunchRecord& launchRecord() const noexcept { return launchRecord_; }

  /// Has the program end as the system would have it, and kills it if it does not within
  /// EndingTime.
  void stopProgram();

  /// Kills the program with all that it has started, and waits until that listens no more. A child
  /// that listens on in a session of its own is left after a second.
  void killProgram();

  /// The passkeys of the run, made when they are asked for first; for checks with Need::passkey.
  [[nodiscard]] CheckPasskeys& passkeys() noexcept { return passkeys_; }

 private:
  void requireTime(Waits::Duration left) const;

  CheckSettings settings_;
  Voice say_;
  Waits waits_;
  LinuxLocalSockets sockets_;
  LinuxCodeSigning codeSigning_;
  LinuxPropertyListSerialization propertyLists_;
  std::optional<SynchronizeRecord> synchronizeRecord_;
  CheckPasskeys passkeys_;
  std::optional<Connection> silentConnection_;
  bool hasConnected_ = false;
  UnansweredRequests unanswered_;
  std::vector<JudgedRefusal> refusals_;
  std::unique_ptr<LaunchedProgram> program_;
  LaunchRecord launchRecord_;
};

}  // namespace korvan::lab::check
