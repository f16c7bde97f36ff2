#include "lab/host/CborWriter.h"

#include <array>
#include <cstdint>
#include <limits>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace korvan::lab::host {
namespace {

using Bytes = std::vector<std::uint8_t>;

Data dataOf(const Bytes& bytes) { return Data::copyOf(bytes); }

// The encodings are those of https://www.rfc-editor.org/rfc/rfc8949#appendix-A.
TEST(CborWriter, WritesIntegersInTheirShortestForm) {
  const std::vector<std::pair<std::int64_t, Bytes>> rows{
      {0, {0x00}},
      {23, {0x17}},
      {24, {0x18, 0x18}},
      {1000, {0x19, 0x03, 0xE8}},
      {-1, {0x20}},
      {-7, {0x26}},
      {-100, {0x38, 0x63}},
      {-1000, {0x39, 0x03, 0xE7}},
      {std::numeric_limits<std::int64_t>::min(),
       {0x3B, 0x7F, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}}};
  for (const auto& [value, encoded] : rows) {
    CborWriter cbor;
    cbor.integer(value);
    EXPECT_EQ(cbor.data(), dataOf(encoded)) << value;
  }
}

TEST(CborWriter, WritesTextsBytesAndMapsBehindTheirSizes) {
  CborWriter cbor;
  cbor.map(2);
  cbor.text("a");
  cbor.bytes(std::array<std::uint8_t, 2>{1, 2});
  cbor.text("");
  cbor.map(0);
  EXPECT_EQ(cbor.data(), dataOf({0xA2, 0x61, 'a', 0x42, 1, 2, 0x60, 0xA0}));
}

TEST(CborWriter, WritesASizeOf256InTwoBytes) {
  CborWriter cbor;
  cbor.bytes(Bytes(256, 0));
  EXPECT_EQ(cbor.data().slice(0, 3), dataOf({0x59, 0x01, 0x00}));
  EXPECT_EQ(cbor.data().size(), 259U);
}

}  // namespace
}  // namespace korvan::lab::host
