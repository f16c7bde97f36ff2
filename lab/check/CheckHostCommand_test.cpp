// The command as people and scripts call it.

#include <csignal>
#include <filesystem>
#include <string>
#include <tuple>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>

#include "lab/check/Catalog.h"
#include "lab/processes/Program_testing.h"
#include "lab/processes/Stage.h"
#include "lab/support/Descriptor.h"
#include "lab/support/FileContents.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::check {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Arguments = std::vector<std::string>;

class CheckHost : public testing::Test {
 protected:
  void startSampleHost() {
    SampleHostProcess& host = stage_.startHost(KORVAN_SAMPLE_HOST, {});
    host.nextEvent();
    host.ignoreEvents();
  }

  [[nodiscard]] Program::Result checkHost(Arguments arguments) const {
    arguments.insert(arguments.begin(), {"check-host", "--container", stage_.container()});
    return runLab(std::move(arguments));
  }

  [[nodiscard]] std::string launchCommand(const std::string& more = "") const {
    return std::string(KORVAN_SAMPLE_HOST) + " --container " + stage_.container().string() + more;
  }

  TemporaryDirectory directory_;
  Stage stage_{directory_.path()};
};

TEST_F(CheckHost, FindsNothingWrongWithTheSampleHost) {
  startSampleHost();
  const auto result = checkHost({});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_THAT(result.output,
              AllOf(HasSubstr("✓ container.exists\n"), HasSubstr("\n\ncheck-host: passing · ")));
}

TEST_F(CheckHost, MayCheckOneHostAgainAndAgain) {
  startSampleHost();
  for (int run = 0; run < 3; ++run) {
    const auto result = checkHost({"--only", "host.leak"});
    EXPECT_EQ(result.status, 0) << result.output << result.errors;
  }
}

TEST_F(CheckHost, FindsNothingWrongWithTheSampleHostThatItLaunches) {
  const auto result =
      checkHost({"--launch", launchCommand(" --vault " + stage_.file("vault").string())});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_THAT(result.output, HasSubstr("0 failed, 0 warned, 0 skipped"));
  EXPECT_FALSE(Stage::hasProcesses());
}

/// The vault of a launched host with that mistake, after a run.
std::string vaultAfterRun(const Stage& stage, const std::string& mistake) {
  const std::string vault = stage.file("vault");
  std::ignore = runLab({"check-host", "--container", stage.container(), "--timeout", "2", "--skip",
                        "restart.*", "--launch",
                        KORVAN_BROKEN_HOST " --mistake " + mistake + " --container " +
                            stage.container().string() + " --vault " + vault});
  return contentsOf(vault);
}

TEST_F(CheckHost, LeavesNoPasskeyInTheVault) {
  const std::string untouched = vaultAfterRun(stage_, "refuses-registrations");
  EXPECT_THAT(untouched, HasSubstr("example.com"));
  for (const std::string mistake :
       {"none", "writes-the-new-credential-id-as-text", "answers-with-another-credential-id"}) {
    EXPECT_EQ(vaultAfterRun(stage_, mistake), untouched) << mistake;
  }
}

TEST_F(CheckHost, TellsThatThereIsNoHostByItsStatus) {
  const auto result = checkHost({});
  EXPECT_EQ(result.status, 3) << result.output << result.errors;
  EXPECT_THAT(result.output, HasSubstr("does not exist; is that a typing error?"));
  EXPECT_FALSE(std::filesystem::exists(stage_.container()));
}

TEST_F(CheckHost, RefusesAPatternThatMatchesNoCheck) {
  const auto result = checkHost({"--only", "farme.*"});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.errors, HasSubstr("\"farme.*\" matches no check"));
}

TEST_F(CheckHost, RefusesToLaunchBesideAHostThatListens) {
  startSampleHost();
  const auto result = checkHost({"--launch", launchCommand()});
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.errors, HasSubstr("already; stop it, or leave out --launch"));
}

TEST_F(CheckHost, RunsOnlyTheChosenChecks) {
  startSampleHost();
  const auto result = checkHost({"--only", "container.*", "--skip", "*.mode", "--json"});
  EXPECT_THAT(jsonLines(result.output), testing::SizeIs(2));
  EXPECT_THAT(result.output, StartsWith(R"({"check":"container.exists","result":"passed")"));
}

TEST_F(CheckHost, WritesJunitBesideTheOutput) {
  startSampleHost();
  const std::string file = stage_.file("results.xml");
  const auto result = checkHost({"--only", "container.*", "--junit", file});
  EXPECT_THAT(result.output, HasSubstr("✓ container.exists"));
  EXPECT_THAT(contentsOf(file),
              HasSubstr("<testcase classname=\"container\" name=\"container.mode\""));
}

/// A run over a host that never answers, which it has launched; it waits for the answer.
class InterruptedCheckHost : public CheckHost {
 protected:
  InterruptedCheckHost()
      : program_({KORVAN_LAB, "check-host", "--container", stage_.container(), "--timeout", "60",
                  "--junit", stage_.file("results.xml"), "--launch",
                  KORVAN_BROKEN_HOST " --mistake never-answers --container " +
                      stage_.container().string()}) {
    std::string line;
    do {
      line = program_.readLine();
    } while (!line.empty() && line != "… Waiting for the host to answer");
    waits_ = !line.empty();
  }

  /// Waits until all processes of the run have ended, and takes them away.
  static void waitForTheEndOfAll() {
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
  }

  /// What is in the container; the host has made it.
  [[nodiscard]] bool leavesAnything() const {
    return !std::filesystem::is_empty(stage_.container());
  }

  Program program_;
  bool waits_ = false;
};

