// The manual pages and completions of the lab's programs.

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/commands/LabProgram.h"
#include "lab/host/HostOptions.h"
#include "lab/manual/Completion.h"
#include "lab/manual/HelpItems.h"
#include "lab/manual/ManualPage.h"
#include "lab/processes/Program_testing.h"
#include "lab/support/TemporaryDirectory.h"

namespace korvan::lab::manual {
namespace {

using testing::Eq;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

std::string withEscapedHyphens(const std::string& text) {
  std::string escaped;
  for (const char character : text) {
    escaped += character == '-' ? std::string("\\-") : std::string(1, character);
  }
  return escaped;
}

class Manual : public testing::Test {
 protected:
  Manual() {
    describeLabProgram(lab_, exitStatus_);
    host::describeHostProgram(host_, options_, host::HostProgramName);
  }

  /// Calls `visit` with each command of a program, itself among them.
  static void forEachCommand(const CLI::App& app,
                             const std::function<void(const CLI::App&)>& visit) {
    visit(app);
    for (const CLI::App* const command :
         app.get_subcommands([](const CLI::App* /*each*/) { return true; })) {
      forEachCommand(*command, visit);
    }
  }

  /// What the shell prints for `line` of its script, which reads a program's completion first.
  [[nodiscard]] std::string inShell(std::vector<std::string> shell, const std::string& completion,
                                    const std::string& line) const {
    const std::string script = directory_.path() / "completion";
    std::ofstream(script) << completion;
    shell.insert(shell.end(), {"-c", line, script});
    const auto result = Program(std::move(shell)).finish();
    EXPECT_EQ(result.errors, "");
    return result.output;
  }

  /// What bash offers for the last of the words.
  [[nodiscard]] std::string inBash(const std::string& words) const {
    return inShell({"/bin/bash"}, bashCompletion(lab_),
                   ". $0; COMP_WORDS=(korvan-lab " + words +
                       "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); _korvan_lab; "
                       "echo \"${COMPREPLY[*]}\"");
  }

  /// What zsh offers in place of the last of the words.
  [[nodiscard]] std::string inZsh(const std::string& words) const {
    return inShell({"/bin/zsh", "-f"}, zshCompletion(lab_),
                   "_files() { print files }; compadd() { shift; print -r -- $@ }\n"
                   "_describe() { print -rl -- ${(P)2} }\n"
                   "complete() { local -a words=(korvan-lab " +
                       words + "); local CURRENT=$#words; . $1 }; complete $0");
  }

  TemporaryDirectory directory_;
  int exitStatus_ = 0;
  CLI::App lab_{"", LabProgramName};
  host::HostOptions options_;
  CLI::App host_{"", host::HostProgramName};
};

TEST_F(Manual, HelpPagesNameEveryOptionAndCommand) {
  for (const CLI::App* const program : {&lab_, &host_}) {
    forEachCommand(*program, [](const CLI::App& command) {
      const std::string page = command.help();
      for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
          EXPECT_THAT(page, HasSubstr("--" + name)) << command.get_name();
        }
      }
      for (const CLI::App* const below :
           command.get_subcommands([](const CLI::App* /*each*/) { return true; })) {
        EXPECT_THAT(page, HasSubstr("\n  " + below->get_name() + "  "));
      }
    });
  }
}

TEST_F(Manual, PageHoldsWhatEveryHelpPageSays) {
  for (const CLI::App* const program : {&lab_, &host_}) {
    const std::string page = manualPage(*program);
    EXPECT_THAT(page, StartsWith(".TH KORVAN\\-"));
    forEachCommand(*program, [&](const CLI::App& command) {
      for (const HelpItem& item : helpItemsIn(command.help())) {
        const std::string name = item.tag.substr(0, item.tag.find(' '));
        if (name.starts_with("--")) {
          EXPECT_THAT(page, HasSubstr("\n\\fB" + withEscapedHyphens(name)));
        }
      }
    });
  }
}

TEST_F(Manual, PageSaysWhatTheProgramsAre) {
  EXPECT_THAT(manualPage(lab_), HasSubstr("\n.SH NAME\nkorvan\\-lab \\- plays the operating "
                                          "system for the Korvan AutoFill extension\n"));
  EXPECT_THAT(manualPage(host_), HasSubstr("\n.SH NAME\nkorvan\\-sample\\-host \\- a host "
                                           "application for the Korvan AutoFill extension\n"));
}

TEST_F(Manual, PageTakesNoTextForARequestOrAnEscape) {
  CLI::App app("", "tool");
  app.formatter_fn(
      [](const CLI::App* /*app*/, const std::string& /*name*/, CLI::AppFormatMode /*mode*/) {
        return std::string("Usage: tool\n\nDoes it.\n.so file\n'br \\n\n\nExample:\n  .x 'y'\n");
      });
  const std::string page = manualPage(app);
  EXPECT_THAT(page, HasSubstr("Does it.\n\\&.so file\n\\&\\(aqbr \\en\n"));
  EXPECT_THAT(page, HasSubstr(".nf\n  .x \\(aqy\\(aq\n.fi\n"));
}

TEST_F(Manual, BashCompletesCommandsOptionsAndValues) {
  EXPECT_THAT(inBash("de"), Eq("demo\n"));
  EXPECT_THAT(inBash("report up"), Eq("updated-user-name\n"));
  EXPECT_THAT(inBash("report unknown-credential --cred"), Eq("--credential\n"));
  EXPECT_THAT(inBash("call --notice ''"), Eq("press-ok leave terminal window\n"));
  EXPECT_THAT(inBash("sign-in --container no"), Eq("none\n"));
  EXPECT_THAT(inBash("help de"), Eq("demo\n"));
  EXPECT_THAT(inBash("register --user-name demo --conditio"), Eq("--conditional\n"));
}

TEST_F(Manual, ZshCompletesCommandsOptionsAndValues) {
  EXPECT_THAT(inZsh("''"), HasSubstr("demo:runs the whole tour, with sample hosts of its own\n"));
  EXPECT_THAT(inZsh("call --notice ''"), Eq("press-ok leave terminal window\n"));
  EXPECT_THAT(inZsh("call --container ''"), Eq("none\nfiles\n"));
  EXPECT_THAT(inZsh("call ''"), StartsWith("files\n"));
  EXPECT_THAT(inZsh("demo ''"),
              testing::AllOf(HasSubstr("--step:"), Not(HasSubstr("--container"))));
}

TEST_F(Manual, CompletionsKnowEveryOption) {
  for (const CLI::App* const program : {&lab_, &host_}) {
    forEachCommand(*program, [&](const CLI::App& command) {
      for (const CLI::Option* const option : command.get_options()) {
        for (const std::string& name : option->get_lnames()) {
          EXPECT_THAT(bashCompletion(*program), HasSubstr("--" + name));
          EXPECT_THAT(zshCompletion(*program), HasSubstr("'--" + name));
        }
      }
    });
  }
}

}  // namespace
}  // namespace korvan::lab::manual
