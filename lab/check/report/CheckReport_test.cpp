#include "lab/check/report/CheckReport.h"

#include <sstream>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace korvan::lab::check {
namespace {

using testing::HasSubstr;
using testing::Not;

const Check SomeCheck = {.name = "frame.order",
                         .passes = "the size is big-endian",
                         .needs = {},
                         .after = {},
                         .see = "frames",
                         .run = nullptr};

CheckRecord record(Result result) {
  return {.check = &SomeCheck,
          .result = std::move(result),
          .duration = std::chrono::milliseconds(1234),
          .programErrors = {}};
}

const Findings Wrong = {
    .sent = "a request", .got = "32 00 00 00", .wanted = "00 00 00 32", .hint = "bytes reversed"};

template <typename Report>
std::string written(const CheckRecord& one, const Counts& counts) {
  std::ostringstream out;
  Report report(out);
  report.end(one);
  report.finish(counts);
  return out.str();
}

class PlainPeopleReport {
 public:
  explicit PlainPeopleReport(std::ostream& out) : report_(out, false) {}
  void end(const CheckRecord& one) { report_.end(one); }
  void finish(const Counts& counts) { report_.finish(counts); }

 private:
  PeopleReport report_;
};

TEST(PeopleReport, ShowsAFailureWithAllThatIsKnown) {
  CheckRecord one = record(failed(Wrong));
  one.programErrors = "first\nsecond\n";
  EXPECT_EQ(written<PlainPeopleReport>(one, {.failed = 1}),
            "✗ frame.order\n"
            "    sent    a request\n"
            "    got     32 00 00 00\n"
            "    wanted  00 00 00 32\n"
            "    hint    bytes reversed\n"
            "    see     docs/host-protocol.md#frames\n"
            "    wrote   first\n"
            "    wrote   second\n"
            "\n"
            "check-host: FAILING · 0 passed, 1 failed, 0 warned, 0 skipped\n");
}

TEST(PeopleReport, ShowsTheOtherOutcomesByTheirMarks) {
  EXPECT_THAT(written<PlainPeopleReport>(record(passed()), {.passed = 1}),
              HasSubstr("✓ frame.order\n\ncheck-host: passing · 1 passed, 0 failed"));
  EXPECT_THAT(written<PlainPeopleReport>(record(skipped("why")), {}),
              HasSubstr("- frame.order (why)\n"));
  EXPECT_THAT(written<PlainPeopleReport>(record(warned(Wrong)), {}),
              HasSubstr("! frame.order\n    sent    a request\n"));
}

TEST(PeopleReport, MakesControlCharactersOfTheHostVisible) {
  const std::string text = written<PlainPeopleReport>(
      record(failed({.sent = {}, .got = "\x1b[2J\r✓ all well\n", .wanted = {}, .hint = {}})), {});
  EXPECT_THAT(text, HasSubstr(R"(\u{1B}[2J\u{D}✓ all well\u{A})"));
  EXPECT_THAT(text, Not(HasSubstr("\x1b")));
}

TEST(PeopleReport, ShowsProgressOnATerminalAndTakesItAway) {
  std::ostringstream out;
  PeopleReport report(out, true);
  report.begin(SomeCheck, 1, 2);
  EXPECT_THAT(out.str(), HasSubstr("[############............] 1/2 frame.order"));
  out.str("");
  report.end(record(passed()));
  EXPECT_EQ(out.str(), "\r\x1b[K✓ frame.order\n");
}

TEST(JsonReport, WritesAnObjectForEachCheckAndTheCounts) {
  std::istringstream lines(written<JsonReport>(
      record(failed(Wrong)), {.passed = 1, .failed = 2, .warned = 3, .skipped = 4}));
  std::string line;
  std::getline(lines, line);
  EXPECT_EQ(nlohmann::json::parse(line), nlohmann::json({{"check", "frame.order"},
                                                         {"result", "failed"},
                                                         {"sent", "a request"},
                                                         {"wanted", "00 00 00 32"},
                                                         {"got", "32 00 00 00"},
                                                         {"hint", "bytes reversed"},
                                                         {"see", "docs/host-protocol.md#frames"},
                                                         {"milliseconds", 1234}}));
  std::getline(lines, line);
  EXPECT_EQ(nlohmann::json::parse(line),
            nlohmann::json({{"passed", 1}, {"failed", 2}, {"warned", 3}, {"skipped", 4}}));
}

TEST(JsonReport, ReplacesBytesThatAreNotUtf8) {
  const std::string text = written<JsonReport>(
      record(failed({.sent = {}, .got = "\xff", .wanted = {}, .hint = {}})), {});
  EXPECT_THAT(text, HasSubstr(R"("got":"�")"));
}

TEST(JunitReport, WritesASuiteOfCases) {
  EXPECT_EQ(
      written<JunitReport>(
          record(failed({.sent = {}, .got = "<\x1b>", .wanted = "a & b", .hint = "\"quoted\""})),
          {.failed = 1}),
      "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
      "<testsuite name=\"korvan-lab check-host\" tests=\"1\" failures=\"1\" errors=\"0\" "
      "skipped=\"0\" time=\"1.234\">\n"
      "  <testcase classname=\"frame\" name=\"frame.order\" time=\"1.234\">"
      "<failure message=\"&quot;quoted&quot;\">got: &lt;\\u{1B}&gt;\n"
      "wanted: a &amp; b\n"
      "hint: &quot;quoted&quot;\n"
      "</failure></testcase>\n"
      "</testsuite>\n");
}

TEST(JunitReport, TellsWhatWasSkippedAndWhatWasWarnedOf) {
  EXPECT_THAT(written<JunitReport>(record(passed()), {}), HasSubstr("time=\"1.234\"/>\n"));
  EXPECT_THAT(written<JunitReport>(record(skipped("why")), {}),
              HasSubstr("><skipped message=\"why\"/></testcase>\n"));
  EXPECT_THAT(written<JunitReport>(record(warned(Wrong)), {}),
              HasSubstr("<system-out>warning\nsent: a request\n"));
}

}  // namespace
}  // namespace korvan::lab::check
