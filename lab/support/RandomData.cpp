#include "lab/support/RandomData.h"

#include <stdexcept>
#include <utility>

#include <openssl/rand.h>

namespace korvan::lab {

Data randomData(std::size_t size) {
  MutableData data = MutableData::uninitialized(size);
  if (RAND_bytes(data.bytes().data(), static_cast<int>(size)) != 1) {
    throw std::runtime_error("The system has no random bytes to give.");
  }
  return std::move(data).freeze();
}

}  // namespace korvan::lab