TEST_F(InterruptedCheckHost, LeavesNothingWhenItIsInterrupted) {
  ASSERT_TRUE(waits_);
  program_.signal(SIGINT);
  EXPECT_EQ(program_.finish().status, 128 + SIGINT);
  EXPECT_FALSE(Stage::hasProcesses());
  EXPECT_FALSE(leavesAnything());
  EXPECT_FALSE(std::filesystem::exists(stage_.file("results.xml")));
}

TEST_F(InterruptedCheckHost, LeavesNothingWhenItIsKilled) {
  ASSERT_TRUE(waits_);
  program_.signal(SIGKILL);
  EXPECT_EQ(program_.finish().status, 128 + SIGKILL);
  waitForTheEndOfAll();
  EXPECT_FALSE(leavesAnything());
}

TEST_F(CheckHost, RemovesItsPasskeysWhenItIsInterrupted) {
  const std::string vault = stage_.file("vault");
  SampleHostProcess& host = stage_.startHost(
      KORVAN_BROKEN_HOST, {"--mistake", "asks-in-a-silent-assertion", "--vault", vault});
  host.nextEvent();
  Program program({KORVAN_LAB, "check-host", "--container", stage_.container(), "--only",
                   "assertion.silent", "--timeout", "60"});
  std::string line;
  do {
    line = program.readLine();
  } while (!line.empty() && line != "… Waiting for the host to answer");
  EXPECT_THAT(contentsOf(vault), HasSubstr("check-host.invalid"));
  program.signal(SIGINT);
  EXPECT_EQ(program.finish().status, 128 + SIGINT);
  EXPECT_THAT(contentsOf(vault), Not(HasSubstr("check-host.invalid")));
}

TEST_F(CheckHost, LeavesNoSocketOfAProgramThatMustBeKilled) {
  const auto result = checkHost(
      {"--only", "launch.url", "--launch",
       KORVAN_BROKEN_HOST " --mistake ignores-sigterm --container " + stage_.container().string()});
  EXPECT_EQ(result.status, 0) << result.output << result.errors;
  EXPECT_TRUE(std::filesystem::is_empty(stage_.container()));
}

TEST_F(CheckHost, LeavesASocketFileThatWasThereBefore) {
  std::filesystem::create_directory(stage_.container());
  const std::string socket = stage_.container() / "acp.sock";
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  socket.copy(static_cast<char*>(address.sun_path), sizeof address.sun_path - 1);
  const Descriptor stale(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  ASSERT_EQ(::bind(stale.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  EXPECT_EQ(checkHost({"--only", "launch.url", "--launch", "true"}).status, 3);
  EXPECT_TRUE(std::filesystem::exists(socket));
}

TEST_F(CheckHost, TellsWhyTheProgramCannotBeStarted) {
  const auto result = checkHost({"--launch", "/nowhere/host"});
  EXPECT_EQ(result.status, 3) << result.output << result.errors;
  const std::filesystem::path container = stage_.container();
  std::filesystem::create_directory(container);
  EXPECT_THAT(checkHost({"--launch", "/nowhere/host", "--only", "socket.present"}).output,
              HasSubstr("the program cannot be started: "));
}

TEST_F(CheckHost, ShowsHowTheProgramEndedAndWhatItWrote) {
  std::filesystem::create_directory(stage_.container());
  const auto result = checkHost({"--launch", "sh -c 'echo no vault >&2; exit 4'"});
  EXPECT_EQ(result.status, 3) << result.output << result.errors;
  EXPECT_THAT(result.output, AllOf(HasSubstr("the program ended with status 4, and has made no "),
                                   HasSubstr(" s; it wrote: no vault\n")));
}

TEST_F(CheckHost, RefusesWrongUsage) {
  for (const Arguments& wrong :
       {Arguments{"--timeout", "0"}, Arguments{"--launch", "'"},
        Arguments{"--trust-anchor", "/nowhere"}, Arguments{"--junit", ""}}) {
    EXPECT_EQ(checkHost(wrong).status, 2) << wrong.front();
  }
  EXPECT_EQ(runLab({"check-host", "--container", ""}).status, 2);
}

TEST_F(CheckHost, RefusesAJunitFileThatItCannotOpenAndRunsNothing) {
  startSampleHost();
  for (const std::string& file :
       {std::string("/nowhere/results.xml"), stage_.container().string()}) {
    const auto result = checkHost({"--only", "container.*", "--junit", file});
    EXPECT_EQ(result.status, 2);
    EXPECT_EQ(result.output, "");
    EXPECT_THAT(result.errors, HasSubstr("--junit: cannot write \"" + file + "\": "));
  }
}

TEST_F(CheckHost, TellsThatTheJunitFileCannotBeWritten) {
  startSampleHost();
  const auto result = checkHost({"--only", "container.*", "--junit", "/dev/full"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, HasSubstr("cannot write \"/dev/full\"\n"));
}

TEST_F(CheckHost, LeavesNoHalfOfAJunitFile) {
  startSampleHost();
  const std::string file = stage_.file("results.xml");
  // A file may have 512 bytes, and a larger one is an error rather than the program's end.
  const auto result = Program({"/bin/sh", "-c", R"(trap '' XFSZ; ulimit -f 1; exec "$@")", "sh",
                               KORVAN_LAB, "check-host", "--container", stage_.container(),
                               "--only", "container.*", "--only", "socket.*", "--junit", file})
                          .finish();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, HasSubstr("cannot write \"" + file + "\"\n"));
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST(CheckHostList, PrintsEveryCheckAndSoDoesTheHelp) {
  const std::string list = listOf(allChecks());
  EXPECT_EQ(runLab({"check-host", "--list"}).output, list);
  EXPECT_THAT(runLab({"check-host", "--help"}).output, testing::EndsWith(list));
}

}  // namespace
}  // namespace korvan::lab::check
