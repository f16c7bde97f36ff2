#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "platform/Data.h"

namespace korvan::lab::host {

/// `size` bytes of the value `value`.
[[nodiscard]] Data testBytes(std::size_t size, std::uint8_t value);

/// A private key of the wrong curve.
[[nodiscard]] Data p384Pkcs8();

[[nodiscard]] Data sha256(const Data& bytes);

/// Whether `signature`, an ES256 one in DER, is of `message` by the owner of `publicKey`, a
/// SubjectPublicKeyInfo.
[[nodiscard]] bool verifies(const Data& publicKey, const Data& signature, const Data& message);

}  // namespace korvan::lab::host
