// What every program of the lab owes to the shell that starts it: exit statuses, help, versions,
// and an output that may be nobody's.

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include "lab/processes/Program_testing.h"
#include "lab/support/TemporaryDirectory.h"
#include "lab/whole/TerminalSession_testing.h"

namespace korvan::lab {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using Arguments = std::vector<std::string>;

constexpr const char* NoHostLine = R"({"entryPoint":"prepareInterfaceForExtensionConfiguration"})";

/// Every command that prints, and the sample host, which runs in `container`.
std::vector<Arguments> programsThatPrint(const std::string& container) {
  std::vector<Arguments> programs;
  for (const Arguments& arguments : {Arguments{"--help"},
                                     {"--version"},
                                     {"help"},
                                     {"help", "report"},
                                     {"identifiers"},
                                     {"demo", "--step", "1"},
                                     {"register"},
                                     {"sign-in"},
                                     {"configure"},
                                     {"report", "unknown-credential"},
                                     {"check-host", "--list"},
                                     {"soak", "--minutes", "0.001"},
                                     {"call", "--host-application", "none", "-"}}) {
    programs.push_back({KORVAN_LAB});
    programs.back().insert(programs.back().end(), arguments.begin(), arguments.end());
  }
  for (const Arguments& arguments :
       {Arguments{"--help"}, {"--version"}, {"--container", container}}) {
    programs.push_back({KORVAN_SAMPLE_HOST});
    programs.back().insert(programs.back().end(), arguments.begin(), arguments.end());
  }
  return programs;
}

/// Makes this process the parent of its detached descendants.
struct Adoption {
  Adoption() { ::prctl(PR_SET_CHILD_SUBREAPER, 1); }
  Adoption(const Adoption&) = delete;
  Adoption& operator=(const Adoption&) = delete;
  ~Adoption() { ::prctl(PR_SET_CHILD_SUBREAPER, 0); }
};

class Manners : public testing::Test {
 protected:
  [[nodiscard]] std::string file(const char* name) const { return directory_.path() / name; }

  /// Runs the program behind a line of the shell that ends with "$@".
  [[nodiscard]] Program::Result runBehind(const std::string& line, const Arguments& program) const {
    Arguments command = {
        "/usr/bin/env", "-C", directory_.path(), "XDG_DATA_HOME=" + file("data"), "/bin/sh", "-c",
        line,           "sh"};
    command.insert(command.end(), program.begin(), program.end());
    Program shell(command);
    shell.write(std::string(NoHostLine) + "\n");
    return shell.finish();
  }

  void expectNoticed(const std::string& line) const {
    for (const Arguments& program : programsThatPrint(file("container"))) {
      const auto result = runBehind(line, program);
      EXPECT_EQ(result.status, 1) << testing::PrintToString(program);
      EXPECT_THAT(result.errors, HasSubstr(": cannot write to standard output\n"))
          << testing::PrintToString(program);
    }
  }

