#pragma once

#include <vector>

#include "lab/vectors/MessageVector.h"

namespace korvan::lab::vectors {

/// Every kind of answer that a host may give.
[[nodiscard]] std::vector<MessageVector> answerVectors();

}  // namespace korvan::lab::vectors
