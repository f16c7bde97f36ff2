#pragma once

#include <span>
#include <string>

#include "lab/support/Descriptor.h"

namespace korvan::lab {

/// Where a person reads lines of text and answers with the Return key.
class Terminal {
 public:
  /// Standard input for the answer, and standard error for the text: standard output belongs to
  /// what the program is asked for. Neither needs to be a terminal.
  [[nodiscard]] static Terminal standard();

  /// The process's controlling terminal. Throws std::runtime_error when it has none.
  [[nodiscard]] static Terminal controlling();

  /// Writes each text as a paragraph. Throws std::system_error when it cannot be written.
  void show(std::span<const std::string> texts) const;

  /// Returns at the end of a line, or of the input: nobody is left then who could answer.
  void waitForReturn() const;

 private:
  Terminal(int input, int output) : input_(input), output_(output) {}

  Descriptor owned_;
  int input_;
  int output_;
};

}  // namespace korvan::lab
