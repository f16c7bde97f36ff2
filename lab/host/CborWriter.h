#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/Data.h"

namespace korvan::lab::host {

/// Writes CBOR items one after another, each in its shortest form
/// (https://www.rfc-editor.org/rfc/rfc8949). Who writes a map follows it with its keys and values,
/// in the canonical order of CTAP2
/// (https://fidoalliance.org/specs/fido-v2.1-ps-20210615/fido-client-to-authenticator-protocol-v2.1-ps-20210615.html#ctap2-canonical-cbor-encoding-form).
class CborWriter {
 public:
  void map(std::size_t pairs);
  void integer(std::int64_t value);
  void text(std::string_view value);
  void bytes(std::span<const std::uint8_t> value);

  /// Everything that was written.
  [[nodiscard]] Data data() const { return Data::copyOf(written_); }

 private:
  using Encode = std::size_t (*)(std::uint64_t value, unsigned char* buffer, std::size_t size);
  void head(Encode encode, std::uint64_t value);

  std::vector<std::uint8_t> written_;
};

}  // namespace korvan::lab::host
