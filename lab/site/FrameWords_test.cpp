#include "lab/site/FrameWords.h"

#include <string>
#include <string_view>
#include <utility>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "lab/support/Bytes_testing.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan::lab {
namespace {

using testing::HasSubstr;

Data textBytes(std::string_view text) {
  return Data::copyOf({reinterpret_cast<const std::uint8_t*>(text.data()), text.size()});
}

TEST(FrameWords, NameTheMistakeThatAFrameLooksLike) {
  using Row = std::pair<Data, std::string>;
  for (const auto& [frame, words] :
       {Row{bytes({0, 0, 0}), "3 bytes: 000000; the size alone has 4 bytes"},
        Row{bytes({0x32, 0, 0, 0}),
            "4 bytes: 32000000; the size announces 838860800 bytes, not 1 to 4194304; 32000000 is "
            "50 with its bytes reversed"},
        Row{joined({bytes({0, 1, 0, 0}), testBytes(256, 'x')}),
            "announces 65536 bytes, 256 came; 00010000 is 256 with its bytes reversed"},
        Row{joined({bytes({0, 0, 0, 9}), testBytes(5, 'x')}),
            "announces 9 bytes, 5 came; the four bytes of the size are not counted"},
        Row{joined({bytes({0, 0, 0, 9}), testBytes(6, 'x')}), "announces 9 bytes, 6 came"},
        Row{bytes({0, 0, 0, 0}), "a size of eight bytes begins so"},
        Row{textBytes("bpli"), "the body comes without its size"},
        Row{textBytes("{\"ok"), "this looks like JSON without a size"}}) {
    EXPECT_THAT(wordsForBrokenFrame(frame), HasSubstr(words));
  }
  EXPECT_EQ(wordsForBrokenFrame(Data()), "");
}

TEST(FrameWords, NameTheFormatOfABodyThatIsNoDictionary) {
  const LinuxPropertyListSerialization propertyLists;
  EXPECT_EQ(wordsForStrangeBody(propertyLists, textBytes("{\"ok\":true}")),
            "11 bytes: 7b226f6b223a747275657d, which look like JSON");
  EXPECT_THAT(wordsForStrangeBody(propertyLists, textBytes("<array/>")),
              HasSubstr("which are an array and no dictionary"));
  EXPECT_EQ(wordsForStrangeBody(propertyLists, bytes({1})), "1 byte: 01");
}

}  // namespace
}  // namespace korvan::lab
