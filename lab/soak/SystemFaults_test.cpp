// A system that takes the container away, or has no descriptor or thread left, during a request to
// a real host.

#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <glib.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include "lab/processes/Program_testing.h"
#include "lab/processes/SampleHostProcess.h"
#include "lab/processes/Stage.h"
#include "lab/soak/ProcessCounts.h"
#include "lab/support/Descriptor.h"
#include "lab/support/TemporaryDirectory.h"
#include "lab/system/CallRunner.h"
#include "lab/system/TrustAnchor.h"
#include "platform/linux/NoMoreThreads_testing.h"

namespace korvan::lab::soak {
namespace {

namespace fs = std::filesystem;
using nlohmann::json;

std::size_t openDescriptors() { return entriesOf("/proc/self/fd"); }

// The container is removed while the extension waits for the host that it opened.

class ContainerRemovedDuringThePoll : public testing::Test {
 protected:
  /// Opens this program as the host application, which first of all removes the container.
  [[nodiscard]] json outcomeWithHost(const std::string& restOfScript) const {
    const fs::path program = stage.file("remove-container");
    std::ofstream script(program);
    script << "#!/bin/sh\nrm -r '" << stage.container().string() << "'\n" << restOfScript << '\n';
    script.close();
    fs::permissions(program, fs::perms::owner_all);
    const auto result =
        runLab({"call", "--container", stage.container(), "--host-application", program},
               "{\"entryPoint\":\"prepareInterfaceForExtensionConfiguration\"}\n");
    EXPECT_EQ(result.status, 0) << result.errors;
    const auto lines = jsonLines(result.output);
    EXPECT_EQ(lines.size(), 1U) << result.output;
    return lines.empty() ? json() : lines.front();
  }

  TemporaryDirectory directory;
  Stage stage{directory.path()};
};

TEST_F(ContainerRemovedDuringThePoll, EndsAtTheDeadlineAndMakesNoOther) {
  const json outcome = outcomeWithHost("");
  EXPECT_EQ(outcome.at("outcome"), "cancelled");
  EXPECT_EQ(outcome.at("noticeShown"), true);
  EXPECT_EQ(outcome.at("error").at("localizedDescription"),
            "Korvan opened, but the credential provider could not connect to it in time.");
  EXPECT_GE(outcome.at("milliseconds"), 5'000);
  EXPECT_FALSE(fs::exists(stage.container()));
}

TEST_F(ContainerRemovedDuringThePoll, FindsTheHostThatMakesItAnew) {
  EXPECT_EQ(outcomeWithHost("exec '" + stage.writeLauncher({}).string() + "' \"$@\"").at("outcome"),
            "completedConfiguration");
}

// The extension's process can get nothing more.

class ScarceSystem : public testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(host.nextEvent().at("event"), "ready"); }

  [[nodiscard]] CallResult configure() { return runner.run(configurationCall()); }

  void expectServed() {
    EXPECT_TRUE(std::holds_alternative<CompletedConfiguration>(configure().outcome));
  }

  TemporaryDirectory directory;
  SampleHostProcess host{KORVAN_SAMPLE_HOST, {"--container", directory.path().string()}};
  CallRunner runner{LabSettings{.container = directory.path(),
                                .hostApplication = std::string(LabSettings::None),
                                .trustAnchorPem = std::string(TrustAnchorPem)}};
};

/// While it lives, this process can open no more than so many descriptors.
class FreeDescriptors {
 public:
  explicit FreeDescriptors(std::size_t count) {
    EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before_), 0);
    const rlimit few{.rlim_cur = 256, .rlim_max = before_.rlim_max};
    EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &few), 0);
    for (int taken = 0; (taken = ::open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) {
      taken_.emplace_back(taken);
    }
    taken_.erase(taken_.end() - static_cast<std::ptrdiff_t>(count), taken_.end());
  }
  FreeDescriptors(const FreeDescriptors&) = delete;
  FreeDescriptors& operator=(const FreeDescriptors&) = delete;
  ~FreeDescriptors() { EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &before_), 0); }

 private:
  rlimit before_{};
  std::vector<Descriptor> taken_;
};

TEST_F(ScarceSystem, WithoutDescriptorsARequestFailsOnceAndTheNextOneIsServed) {
  const std::string unreadable = "the program or its signature cannot be read: Too many open files";
  const std::vector<std::string> expected = {
      "Opening the Korvan connection failed: Too many open files",
      "Reading the Korvan peer code signature failed: " + unreadable,
      "Validating the Korvan peer code signature failed: " + unreadable};
  expectServed();
  const std::size_t descriptors = openDescriptors();
  for (std::size_t count = 0; count < expected.size(); ++count) {
    std::optional<Outcome> outcome;
    {
      const FreeDescriptors few(count);
      outcome = configure().outcome;
    }
    ASSERT_TRUE(std::holds_alternative<Canceled>(*outcome)) << count;
    EXPECT_EQ(std::get<Canceled>(*outcome).error.localizedDescription(), expected.at(count));
    EXPECT_EQ(openDescriptors(), descriptors);
    expectServed();
  }
  const FreeDescriptors enough(expected.size());
  expectServed();
}

TEST_F(ScarceSystem, WithoutThreadsARequestWaitsForOneAndIsServed) {
  constexpr guint Milliseconds = 350;
  g_thread_pool_stop_unused_threads();
  std::optional<NoMoreThreads> limit(std::in_place);
  g_timeout_add(
      Milliseconds,
      [](gpointer limited) noexcept -> gboolean {
        static_cast<std::optional<NoMoreThreads>*>(limited)->reset();
        return G_SOURCE_REMOVE;
      },
      &limit);
  const CallResult result = configure();
  EXPECT_TRUE(std::holds_alternative<CompletedConfiguration>(result.outcome));
  EXPECT_GE(result.milliseconds, Milliseconds - 1);
  EXPECT_FALSE(limit.has_value());
  expectServed();
}

}  // namespace
}  // namespace korvan::lab::soak
