#include "lab/site/FrameWords.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <string_view>

#include "channel/ProviderFrame.h"
#include "lab/site/ValueWords.h"

namespace korvan::lab {
namespace {

constexpr std::size_t SizeOfPrefix = ProviderFramePrefix().size();

std::uint32_t announcedSize(const Data& bytes) {
  ProviderFramePrefix prefix{};
  std::ranges::copy(bytes.bytes().first(prefix.size()), prefix.begin());
  return decodeProviderFramePrefix(prefix);
}

std::string numberedBytes(std::size_t count) {
  return std::to_string(count) + (count == 1 ? " byte" : " bytes");
}

/// What the four bytes of the size stand for if the answer is not cut short but misunderstood.
std::string hintForSize(const Data& bytes, std::size_t bodySize) {
  const std::uint32_t size = announcedSize(bytes);
  const std::string_view start(reinterpret_cast<const char*>(bytes.bytes().data()), SizeOfPrefix);
  for (const std::string_view known : {"bpli", "<?xm", "<pli", "<!DO"}) {
    if (start == known) {
      return "the body comes without its size";
    }
  }
  if (start.front() == '{' || start.front() == '[') {
    return "this looks like JSON without a size";
  }
  if (size == 0) {
    return "a size of eight bytes begins so";
  }
  const std::uint32_t reversed = std::byteswap(size);
  const bool announcesTooMuch = !isValidProviderMessageSize(size);
  if (reversed == bodySize || (announcesTooMuch && isValidProviderMessageSize(reversed))) {
    return hexadecimalOf(bytes.bytes().first(SizeOfPrefix)) + " is " + std::to_string(reversed) +
           " with its bytes reversed";
  }
  return size == bodySize + SizeOfPrefix ? "the four bytes of the size are not counted" : "";
}

std::string formatOf(const Data& body) {
  using Row = std::pair<std::string_view, std::string_view>;
  const std::string_view text(reinterpret_cast<const char*>(body.bytes().data()), body.size());
  for (const auto& [start, name] :
       {Row{"bplist00", "a binary property list, damaged or no dictionary"}, Row{"<?xml", "XML"},
        Row{"{", "JSON"}, Row{"[", "JSON"}, Row{"bplist", "another version"}}) {
    if (text.starts_with(start)) {
      return ", which look like " + std::string(name);
    }
  }
  return {};
}

}  // namespace

std::string wordsForBrokenFrame(const Data& bytes) {
  if (bytes.empty()) {
    return {};
  }
  if (bytes.size() < SizeOfPrefix) {
    return wordsFor(bytes) + "; the size alone has 4 bytes";
  }
  const std::size_t bodySize = bytes.size() - SizeOfPrefix;
  const std::uint32_t size = announcedSize(bytes);
  const std::string hint = hintForSize(bytes, bodySize);
  const std::string verdict =
      isValidProviderMessageSize(size)
          ? "the size announces " + numberedBytes(size) + ", " + std::to_string(bodySize) + " came"
          : "the size announces " + numberedBytes(size) + ", not 1 to 4194304";
  return wordsFor(bytes) + "; " + verdict + (hint.empty() ? "" : "; " + hint);
}

std::string wordsForStrangeBody(const PropertyListSerialization& propertyLists, const Data& body) {
  const auto decoded = propertyLists.decode(body);
  return wordsFor(body) +
         (decoded ? ", which are " + kindOf(*decoded) + " and no dictionary" : formatOf(body));
}

}  // namespace korvan::lab
