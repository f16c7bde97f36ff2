#pragma once

#include <ostream>
#include <string_view>

#include "lab/site/Finding.h"
#include "lab/system/Outcome.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab {

/// Tells a person what happens, in plain words.
class Narrator {
 public:
  /// Writes to `output`, which outlives it, with or without colors.
  Narrator(std::ostream& output, bool colors) : output_(output), colors_(colors) {}

  /// Writes to standard output, with colors if that takes them.
  static Narrator toStandardOutput();

  void heading(std::string_view words);
  void say(std::string_view words);

  /// Prints a finding and, below it, what was wanted and got, and a hint.
  void finding(const Finding& finding);

  void outcome(const CallResult& result);

  /// Prints how a request ended, and what the relying party found.
  void result(const CallResult& result, const FindingList& findings);

  /// Prints what went over the socket during a call.
  void messages(const PropertyListSerialization& propertyLists, const CallResult& result);

  /// Prints a message, decoded if it can be.
  void message(const PropertyListSerialization& propertyLists, const PassingMessage& message);

  /// Says so if nothing was sent during a call.
  void silence(const CallResult& result);

  /// Prints a tick or a cross, and `words`. Returns `verified`.
  bool verdict(bool verified, std::string_view words);

 private:
  void detail(std::string_view name, std::string_view words);
  void line(std::string_view color, std::string_view mark, std::string_view words);

  std::ostream& output_;
  const bool colors_;
};

/// Such as "2.35 ms", or "1.5 s" from one second on.
[[nodiscard]] std::string durationText(double milliseconds);

}  // namespace korvan::lab
