#include "lab/manual/ManualPage.h"

#include <algorithm>
#include <cctype>
#include <sstream>
#include <string_view>

#include <CLI/CLI.hpp>

#include "lab/manual/HelpItems.h"

namespace korvan::lab::manual {
namespace {

constexpr std::string_view Usage = "Usage: ";

/// Text in which nothing is taken for a request or an escape.
std::string roff(std::string_view text) {
  std::string result;
  if (text.starts_with('.') || text.starts_with('\'')) {
    result = "\\&";
  }
  for (const char character : text) {
    switch (character) {
      case '\\':
        result += "\\e";
        break;
      case '-':
        result += "\\-";
        break;
      case '\'':
        result += "\\(aq";
        break;
      default:
        result += character;
    }
  }
  return result;
}

/// Writes a help page line by line.
class PageWriter {
 public:
  void write(const std::string& line) {
    if (line.empty()) {
      endExample();
      roff_ += ".PP\n";
    } else if (inExample_) {
      roff_ += roff(line) + '\n';
    } else if (line == "Example:") {
      roff_ += line + "\n.PP\n.nf\n";
      inExample_ = true;
    } else if (const auto item = helpItemIn(line)) {
      roff_ += ".TP\n\\fB" + roff(item->tag) + "\\fR\n" +
               (item->text.empty() ? "" : roff(item->text) + '\n');
    } else {
      roff_ += roff(std::string_view(line).substr(line.find_first_not_of(' '))) + '\n';
    }
  }

  [[nodiscard]] std::string finish() {
    endExample();
    return roff_;
  }

 private:
  void endExample() {
    roff_ += inExample_ ? ".fi\n" : "";
    inExample_ = false;
  }

  std::string roff_;
  bool inExample_ = false;
};

struct Section {
  std::string usage;
  std::string body;
};

Section sectionOf(const CLI::App& command) {
  Section section;
  PageWriter writer;
  std::istringstream lines(command.help());
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with(Usage)) {
      section.usage = line.substr(Usage.size());
    } else {
      writer.write(line);
    }
  }
  section.body = writer.finish();
  return section;
}

/// The first words of the program's help page that say what it is.
std::string purposeOf(const CLI::App& app) {
  std::istringstream lines(app.help());
  std::string text;
  for (std::string line; std::getline(lines, line) && (text.empty() || !line.empty());) {
    text += line.starts_with(Usage) || line.empty() ? "" : (text.empty() ? "" : " ") + line;
  }
  text = text.substr(0, text.find_first_of(":."));
  text.front() = static_cast<char>(std::tolower(static_cast<unsigned char>(text.front())));
  return text;
}

std::string upperCase(std::string text) {
  std::ranges::transform(text, text.begin(), [](unsigned char character) {
    return static_cast<char>(std::toupper(character));
  });
  return text;
}

}  // namespace

std::string manualPage(const CLI::App& app) {
  const Section program = sectionOf(app);
  // Without a date, so that the same source makes the same page.
  std::string page = ".TH " + roff(upperCase(app.get_name())) + R"( 1 "" ")" + roff(app.version()) +
                     "\" \"Korvan AutoFill\"\n.ad l\n.nh\n.SH NAME\n" + roff(app.get_name()) +
                     " \\- " + roff(purposeOf(app)) + '\n';
  page += program.usage.empty() ? "" : ".SH SYNOPSIS\n.B " + roff(program.usage) + '\n';
  page += ".SH DESCRIPTION\n" + program.body;
  const auto commands = app.get_subcommands([](const CLI::App* /*each*/) { return true; });
  page += commands.empty() ? "" : ".SH COMMANDS\n";
  for (const CLI::App* const command : commands) {
    const Section section = sectionOf(*command);
    page += ".SS " + roff(section.usage) + '\n' + section.body;
  }
  return page;
}

}  // namespace korvan::lab::manual
