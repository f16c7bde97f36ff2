#pragma once

#include <chrono>
#include <cstddef>
#include <iosfwd>
#include <string>
#include <utility>
#include <vector>

#include "lab/check/Check.h"

namespace korvan::lab::check {

struct Counts {
  std::size_t passed = 0;
  std::size_t failed = 0;
  std::size_t warned = 0;
  std::size_t skipped = 0;
};

/// One check of a run that is over.
struct CheckRecord {
  const Check* check = nullptr;
  Result result;
  std::chrono::milliseconds duration{};
  /// What a program that the run started wrote to standard error meanwhile.
  std::string programErrors;
};

/// Shows a run. Main thread.
class CheckReport {
 public:
  CheckReport() = default;
  CheckReport(const CheckReport&) = delete;
  CheckReport& operator=(const CheckReport&) = delete;
  virtual ~CheckReport() = default;

  /// The check that begins now is the one after `done` of `all`.
  virtual void begin(const Check& /*check*/, std::size_t /*done*/, std::size_t /*all*/) {}
  virtual void end(const CheckRecord& record) = 0;
  virtual void finish(const Counts& counts) = 0;
  /// A sentence for the person at the terminal, while a check lasts.
  virtual void say(const std::string& /*sentence*/) {}
};

/// For people: a line for each check, and below a failure what was sent, got and wanted.
class PeopleReport final : public CheckReport {
 public:
  /// `out` outlives the report. With `showsProgress` it is a terminal that understands ANSI
  /// sequences, and its last line shows how far the run is.
  /// `command` begins the last line.
  PeopleReport(std::ostream& out, bool showsProgress, std::string command = "check-host")
      : out_(out), showsProgress_(showsProgress), command_(std::move(command)) {}

  void begin(const Check& check, std::size_t done, std::size_t all) override;
  void end(const CheckRecord& record) override;
  void finish(const Counts& counts) override;
  void say(const std::string& sentence) override;

 private:
  void clearProgress();

  std::ostream& out_;
  const bool showsProgress_;
  const std::string command_;
};

/// For scripts: one JSON object a line, for each check and at last for the counts.
class JsonReport final : public CheckReport {
 public:
  /// `out` outlives the report.
  explicit JsonReport(std::ostream& out) : out_(out) {}

  void end(const CheckRecord& record) override;
  void finish(const Counts& counts) override;

 private:
  std::ostream& out_;
};

/// For continuous integration: one test suite in JUnit's XML, written at the end.
class JunitReport final : public CheckReport {
 public:
  /// `out` outlives the report.
  explicit JunitReport(std::ostream& out) : out_(out) {}

  void end(const CheckRecord& record) override { records_.push_back(record); }
  void finish(const Counts& counts) override;

 private:
  std::ostream& out_;
  std::vector<CheckRecord> records_;
};

}  // namespace korvan::lab::check
