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

  /// Prints how a request ended, and what the relying party found.
  void result(const CallReport& report, const std::vector<Finding>& findings);

  /// Prints what went over the socket during a call whose messages were recorded.
  void messages(const PropertyListSerialization& propertyLists, const CallReport& report);

  /// Prints a tick or a cross, and `words`. Returns `verified`.
  bool verdict(bool verified, std::string_view words);

 private:
  void line(std::string_view colour, std::string_view mark, std::string_view words);

  std::ostream& output_;
  const bool colours_;
};

/// Such as "2.35 ms", or "1.5 s" from one second on.
[[nodiscard]] std::string durationText(double milliseconds);

}  // namespace korvan::lab
