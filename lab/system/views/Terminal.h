#pragma once

#include <span>
#include <string>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// Shows text to a person and waits for the Return key.
class Terminal {
 public:
  /// Standard error for the text and standard input for the answer; standard output is for the
  /// program's own output. Neither needs to be a terminal.
  [[nodiscard]] static Terminal standard();

  /// The process's controlling terminal. Throws std::runtime_error when it has none.
  [[nodiscard]] static Terminal controlling();

  /// Writes each text as a paragraph. Throws std::system_error on failure.
  void show(std::span<const std::string> texts) const;

  /// Waits for the end of a line, or of the input.
  void waitForReturn() const;

 private:
  Terminal(int input, int output) : input_(input), output_(output) {}

  Descriptor owned_;
  int input_;
  int output_;
};

}  // namespace korvan::lab
