#include "lab/processes/Stage.h"

#include <cerrno>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include "lab/processes/Program_testing.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab {
namespace {

namespace fs = std::filesystem;

TEST(Stage, FindsTheSampleHostOfThisBuild) {
  EXPECT_TRUE(fs::equivalent(sampleHostProgram(), KORVAN_SAMPLE_HOST));
}

TEST(Stage, StartsHostsOnItsContainer) {
  const TemporaryDirectory directory;
  Stage stage(directory.path());
  SampleHostProcess& host = stage.startHost(sampleHostProgram(), {"--locked"});
  EXPECT_EQ(host.nextEvent().at("socket"), (stage.container() / "acp.sock").string());
}

TEST(Stage, LeavesNoHost) {
  const TemporaryDirectory directory;
  pid_t process = 0;
  {
    Stage stage(directory.path());
    SampleHostProcess& host = stage.startHost(sampleHostProgram(), {});
    host.nextEvent();
    process = host.processIdentifier();
  }
  EXPECT_NE(::kill(process, 0), 0);
  EXPECT_EQ(errno, ESRCH);
}

TEST(Stage, EndsTheHostThatTheLauncherBecameHoweverItWasDetached) {
  const TemporaryDirectory directory;
  const Stage stage(directory.path());
  ASSERT_EQ(::mkfifo(stage.file("launched.events").c_str(), S_IRUSR | S_IWUSR), 0);
  const fs::path vault = stage.file("it's a vault.json");
  Program desktop({"/bin/sh", "-c", "\"$0\" korvan:///launch?source=credential-provider >&- 2>&- &",
                   stage.writeLauncher({"--vault", vault})});
  EXPECT_EQ(desktop.finish().status, 0);
  std::ifstream events(stage.file("launched.events"));
  std::string ready;
  std::getline(events, ready);
  EXPECT_EQ(nlohmann::json::parse(ready).at("event"), "ready");
  stage.stopLaunchedHost();
  std::string rest;
  EXPECT_FALSE(std::getline(events, rest)) << rest;
  EXPECT_FALSE(fs::exists(stage.container() / "acp.sock"));
  EXPECT_TRUE(fs::exists(vault));
}

TEST(Stage, LeavesAProcessAloneThatItDidNotAdopt) {
  const TemporaryDirectory directory;
  Stage stage(directory.path());
  std::ofstream(stage.file("launched.pid")) << ::getpid();
  stage.stopLaunchedHost();
  SUCCEED() << "Otherwise this process had ended.";
}

}  // namespace
}  // namespace korvan::lab
