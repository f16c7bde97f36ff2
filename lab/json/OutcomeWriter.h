#pragma once

#include <string>
#include <string_view>

#include "lab/system/Outcome.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab {

/// Puts what came of a line into one line of JSON, without the line's end.
class OutcomeWriter {
 public:
  /// Refers to `propertyLists`, which outlives it. `showMessages`: every line lists what went over
  /// the socket.
  OutcomeWriter(const PropertyListSerialization& propertyLists, bool showMessages)
      : propertyLists_(propertyLists), showMessages_(showMessages) {}

  [[nodiscard]] std::string line(const CallReport& report) const;

  /// For a line that is no call.
  [[nodiscard]] std::string invalidLine(std::string_view reason) const;

 private:
  const PropertyListSerialization& propertyLists_;
  const bool showMessages_;
};

}  // namespace korvan::lab
