#include "lab/support/RandomData.h"

#include <stdexcept>
#include <utility>
#include <vector>

#include <openssl/rand.h>

namespace korvan::lab {

Data randomData(std::size_t size) {
  std::vector<std::uint8_t> data(size);
  if (RAND_bytes(data.data(), static_cast<int>(size)) != 1) {
    throw std::runtime_error("The system has no random bytes to give.");
  }
  return data;
}

}  // namespace korvan::lab
