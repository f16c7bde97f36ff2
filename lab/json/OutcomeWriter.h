#pragma once

#include <string>
#include <string_view>

#include "lab/system/Outcome.h"
#include "platform/PropertyListSerialization.h"

namespace korvan::lab {

/// Writes the outcome of a line as one line of JSON, without the newline.
class OutcomeWriter {
 public:
  /// Refers to `propertyLists`, which outlives it. With `showMessages` every line lists what went
  /// over the socket.
  OutcomeWriter(const PropertyListSerialization& propertyLists, bool showMessages)
      : propertyLists_(propertyLists), showMessages_(showMessages) {}

  [[nodiscard]] std::string line(const CallResult& result) const;

  /// For a line that is not a call.
  [[nodiscard]] std::string invalidLine(std::string_view reason) const;

 private:
  const PropertyListSerialization& propertyLists_;
  const bool showMessages_;
};

}  // namespace korvan::lab
