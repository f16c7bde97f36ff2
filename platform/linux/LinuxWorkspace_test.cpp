#include "platform/linux/LinuxWorkspace.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <tuple>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/ScopedEnvironment_testing.h"
#include "platform/linux/TestApplication_testing.h"

namespace korvan {
namespace {

using testing::Contains;
using testing::StartsWith;

namespace fs = std::filesystem;

constexpr std::string_view Url = "korvan-test:///launch?source=test&words=$(two words); exit";
constexpr std::string_view Identifier = "example.korvan.host";

class LinuxWorkspaceTest : public testing::Test {
 protected:
  [[nodiscard]] static LinuxWorkspace workspaceOf(const fs::path& executable) {
    return LinuxWorkspace(HostExecutable{.path = executable});
  }

  /// A file of the mode in a directory of this test.
  [[nodiscard]] fs::path file(const std::string& name, std::string_view text, mode_t mode) const {
    const fs::path path = temporary_.path() / name;
    std::ofstream(path) << text;
    EXPECT_EQ(::chmod(path.c_str(), mode), 0);
    return path;
  }

  static void giveTo(uid_t user, const fs::path& directory) {
    EXPECT_EQ(::chown(directory.c_str(), user, user), 0);
    for (const auto& entry : fs::directory_iterator(directory)) {
      EXPECT_EQ(::chown(entry.path().c_str(), user, user), 0);
    }
  }

  void expectNoChildren() const {
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
  }

  const TemporaryDirectory temporary_;
  TestApplication application_;
};

TEST_F(LinuxWorkspaceTest, StartsTheExecutableWithTheUrlAsItsOneArgument) {
  ASSERT_TRUE(workspaceOf(application_.executable()).openURL(Url));
  const auto report = application_.readReport();
  EXPECT_THAT(report, Contains("argument " + std::string(Url)));
  EXPECT_THAT(report, Contains(StartsWith("argument")).Times(1));
}

TEST_F(LinuxWorkspaceTest, TheStartedProgramIsNotAChild) {
  ASSERT_TRUE(workspaceOf(application_.executable()).openURL(Url));
  expectNoChildren();
  const auto report = application_.readReport();
  EXPECT_THAT(report, Contains("session " + std::to_string(application_.process())));
  EXPECT_THAT(report, Contains(StartsWith("descriptor")).Times(3));
  application_.stop();
  expectNoChildren();
}

TEST_F(LinuxWorkspaceTest, StartsAnotherProcessForEachUrl) {
  const LinuxWorkspace workspace = workspaceOf(application_.executable());
  ASSERT_TRUE(workspace.openURL(Url));
  std::ignore = application_.readReport();
  const pid_t first = application_.process();
  ASSERT_TRUE(workspace.openURL(Url));
  std::ignore = application_.readReport();
  EXPECT_NE(application_.process(), first);
  EXPECT_EQ(workspace.runningApplicationCount(Identifier), 2U);
}

TEST_F(LinuxWorkspaceTest, StartsAScriptThatNamesItsInterpreter) {
  const fs::path fifo = temporary_.path() / "out";
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  const auto script = file("script", "#!/bin/sh\necho \"$1\" > \"${0%/*}/out\"\n", 0700);
  ASSERT_TRUE(workspaceOf(script).openURL(Url));
  std::string line;
  std::ifstream out(fifo);
  std::getline(out, line);
  EXPECT_EQ(line, Url);
}

TEST_F(LinuxWorkspaceTest, RefusesAProgramThatCannotBeExecuted) {
  const auto marker = temporary_.path() / "marker";
  const std::string text = "touch " + marker.string() + "\n";
  EXPECT_FALSE(workspaceOf(temporary_.path() / "missing").openURL(Url));
  EXPECT_FALSE(workspaceOf(temporary_.path()).openURL(Url));
  EXPECT_FALSE(workspaceOf("").openURL(Url));
  EXPECT_FALSE(workspaceOf(file("no-program", text, 0700)).openURL(Url));
  EXPECT_FALSE(workspaceOf(file("not-executable", text, 0600)).openURL(Url));
  EXPECT_FALSE(workspaceOf(file("no-interpreter", "#!/missing\n" + text, 0700)).openURL(Url));
  EXPECT_FALSE(fs::exists(marker));
  expectNoChildren();
}

TEST_F(LinuxWorkspaceTest, CountsTheProcessesOfTheExecutable) {
  const LinuxWorkspace workspace = workspaceOf(application_.executable());
  EXPECT_EQ(workspace.runningApplicationCount(Identifier), 0U);
  ASSERT_TRUE(workspace.openURL(Url));
  std::ignore = application_.readReport();
  EXPECT_EQ(workspace.runningApplicationCount(Identifier), 1U);
  application_.stop();
  EXPECT_EQ(workspace.runningApplicationCount(Identifier), 0U);
}

TEST_F(LinuxWorkspaceTest, CountsThroughLinks) {
  ASSERT_TRUE(workspaceOf(application_.executable()).openURL(Url));
  std::ignore = application_.readReport();
  const fs::path link = temporary_.path() / "link";
  fs::create_symlink(application_.executable(), link);
  EXPECT_EQ(workspaceOf(link).runningApplicationCount(Identifier), 1U);
}

TEST_F(LinuxWorkspaceTest, DoesNotCountACopyOfTheExecutable) {
  ASSERT_TRUE(workspaceOf(application_.executable()).openURL(Url));
  std::ignore = application_.readReport();
  const fs::path copy = temporary_.path() / "application";
  fs::copy_file(application_.executable(), copy);
  EXPECT_EQ(workspaceOf(copy).runningApplicationCount(Identifier), 0U);
}

TEST_F(LinuxWorkspaceTest, DoesNotCountTheCallingProcess) {
  constexpr std::string_view Alone = "program-of-one-process";
  if (fs::read_symlink("/proc/self/exe").filename() == Alone) {
    EXPECT_EQ(workspaceOf("/proc/self/exe").runningApplicationCount(Identifier), 0U);
    return;
  }
  // Tests of this program may run in parallel, so this one runs again in a copy of it.
  const fs::path copy = temporary_.path() / Alone;
  fs::copy_file("/proc/self/exe", copy);
  const std::string command = copy.string() + " --gtest_filter=*.DoesNotCountTheCallingProcess";
  EXPECT_EQ(std::system((command + " >/dev/null").c_str()), 0);
}

TEST_F(LinuxWorkspaceTest, DoesNotCountAProcessOfAnotherUser) {
  if (::geteuid() != 0) {
    GTEST_SKIP() << "Only root can become another user.";
  }
  constexpr uid_t Nobody = 65534;
  giveTo(Nobody, application_.executable().parent_path());
  ASSERT_EQ(::setresuid(Nobody, Nobody, 0), 0);
  const bool opened = workspaceOf(application_.executable()).openURL(Url);
  const auto report = application_.readReport();
  const auto seenByNobody = workspaceOf(application_.executable()).runningApplicationCount("");
  ASSERT_EQ(::setresuid(0, 0, 0), 0);
  ASSERT_TRUE(opened);
  EXPECT_EQ(seenByNobody, 1U);
  EXPECT_EQ(workspaceOf(application_.executable()).runningApplicationCount(""), 0U);
}

TEST_F(LinuxWorkspaceTest, NothingRunsForAMissingExecutable) {
  EXPECT_EQ(workspaceOf("/missing").runningApplicationCount(Identifier), 0U);
}

TEST_F(LinuxWorkspaceTest, WithoutAHostNothingRunsAndOpeningIsRefused) {
  const LinuxWorkspace workspace{NoHost()};
  EXPECT_FALSE(workspace.openURL(Url));
  EXPECT_EQ(workspace.runningApplicationCount(Identifier), 0U);
}

/// A desktop with one application, which handles the test's scheme. GIO reads where the desktop's
/// files are once for the process, so there is one desktop for all tests.
class LinuxWorkspaceDesktopTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { desktop = std::make_unique<Desktop>(); }
  static void TearDownTestSuite() { desktop.reset(); }

