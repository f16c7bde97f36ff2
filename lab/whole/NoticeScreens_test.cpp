// The notice of the lab's program as a person meets it: on a terminal and in a window.

#include <filesystem>
#include <fstream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "lab/browser/BrowserMessages_testing.h"
#include "lab/browser/BrowserProfile.h"
#include "lab/processes/Program_testing.h"
#include "lab/support/TemporaryDirectory.h"
#include "lab/system/TrustAnchor.h"
#include "lab/whole/TerminalSession_testing.h"
#include "platform/linux/PersonsLanguage_testing.h"
#include "platform/linux/ScopedEnvironment_testing.h"
#include "platform/linux/gtk/DisplayServer_testing.h"

namespace korvan::lab {
namespace {

using nlohmann::json;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

constexpr const char* Title = "Couldn\u2019t Connect to Korvan";
constexpr const char* Message = "Open Korvan, then try the Passkey request again.";

/// A call that shows the notice, since there is no host.
const std::string Call = R"({"entryPoint":"prepareInterfaceForExtensionConfiguration"})";

class NoticeScreens : public testing::Test {
 protected:
  void SetUp() override { std::ofstream(file("calls")) << Call << '\n' << Call << '\n'; }

  [[nodiscard]] std::string file(const std::string& name) const { return directory_.path() / name; }

  [[nodiscard]] std::vector<std::string> arguments(const std::string& notice,
                                                   const std::string& calls = {}) const {
    std::vector<std::string> all = {
        "call", "--container", file("container"), "--notice", notice, "--host-application", "none"};
    if (!calls.empty()) {
      all.push_back(calls);
    }
    return all;
  }

  /// The shell's command for the program with these arguments.
  static std::string command(const std::vector<std::string>& arguments) {
    std::string text = KORVAN_LAB;
    for (const std::string& argument : arguments) {
      text += " '" + argument + "'";
    }
    return text;
  }

  [[nodiscard]] std::vector<json> answers() const {
    std::ifstream file(this->file("answers"));
    return jsonLines({std::istreambuf_iterator<char>(file), {}});
  }

  static void expectCanceledByThePerson(const std::vector<json>& lines, std::size_t count) {
    EXPECT_EQ(lines.size(), count);
    for (const json& line : lines) {
      EXPECT_EQ(line.at("outcome"), "cancelled");
      EXPECT_EQ(line.at("error").at("code"), 0);
      EXPECT_EQ(line.at("noticeShown"), true);
    }
  }

 private:
  const TemporaryDirectory directory_;
  const ScopedEnvironment noX11{"DISPLAY", std::nullopt};
  const ScopedEnvironment noWayland{"WAYLAND_DISPLAY", std::nullopt};
  const ScopedEnvironment noLanguage{"LANGUAGE", std::nullopt};
  const ScopedEnvironment plainLocale{"LC_ALL", "C"};
};

TEST_F(NoticeScreens, ATerminalShowsTheNoticeAndTakesALineForOk) {
  const auto result = runLab(arguments("terminal", file("calls")), "\nwords\n");
  EXPECT_EQ(result.status, 0);
  const std::string notice = std::string("\n  ") + Title + "\n\n  " + Message + "\n\n  [ OK ]\n\n";
  EXPECT_EQ(result.errors, notice + notice);
  expectCanceledByThePerson(jsonLines(result.output), 2);
}

TEST_F(NoticeScreens, TheEndOfTheInputCountsAsOk) {
  const auto result = runLab(arguments("terminal", file("calls")), "\n");
  EXPECT_EQ(result.status, 0);
  expectCanceledByThePerson(jsonLines(result.output), 2);
}

TEST_F(NoticeScreens, ATerminalIsNotAskedBeforeThereIsANotice) {
  std::ofstream(file("calls")) << "no call\n";
  const auto result = runLab(arguments("terminal", file("calls")));
  EXPECT_EQ(result.status, 2);
  EXPECT_THAT(result.errors, IsEmpty());
}

TEST_F(NoticeScreens, TheControllingTerminalAnswersWhereStandardInputBringsTheCalls) {
  TerminalSession session(command(arguments("terminal")) + " <" + file("calls") + " >" +
                          file("answers"));
  for (int call = 0; call < 2; ++call) {
    EXPECT_THAT(session.readUntil("[ OK ]"), HasSubstr(Title));
    session.write("\n");
  }
  EXPECT_EQ(session.finish(), 0);
  expectCanceledByThePerson(answers(), 2);
}

TEST_F(NoticeScreens, TheNoticeWaitsForThePerson) {
  TerminalSession session(command(arguments("terminal")) + " <" + file("calls") + " >" +
                          file("answers"));
  session.readUntil("[ OK ]");
  EXPECT_THAT(answers(), IsEmpty());
  session.write("\n");
  session.readUntil("[ OK ]");
  expectCanceledByThePerson(answers(), 1);
}

TEST_F(NoticeScreens, SaysThatThereIsNoTerminal) {
  std::vector<std::string> detached = arguments("terminal");
  detached.insert(detached.begin(), {"/usr/bin/setsid", "--wait", KORVAN_LAB});
  Program program(detached);
  program.write(Call + "\n");
  const auto result = program.finish();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors,
              StartsWith("korvan-lab: there is no terminal to show the notice on (/dev/tty: "));
  EXPECT_THAT(result.output, IsEmpty());
}

TEST_F(NoticeScreens, SaysThatThereIsNoDisplay) {
  const auto result = runLab(arguments("window"), Call + "\n");
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.errors,
            "korvan-lab: no window can be shown: there is no display; DISPLAY or WAYLAND_DISPLAY "
            "must name one\n");
  EXPECT_THAT(result.output, IsEmpty());
}

