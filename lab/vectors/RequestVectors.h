#pragma once

#include <vector>

#include "lab/vectors/MessageVector.h"

namespace korvan::lab::vectors {

/// Every kind of request, as the controller sends it when the platform calls the entry point.
[[nodiscard]] std::vector<MessageVector> requestVectors();

}  // namespace korvan::lab::vectors
