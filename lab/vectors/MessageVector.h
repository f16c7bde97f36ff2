#pragma once

#include <string>

#include "channel/ProviderMessage.h"

namespace korvan::lab::vectors {

/// One message of the host protocol as an example for people who write a host.
struct MessageVector {
  /// Of its files, without a suffix: lower case with hyphens, "request-" or "answer-" first.
  std::string name;
  ProviderMessage message;
};

}  // namespace korvan::lab::vectors
