#include "lab/system/LaunchCause.h"

#include <chrono>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "lab/host/HostSocket.h"
#include "lab/support/TemporaryDirectory.h"
#include "lab/system/TrustAnchor.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;
using testing::ElementsAre;
using testing::StartsWith;

/// A program that was opened, and runs until the test ends.
class LaunchCause : public testing::Test {
 protected:
  LaunchCause() {
    ::mkfifo(pipe().c_str(), S_IRUSR | S_IWUSR);
    std::ofstream(program()) << "#!/bin/sh\nexec cat <" << pipe().string() << '\n';
    fs::permissions(program(), fs::perms::owner_all);
    opened_ = platform_.workspace.openURL("korvan:///launch");
  }

  void TearDown() override {
    ASSERT_TRUE(opened_);
    // The program ends with what it reads.
    std::ofstream(pipe()).close();
    EXPECT_GT(::waitpid(-1, nullptr, 0), 0);
  }

  [[nodiscard]] fs::path container() const { return directory_.path() / "container"; }
  [[nodiscard]] fs::path program() const { return directory_.path() / "host"; }
  [[nodiscard]] fs::path pipe() const { return directory_.path() / "pipe"; }

  /// What is told so long after the program was opened.
  [[nodiscard]] std::vector<std::string> causesAfter(std::chrono::milliseconds time) {
    return causesOfFailedLaunch(platform_,
                                [&] { return platform_.workspace.launched()->startTime() + time; });
  }

  TemporaryDirectory directory_;
  LabPlatform platform_{{.container = container(),
                         .hostApplication = program(),
                         .trustAnchorPem = std::string(TrustAnchorPem)}};
  bool opened_ = false;
};

TEST_F(LaunchCause, TellsOfAProgramThatListensAfterItsTime) {
  const host::HostSocket socket(container());
  EXPECT_THAT(causesAfter(std::chrono::milliseconds(7040)),
              ElementsAre(StartsWith(program().string() +
                                     " listens, 7.0 s after it was opened; it has 5 s")));
  EXPECT_THAT(causesAfter(std::chrono::seconds(5)),
              ElementsAre(StartsWith(program().string() + " listens, but is not trusted: ")));
}

TEST_F(LaunchCause, TellsOfAProgramThatRunsWithoutListening) {
  EXPECT_THAT(causesAfter(std::chrono::milliseconds(10001)),
              ElementsAre(program().string() + " runs, but nobody listens at " +
                          container().string() + "/acp.sock."));
}

}  // namespace
}  // namespace korvan::lab