  [[nodiscard]] static TestApplication& application() { return desktop->application; }

  const LinuxWorkspace workspace_;

 private:
  struct Desktop {
    Desktop() {
      fs::create_directories(directory.path() / "applications");
      std::ofstream(directory.path() / "applications" / "example.korvan.host.desktop")
          << "[Desktop Entry]\nType=Application\nName=Test\nExec="
          << application.executable().string() << " %u\nMimeType=x-scheme-handler/korvan-test;\n";
      std::ofstream(directory.path() / "mimeapps.list")
          << "[Default Applications]\n"
             "x-scheme-handler/korvan-test=example.korvan.host.desktop\n";
    }

    const TemporaryDirectory directory;
    TestApplication application;
    const ScopedEnvironment data{"XDG_DATA_HOME", directory.path()};
    const ScopedEnvironment systemData{"XDG_DATA_DIRS", directory.path()};
    const ScopedEnvironment configuration{"XDG_CONFIG_HOME", directory.path()};
    // A launch is announced to the session's bus, if there is one.
    const ScopedEnvironment noBus{"DBUS_SESSION_BUS_ADDRESS", "unix:path=/missing"};
  };

  static inline std::unique_ptr<Desktop> desktop;
};

TEST_F(LinuxWorkspaceDesktopTest, OpensTheDefaultHandlerAndCountsItsProcesses) {
  EXPECT_EQ(workspace_.runningApplicationCount(Identifier), 0U);
  ASSERT_TRUE(workspace_.openURL("korvan-test:///launch"));
  EXPECT_THAT(application().readReport(), Contains("argument korvan-test:///launch"));
  EXPECT_EQ(workspace_.runningApplicationCount(Identifier), 1U);
  EXPECT_EQ(workspace_.runningApplicationCount("example.korvan.another"), 0U);
  application().stop();
  EXPECT_EQ(workspace_.runningApplicationCount(Identifier), 0U);
}

TEST_F(LinuxWorkspaceDesktopTest, RefusesASchemeWithoutAHandler) {
  EXPECT_FALSE(workspace_.openURL("korvan-nobody:///launch"));
  EXPECT_FALSE(workspace_.openURL("no URL at all"));
}

}  // namespace
}  // namespace korvan
