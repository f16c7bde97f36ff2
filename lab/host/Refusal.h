#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "platform/PropertyList.h"

namespace korvan::lab::host {

/// Why a request is not served: one of the protocol's error codes, and words for people.
class Refusal : public std::runtime_error {
 public:
  Refusal(std::string errorCode, const std::string& description)
      : std::runtime_error(description), errorCode_(std::move(errorCode)) {}

  /// The refusal as the answer to the request.
  [[nodiscard]] PropertyListDictionary response() const {
    return {{.key = "ok"_text, .value = false},
            {.key = "errorCode"_text, .value = std::string_view(errorCode_)},
            {.key = "errorDescription"_text, .value = what()}};
  }

 private:
  std::string errorCode_;
};

}  // namespace korvan::lab::host
