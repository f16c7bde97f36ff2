#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>
#include <sys/types.h>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// A running program whose standard streams a test reads and writes. Killed if it still runs when
/// this object is destroyed.
class Program {
 public:
  struct Result {
    /// The exit status, or 128 plus the signal's number.
    int status = -1;
    std::string output;
    std::string errors;
  };

  explicit Program(std::vector<std::string> command);
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;
  ~Program();

  [[nodiscard]] pid_t processIdentifier() const { return processIdentifier_; }

  void write(std::string_view text) const;
  void closeInput() { input_ = {}; }
  void closeOutput() { output_ = {}; }
  void signal(int number) const;

  /// The next line of the output without its newline; empty at the end of the output.
  std::string readLine();

  /// The rest of the output, to its end. The input stays open.
  std::string readOutput();

  /// Closes the input, and reads until the program has ended.
  Result finish();

 private:
  pid_t processIdentifier_ = -1;
  Descriptor input_;
  Descriptor output_;
  Descriptor errors_;
  std::string unread_;
};

/// Runs korvan-lab to its end, with `input` on standard input.
[[nodiscard]] Program::Result runLab(std::vector<std::string> arguments,
                                     std::string_view input = "");

/// The lines of a text as JSON.
[[nodiscard]] std::vector<nlohmann::json> jsonLines(const std::string& text);

}  // namespace korvan::lab
