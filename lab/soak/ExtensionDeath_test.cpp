// Processes of the extension that SIGKILL ends at every stage of an exchange with the sample host.

#include <algorithm>
#include <csignal>
#include <cstddef>
#include <filesystem>
#include <limits>
#include <span>
#include <string>
#include <tuple>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "channel/ExchangeProviderMessage.h"
#include "lab/processes/SampleHostProcess.h"
#include "lab/soak/ProcessCounts.h"
#include "lab/support/TemporaryDirectory.h"
#include "lab/system/ForwardedSockets.h"
#include "lab/system/TrustAnchor.h"
#include "platform/linux/LinuxClock.h"
#include "platform/linux/LinuxLocalSockets.h"
#include "platform/linux/codesigning/LinuxCodeSigning.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab::soak {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t Never = std::numeric_limits<std::size_t>::max();
constexpr std::size_t PrefixSize = 4;

/// Where the extension's process ends: before it would send, or receive, more than so many bytes.
struct DeathStage {
  std::string name;
  std::size_t sent = Never;
  std::size_t received = Never;
};

/// The kernel's sockets, for a process that ends itself.
class MortalSockets final : public ForwardedSockets {
 public:
  MortalSockets(const LocalSockets& sockets, DeathStage stage)
      : ForwardedSockets(sockets), stage_(std::move(stage)) {}

  [[nodiscard]] std::ptrdiff_t send(int descriptor,
                                    std::span<const std::uint8_t> bytes) const override {
    const auto count =
        ForwardedSockets::send(descriptor, bytes.first(allowed(bytes.size(), stage_.sent)));
    stage_.sent -= static_cast<std::size_t>(count);
    return count;
  }
  [[nodiscard]] std::ptrdiff_t recv(int descriptor, std::span<std::uint8_t> bytes) const override {
    const auto count =
        ForwardedSockets::recv(descriptor, bytes.first(allowed(bytes.size(), stage_.received)));
    stage_.received -= static_cast<std::size_t>(count);
    return count;
  }

 private:
  static std::size_t allowed(std::size_t wanted, std::size_t left) {
    if (left == 0) {
      std::ignore = std::raise(SIGKILL);
    }
    return std::min(wanted, left);
  }

  mutable DeathStage stage_;
};

// The thread sanitizer has one of its own from a process's second thread on.
#ifdef KORVAN_SANITIZED
constexpr std::size_t ThreadsOfSanitizer = 1;
#else
constexpr std::size_t ThreadsOfSanitizer = 0;
#endif

class ExtensionDeath : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(host.nextEvent().at("event"), "ready"); }

  [[nodiscard]] std::expected<Data, Error> exchange(const LocalSockets& sockets) const {
    return exchangeProviderMessage(sockets, codeSigning, (container / "acp.sock").native(),
                                   request.bytes())
        .response;
  }

  /// Makes the exchange in a process of its own, which ends at this stage.
  void exchangeAndDie(const DeathStage& stage) const {
    const pid_t extension = ::fork();
    if (extension == 0) {
      std::ignore = exchange(MortalSockets(LinuxLocalSockets(), stage));
      ::_exit(0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(extension, &status, 0), extension);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << stage.name;
  }

  [[nodiscard]] std::size_t countOf(const char* kind) const {
    return entriesOf(fs::path("/proc") / std::to_string(host.processIdentifier()) / kind);
  }

  /// A connection's thread ends a little after the connection is told of.
  void expectHostHolds(std::size_t descriptors, std::size_t threads) const {
    const LinuxClock clock;
    const double deadline = clock.systemUptime() + 10;
    while ((countOf("fd") > descriptors || countOf("task") > threads) &&
           clock.systemUptime() < deadline) {
      clock.usleep(1'000);
    }
    EXPECT_EQ(countOf("fd"), descriptors);
    EXPECT_LE(countOf("task"), threads);
  }

  TemporaryDirectory directory;
  const fs::path container = directory.path() / "container";
  const LinuxCodeSigning codeSigning{std::string(TrustAnchorPem)};
  const Data request = LinuxPropertyListSerialization()
                           .encodeBinary({{"type", "synchronize"}, {"allowsUserInteraction", true}})
                           .value();
  SampleHostProcess host{KORVAN_SAMPLE_HOST, {"--container", container.string()}};
};

TEST_F(ExtensionDeath, DisturbsNoOtherRequestAndLeavesNothingInTheHost) {
  const std::size_t descriptors = countOf("fd");
  const std::size_t threads = countOf("task") + ThreadsOfSanitizer;
  const std::size_t frameSize = PrefixSize + request.size();
  for (const DeathStage& stage :
       {DeathStage{.name = "after connecting", .sent = 0},
        DeathStage{.name = "within the request's prefix", .sent = 2},
        DeathStage{.name = "after the request's prefix", .sent = PrefixSize},
        DeathStage{.name = "within the request", .sent = frameSize / 2},
        DeathStage{.name = "after the request", .received = 0},
        DeathStage{.name = "within the answer's prefix", .received = 2},
        DeathStage{.name = "after the answer's prefix", .received = PrefixSize},
        DeathStage{.name = "within the answer", .received = PrefixSize + 10}}) {
    SCOPED_TRACE(stage.name);
    exchangeAndDie(stage);
    const auto event = host.nextEvent();
    EXPECT_EQ(event.at("event"), "connection");
    EXPECT_EQ(event.at("bytesReceived"), std::min(stage.sent, frameSize));

    EXPECT_TRUE(exchange(LinuxLocalSockets()).has_value());
    EXPECT_EQ(host.nextEvent().at("ok"), true);
    expectHostHolds(descriptors, threads);
  }
}

}  // namespace
}  // namespace korvan::lab::soak