  TemporaryDirectory directory_;
};

TEST_F(Manners, OutputThatDoesNotFitIsNoticed) { expectNoticed(R"(exec "$@" >/dev/full)"); }

TEST_F(Manners, OutputThatNobodyReadsIsNoticed) {
  // The pipe is opened both ways first, since opening one end waits for the other.
  expectNoticed(R"(rm -f pipe; mkfifo pipe; exec 3<>pipe 4>pipe 3<&-; exec "$@" >&4 4>&-)");
}

TEST_F(Manners, WrongUsageIsToldFromFailureInALineThatNamesTheProgram) {
  const std::vector<std::pair<Arguments, std::string>> rows = {
      {{KORVAN_LAB}, "korvan-lab: "},
      {{KORVAN_LAB, "sing-in"}, "korvan-lab: \"sing-in\" is unknown to "},
      {{KORVAN_LAB, "help", "sing-in"}, "korvan-lab: \"sing-in\" is not a command"},
      {{KORVAN_LAB, "demo", "--step"}, "korvan-lab: --step needs a value; see "},
      {{KORVAN_LAB, "register", "--algorithms", "-7,x"},
       "korvan-lab: --algorithms: \"x\" is not an algorithm's number from "},
      {{KORVAN_LAB, "check-host", "--timeout", "abc"},
       "korvan-lab: --timeout: \"abc\" is not a number of seconds from 1 to 3600; see "},
      {{KORVAN_LAB, "host-status", "--timeout", "0.5"},
       "korvan-lab: --timeout: \"0.5\" is not a number of seconds from 1 to 3600; see "},
      {{KORVAN_LAB, "check-host", "--version"},
       "korvan-lab: \"--version\" is unknown to " KORVAN_LAB " check-host; see " KORVAN_LAB
       " check-host --help"},
      {{KORVAN_LAB, "sign-in", "alice"}, "korvan-lab: \"alice\" is unknown to "},
      {{KORVAN_LAB, "demo", "--step", "1", "--step", "2"},
       "korvan-lab: --step may be given only once; see "},
      {{KORVAN_LAB, "register", "--relying-party", "https://example.com"},
       "korvan-lab: --relying-party: \"https://example.com\" is not a domain, such as example.com"},
      {{KORVAN_LAB, "sign-in", "--relying-party", "example..com"}, "korvan-lab: --relying-party: "},
      {{KORVAN_LAB, "report", "unknown-credential", "--relying-party", ""},
       "korvan-lab: --relying-party: "},
      {{KORVAN_LAB, "register", "--exclude", ""},
       "korvan-lab: --exclude: \"\" is not base64url without padding"},
      {{KORVAN_LAB, "configure", "--trust-anchor", ""},
       "korvan-lab: --trust-anchor: cannot read \"\": "},
      {{KORVAN_LAB, "call", "--host-application", file("missing")},
       "korvan-lab: --host-application: \"" + file("missing") + "\" is not a file"},
      {{KORVAN_LAB, "check-host", "--trust-anchor", ""},
       "korvan-lab: --trust-anchor: cannot read \"\": "},
      {{KORVAN_LAB, "check-host", "--only", "nothing"}, "korvan-lab: "},
      {{KORVAN_LAB, "call", file("missing")}, "korvan-lab: FILE: cannot read \"" + file("missing")},
      {{KORVAN_SAMPLE_HOST, "--vault"}, "korvan-sample-host: --vault needs a value; see "},
      {{KORVAN_SAMPLE_HOST, "--loud"}, "korvan-sample-host: "}};
  for (const auto& [command, error] : rows) {
    const auto result = Program(command).finish();
    EXPECT_EQ(result.status, 2) << error;
    EXPECT_EQ(result.output, "") << error;
    EXPECT_THAT(result.errors, StartsWith(error));
    EXPECT_EQ(std::ranges::count(result.errors, '\n'), 1) << result.errors;
  }
}

TEST_F(Manners, NoHostIsToldFromAHostThatFails) {
  const std::string container = file("container");
  const Arguments options = {"--container", container, "--host-application", "none"};
  Program host({KORVAN_SAMPLE_HOST, "--container", container, "--user-cancels"});
  EXPECT_NE(host.readLine(), "");
  for (const auto& [command, refused] :
       {std::pair(Arguments{"sign-in", "--relying-party", "example.net"}, 1),
        {Arguments{"register"}, 1},
        {Arguments{"configure"}, 0},
        {Arguments{"report", "unknown-credential", "--credential", "AQ"}, 0}}) {
    Arguments arguments = command;
    arguments.insert(arguments.end(), options.begin(), options.end());
    EXPECT_EQ(runLab(arguments).status, refused) << command.front();
    std::ranges::replace(arguments, container, file("nowhere"));
    EXPECT_EQ(runLab(arguments).status, 3) << command.front();
  }
}

TEST_F(Manners, ProgramsSayTheirVersion) {
  for (const auto& [program, name] : {std::pair(KORVAN_LAB, "korvan-lab "),
                                      std::pair(KORVAN_SAMPLE_HOST, "korvan-sample-host ")}) {
    const auto result = Program({program, "--version"}).finish();
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, std::string(name) + KORVAN_VERSION + "\n");
  }
}

TEST_F(Manners, HelpPrintsThePageOfACommand) {
  for (const Arguments& command :
       {Arguments{}, {"call"}, {"report"}, {"report", "unknown-credential"}}) {
    Arguments help = {"help"};
    help.insert(help.end(), command.begin(), command.end());
    Arguments option = command;
    option.emplace_back("--help");
    const auto result = runLab(help);
    EXPECT_EQ(result.status, 0);
    EXPECT_THAT(result.output, HasSubstr("Usage: "));
    EXPECT_EQ(result.output, runLab(option).output);
  }
}