TEST_F(NoticeScreens, SaysThatTheWindowCannotBeLoaded) {
  const std::string alone = file("korvan-lab");
  std::filesystem::copy_file(KORVAN_LAB, alone);
  std::vector<std::string> command = arguments("window");
  command.insert(command.begin(), alone);
  Program program(command);
  program.write(Call + "\n");
  const auto result = program.finish();
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.errors, StartsWith("korvan-lab: the notice's window cannot be loaded: "));
  EXPECT_THAT(result.output, IsEmpty());
}

TEST_F(NoticeScreens, SpeakTheLanguageOfThePerson) {
  struct Row {
    const char* language;
    const char* title;
  };
  for (const auto& [language, title] : {Row{"de", "  Verbindung zu Korvan nicht m\u00f6glich\n"},
                                        Row{"fr", "  Connexion \u00e0 Korvan impossible\n"},
                                        Row{"en:de", "  Couldn\u2019t Connect to Korvan\n"},
                                        Row{"eo", "  Couldn\u2019t Connect to Korvan\n"}}) {
    const PersonsLanguage person(language);
    EXPECT_THAT(runLab(arguments("terminal", file("calls"))).errors, HasSubstr(title));
  }
}

TEST_F(NoticeScreens, ASignInOnATerminalShowsTheNoticeThere) {
  TerminalSession session(command({"sign-in", "--interactive", "--container", file("container"),
                                   "--host-application", "none"}));
  EXPECT_THAT(session.readUntil("[ OK ]"), HasSubstr(Title));
  session.write("\n");
  EXPECT_THAT(session.readUntil("No verified sign-in"),
              HasSubstr("The notice was shown and OK pressed."));
  EXPECT_EQ(session.finish(), 3);
}

TEST_F(NoticeScreens, ASignInWithoutATerminalPressesOk) {
  const auto result = runLab(
      {"sign-in", "--interactive", "--container", file("container"), "--host-application", "none"});
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.output, HasSubstr("The notice was shown and OK pressed."));
}

class NoticeInAWindow : public NoticeScreens {
 protected:
  /// Waits for the program's window.
  static std::string window() {
    return DisplayServer::xdotool({"search", "--sync", "--onlyvisible", "--name", "^Korvan$"});
  }

  /// Waits for it, and presses Return in it.
  static void pressReturn() {
    const std::string window = NoticeInAWindow::window();
    DisplayServer::xdotool({"windowfocus", "--sync", window});
    DisplayServer::xdotool({"key", "Return"});
  }

  const DisplayServer display_;
};

TEST_F(NoticeInAWindow, ReturnCancels) {
  std::vector<std::string> command = arguments("window");
  command.insert(command.begin(), KORVAN_LAB);
  Program program(command);
  for (int call = 0; call < 2; ++call) {
    program.write(Call + "\n");
    pressReturn();
    expectCanceledByThePerson(jsonLines(program.readLine()), 1);
  }
  const auto result = program.finish();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.errors, "");
}

TEST_F(NoticeInAWindow, ASignInOnATerminalOpensIt) {
  TerminalSession session(command({"sign-in", "--interactive", "--container", file("container"),
                                   "--host-application", "none"}));
  pressReturn();
  EXPECT_THAT(session.readUntil("No verified sign-in"),
              HasSubstr("The notice was shown and OK pressed."));
}

/// The notice of a browser's request.
class BrowserNotice : public NoticeInAWindow {
 protected:
  void SetUp() override {
    BrowserProfile(file("profile"))
        .write({.container = file("container"),
                .hostApplication = std::string(LabSettings::None),
                .trustAnchorPem = std::string(TrustAnchorPem),
                .noticeMode = NoticeMode::windowWhenNeeded},
               KORVAN_LAB);
    bridge_.emplace(std::vector<std::string>{KORVAN_LAB, "browser-bridge", file("profile")});
    bridge_->write(frameOf(creationMessage().dump()));
  }

  std::optional<Program> bridge_;
};

TEST_F(BrowserNotice, IsAnsweredBeforeThePageIs) {
  pressReturn();
  EXPECT_THAT(bridge_->readOutput(), HasSubstr("Korvan could not be opened."));
}

TEST_F(BrowserNotice, GoesWithARequestThatThePageTakesBack) {
  EXPECT_NE(window(), "");
  const auto result = bridge_->finish();
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.output, "");
}

}  // namespace
}  // namespace korvan::lab
