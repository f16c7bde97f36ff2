#pragma once

#include <stdexcept>
#include <string>
#include <utility>

#include "platform/PropertyList.h"

namespace korvan::lab::host {

/// Why a request is refused: one of the protocol's error codes, and a text for people.
class Refusal : public std::runtime_error {
 public:
  Refusal(std::string errorCode, const std::string& description)
      : std::runtime_error(description), errorCode_(std::move(errorCode)) {}

  /// The refusal as the answer to the request.
  [[nodiscard]] PropertyListDictionary response() const {
    return {
        {"ok", false}, {"errorCode", std::string_view(errorCode_)}, {"errorDescription", what()}};
  }

 private:
  std::string errorCode_;
};

}  // namespace korvan::lab::host
