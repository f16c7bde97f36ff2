#pragma once

#include <ostream>
#include <string_view>
#include <vector>

#include "lab/site/RelyingParty.h"
#include "lab/system/Outcome.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab {

/// Tells a person what happens, in plain words.
class Narrator {
 public:
  /// Writes to `output`, which outlives it, in colours or without.
  Narrator(std::ostream& output, bool colours) : output_(output), colours_(colours) {}

  /// To standard output, in colours when it is a terminal.
  static Narrator toStandardOutput();

  void heading(std::string_view words);
  void say(std::string_view words);
  void finding(const Finding& finding);
  void outcome(const CallReport& report);

  /// How a request ended, and what the relying party found.
  void result(const CallReport& report, const std::vector<Finding>& findings);

  /// What went over the socket, of a call that was listened in on.
  void messages(const PropertyListSerialization& propertyLists, const CallReport& report);

  /// Ends a story: a tick or a cross, and words. Gives `verified` back.
  bool verdict(bool verified, std::string_view words);

 private:
  void line(std::string_view colour, std::string_view mark, std::string_view words);

  std::ostream& output_;
  const bool colours_;
};

/// "2.35 ms", or from a second on "1.5 s".
[[nodiscard]] std::string durationText(double milliseconds);

}  // namespace korvan::lab
