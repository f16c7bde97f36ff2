#include "lab/host/CborWriter.h"

#include <array>

#include <cbor.h>

namespace korvan::lab::host {

void CborWriter::map(std::size_t pairs) { head(&cbor_encode_map_start, pairs); }

void CborWriter::integer(std::int64_t value) {
  if (value >= 0) {
    head(&cbor_encode_uint, static_cast<std::uint64_t>(value));
  } else {
    // CBOR stores -1 - n, which in two's complement is every bit turned over.
    head(&cbor_encode_negint, ~static_cast<std::uint64_t>(value));
  }
}

void CborWriter::text(std::string_view value) {
  head(&cbor_encode_string_start, value.size());
  written_.insert(written_.end(), value.begin(), value.end());
}

void CborWriter::bytes(std::span<const std::uint8_t> value) {
  head(&cbor_encode_bytestring_start, value.size());
  written_.insert(written_.end(), value.begin(), value.end());
}

void CborWriter::head(Encode encode, std::uint64_t value) {
  std::array<unsigned char, 9> buffer{};  // the longest head: a type byte and eight of value
  const std::size_t size = encode(value, buffer.data(), buffer.size());
  const auto encoded = std::span(buffer).first(size);
  written_.insert(written_.end(), encoded.begin(), encoded.end());
}

}  // namespace korvan::lab::host
