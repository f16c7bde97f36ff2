#include "platform/linux/LinuxPropertyListSerialization.h"

#include <cstdint>
#include <string_view>

#include <gtest/gtest.h>

namespace korvan {
namespace {

Data dataOf(std::string_view bytes) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size()});
}

TEST(LinuxPropertyListSerialization, DecodesWhatItEncodes) {
  const LinuxPropertyListSerialization serialization;
  const PropertyListDictionary message{{.key = "ok"_text, .value = true},
                                       {.key = "userHandle"_text, .value = dataOf("user")}};
  const auto bytes = serialization.encodeBinary(message);
  ASSERT_TRUE(bytes.has_value());

  EXPECT_EQ(serialization.decode(*bytes).value_or(PropertyListValue()), PropertyListValue(message));
}

TEST(LinuxPropertyListSerialization, SaysWhyItCannotEncode) {
  const auto bytes = LinuxPropertyListSerialization().encodeBinary(
      {{.key = "type"_text, .value = PropertyListValue()}});

  ASSERT_FALSE(bytes.has_value());
  EXPECT_EQ(bytes.error().localizedDescription,
            R"(The value at "type" is null, which a property list cannot hold.)");
}

TEST(LinuxPropertyListSerialization, SaysWhereABinaryPropertyListIsDamaged) {
  const auto value = LinuxPropertyListSerialization().decode(dataOf("bplist00"));

  ASSERT_FALSE(value.has_value());
  EXPECT_EQ(value.error().localizedDescription,
            "The binary property list is damaged at byte 8: it ends before its trailer is "
            "complete.");
}

TEST(LinuxPropertyListSerialization, RefusesBytesThatAnnounceNoFormat) {
  for (const std::string_view bytes : {"", "bplist0", "bplist01", "\x01\x02\x03"}) {
    const auto value = LinuxPropertyListSerialization().decode(dataOf(bytes));

    ASSERT_FALSE(value.has_value()) << testing::PrintToString(bytes);
    EXPECT_EQ(value.error().localizedDescription,
              "The bytes are not a property list in a format that can be read.");
  }
}

}  // namespace
}  // namespace korvan
