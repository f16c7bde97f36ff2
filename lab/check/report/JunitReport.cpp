#include <iomanip>
#include <ostream>
#include <sstream>
#include <string_view>

#include "lab/check/report/CheckReport.h"
#include "lab/support/VisibleText.h"

namespace korvan::lab::check {
namespace {

/// Text as XML. XML has no characters below 32 but three, which are made visible before.
std::string xml(std::string_view text) {
  std::string escaped;
  for (const char character : visibleText(text)) {
    switch (character) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      case '"':
        escaped += "&quot;";
        break;
      default:
        escaped += character;
    }
  }
  return escaped;
}

std::string seconds(std::chrono::milliseconds duration) {
  constexpr int Thousand = 1000;
  std::ostringstream text;
  text << duration.count() / Thousand << '.' << std::setw(3) << std::setfill('0')
       << duration.count() % Thousand;
  return text.str();
}

std::string_view groupOf(std::string_view name) { return name.substr(0, name.find('.')); }

void writeFindings(std::ostream& out, const CheckRecord& record) {
  const Findings& findings = record.result.findings;
  for (const auto& [label, text] :
       {std::pair<std::string_view, std::string_view>{"sent", findings.sent},
        {"got", findings.got},
        {"wanted", findings.wanted},
        {"hint", findings.hint},
        {"program's standard error", record.programErrors}}) {
    if (!text.empty()) {
      out << label << ": " << xml(text) << '\n';
    }
  }
}

void writeCase(std::ostream& out, const CheckRecord& record) {
  out << "  <testcase classname=\"" << groupOf(record.check->name) << "\" name=\""
      << record.check->name << "\" time=\"" << seconds(record.duration) << '"';
  const std::string hint = xml(record.result.findings.hint);
  switch (record.result.outcome) {
    case Outcome::passed:
      out << "/>\n";
      break;
    case Outcome::skipped:
      out << "><skipped message=\"" << hint << "\"/></testcase>\n";
      break;
    case Outcome::failed:
      out << "><failure message=\"" << hint << "\">";
      writeFindings(out, record);
      out << "</failure></testcase>\n";
      break;
    case Outcome::warned:
      out << "><system-out>warning\n";
      writeFindings(out, record);
      out << "</system-out></testcase>\n";
      break;
  }
}

}  // namespace

void JunitReport::finish(const Counts& counts) {
  std::chrono::milliseconds all{};
  for (const CheckRecord& record : records_) {
    all += record.duration;
  }
  out_ << R"(<?xml version="1.0" encoding="UTF-8"?>)" << '\n'
       << R"(<testsuite name="korvan-lab check-host" tests=")" << records_.size()
       << "\" failures=\"" << counts.failed << R"(" errors="0" skipped=")" << counts.skipped
       << "\" time=\"" << seconds(all) << "\">\n";
  for (const CheckRecord& record : records_) {
    writeCase(out_, record);
  }
  out_ << "</testsuite>\n" << std::flush;
}

}  // namespace korvan::lab::check