TEST_F(Manners, DemoLeadsToAPageThatSaysHowToNameAHost) {
  const std::string tour = runLab({"demo"}).output;
  const std::string lead = "With a host of your own: see " + std::string(KORVAN_LAB) + " ";
  const std::size_t start = tour.find(lead) + lead.size();
  const std::string command = tour.substr(start, tour.find(" --help.", start) - start);
  EXPECT_THAT(runLab({"help", command}).output, HasSubstr("--container DIR"));
}

TEST_F(Manners, CallTakesADashForStandardInput) {
  const auto result = runLab({"call", "--container", "none", "-"}, NoHostLine);
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_EQ(jsonLines(result.output).size(), 1U);
}

TEST_F(Manners, InterruptedCommandEndsWithTheSignalsStatus) {
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    Program soak({KORVAN_LAB, "soak", "--minutes", "1"});
    EXPECT_THAT(soak.readLine(), StartsWith("seed "));
    soak.signal(signal);
    EXPECT_EQ(soak.finish().status, 128 + signal);
    Program call({KORVAN_LAB, "call", "--container", "none"});
    call.write(std::string(NoHostLine) + "\n");
    EXPECT_NE(call.readLine(), "");
    call.signal(signal);
    EXPECT_EQ(call.finish().status, 128 + signal);
  }
}

TEST_F(Manners, KilledCommandLeavesNoProcessAndNoFile) {
  const std::string temporary = file("tmp");
  for (const auto& [arguments, line] :
       {std::pair(Arguments{"soak", "--minutes", "1"}, "seed "),
        std::pair(Arguments{"demo"}, "2. "), std::pair(Arguments{"register"}, "Registering ")}) {
    std::filesystem::create_directory(temporary);
    const Adoption adoption;
    Arguments command = {"/usr/bin/env", "TMPDIR=" + temporary, KORVAN_LAB};
    command.insert(command.end(), arguments.begin(), arguments.end());
    Program program(command);
    while (!program.readLine().starts_with(line)) {
    }
    program.signal(SIGKILL);
    EXPECT_EQ(program.finish().status, 128 + SIGKILL);
    // Returns once all that the command started, adopted by this process, has ended.
    while (::waitpid(-1, nullptr, 0) > 0) {
    }
    EXPECT_TRUE(std::filesystem::is_empty(temporary)) << line;
  }
}

TEST_F(Manners, CommandRemovesTheDirectoryOfOneThatWasKilledAltogether) {
  const std::string temporary = file("tmp");
  std::filesystem::create_directories(temporary + "/korvan-lab.killed/container");
  const auto result =
      Program({"/usr/bin/env", "TMPDIR=" + temporary, KORVAN_LAB, "configure"}).finish();
  EXPECT_EQ(result.status, 0) << result.errors;
  EXPECT_TRUE(std::filesystem::is_empty(temporary));
}

TEST_F(Manners, MissingTemporaryDirectoryIsNamed) {
  const auto result =
      Program({"/usr/bin/env", "TMPDIR=" + file("missing"), KORVAN_LAB, "configure"}).finish();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, StartsWith("korvan-lab: cannot make a temporary directory such as " +
                                        file("missing/korvan-lab.")));
}

TEST_F(Manners, ColorsAreForTerminalsThatTakeThem) {
  constexpr std::string_view Last = "The system learns that the user is needed";
  const auto shownWith = [&](const std::string& environment) {
    TerminalSession session("env -u NO_COLOR " + environment + " " KORVAN_LAB " demo --step 8");
    std::string shown = session.readUntil(Last);
    EXPECT_EQ(session.finish(), 0) << environment;
    EXPECT_THAT(shown, HasSubstr(Last)) << environment;
    return shown;
  };
  EXPECT_THAT(shownWith("TERM=xterm"), HasSubstr("\x1b["));
  EXPECT_THAT(shownWith("TERM=xterm NO_COLOR="), HasSubstr("\x1b["));
  EXPECT_THAT(shownWith("TERM=dumb"), Not(HasSubstr("\x1b")));
  EXPECT_THAT(shownWith("TERM=xterm NO_COLOR=1"), Not(HasSubstr("\x1b")));
}

}  // namespace
}  // namespace korvan::lab
