#include "bench/WorstShapes.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace korvan::bench {
namespace {

std::string bigEndian(std::uint64_t number, std::size_t width) {
  std::string bytes;
  while (width-- > 0) {
    bytes += static_cast<char>(number >> (8 * width));
  }
  return bytes;
}

/// The fewest bytes for the number.
std::size_t widthOf(std::uint64_t number) {
  std::size_t width = 1;
  while (width < 8 && (number >> (8 * width)) != 0) {
    ++width;
  }
  return width;
}

/// Binary objects one after another, the first of them the top.
class BinaryObjects {
 public:
  /// For as many objects as will be added, which decides the width of references.
  explicit BinaryObjects(std::size_t count) : referenceWidth_(widthOf(count)) {}

  void add(std::string_view object) {
    offsets_.push_back(bytes_.size());
    bytes_ += object;
  }

  /// An array (`marker` 0xA0), or a dictionary (0xD0) of half as many entries.
  void addContainer(unsigned marker, const std::vector<std::size_t>& references) {
    offsets_.push_back(bytes_.size());
    head(marker, marker == 0xD0 ? references.size() / 2 : references.size());
    for (const std::size_t reference : references) {
      bytes_ += bigEndian(reference, referenceWidth_);
    }
  }

  void addCounted(unsigned marker, std::size_t count, std::string_view contents) {
    offsets_.push_back(bytes_.size());
    head(marker, count);
    bytes_ += contents;
  }

  [[nodiscard]] std::string finish() && {
    const std::size_t tableOffset = bytes_.size();
    const std::size_t offsetWidth = widthOf(tableOffset);
    for (const std::size_t offset : offsets_) {
      bytes_ += bigEndian(offset, offsetWidth);
    }
    bytes_ += std::string(6, '\0') + bigEndian(offsetWidth, 1) + bigEndian(referenceWidth_, 1) +
              bigEndian(offsets_.size(), 8) + bigEndian(0, 8) + bigEndian(tableOffset, 8);
    return std::move(bytes_);
  }

 private:
  void head(unsigned marker, std::size_t count) {
    if (count < 15) {
      bytes_ += static_cast<char>(marker | count);
    } else {
      bytes_ += static_cast<char>(marker | 0x0F);
      bytes_ += '\x13' + bigEndian(count, 8);
    }
  }

  std::size_t referenceWidth_;
  std::string bytes_ = "bplist00";
  std::vector<std::size_t> offsets_;
};

std::vector<std::size_t> upTo(std::size_t first, std::size_t count) {
  std::vector<std::size_t> numbers(count);
  for (std::size_t& number : numbers) {
    number = first++;
  }
  return numbers;
}

std::string referencesToFewIntegers(std::size_t size) {
  constexpr std::size_t Integers = 250;
  std::vector<std::size_t> references(size - 2'304);
  for (std::size_t index = 0; index < references.size(); ++index) {
    references[index] = 1 + (index % Integers);
  }
  BinaryObjects objects(Integers);
  objects.addContainer(0xA0, references);
  for (std::size_t number = 0; number < Integers; ++number) {
    objects.add("\x10" + bigEndian(number, 1));
  }
  return std::move(objects).finish();
}

std::string manyOf(std::string_view object, std::size_t size) {
  const std::size_t count = size / (object.size() + 6);
  BinaryObjects objects(count);
  objects.addContainer(0xA0, upTo(1, count));
  for (std::size_t done = 0; done < count; ++done) {
    objects.add(object);
  }
  return std::move(objects).finish();
}

std::string oneByteIntegers(std::size_t size) { return manyOf("\x10\x07", size); }
std::string emptyArrays(std::size_t size) { return manyOf("\xA0", size); }
// The marker of an empty UTF-16 text.
std::string emptyTexts(std::size_t size) { return manyOf("`", size); }

std::string arraysInsideOneAnother(std::size_t size) {
  const std::size_t count = size / 7;
  BinaryObjects objects(count);
  for (std::size_t level = 1; level < count; ++level) {
    objects.addContainer(0xA0, {level});
  }
  objects.add("\xA0");
  return std::move(objects).finish();
}

/// Half as many arrays that are read in the order that finds the nesting last.
std::string arraysInsideOneAnotherFromWithin(std::size_t size) {
  const std::size_t count = size / 12;
  BinaryObjects objects(count);
  objects.addContainer(0xA0, upTo(1, count));
  objects.add("\xA0");
  for (std::size_t level = 2; level <= count; ++level) {
    objects.addContainer(0xA0, {level - 1});
  }
  return std::move(objects).finish();
}

std::string levelsOfSharedArrays(std::size_t size) {
  constexpr std::size_t Levels = 256;
  BinaryObjects objects(Levels);
  for (std::size_t level = 1; level < Levels; ++level) {
    objects.addContainer(0xA0, std::vector<std::size_t>(size / (Levels + 4), level));
  }
  objects.add("\xA0");
  return std::move(objects).finish();
}

std::string distinctKeys(std::size_t size) {
  const std::size_t count = size / 18;
  BinaryObjects objects(count + 2);
  auto references = upTo(2, count);
  // Last first, so that there is something to put in order.
  std::ranges::reverse(references);
  references.resize(2 * count, 1);
  objects.addContainer(0xD0, references);
  objects.add("\x09");
  for (std::size_t key = 0; key < count; ++key) {
    std::string name = "k0000000";
    for (std::size_t rest = key, place = name.size(); rest > 0; rest /= 10) {
      name[--place] = static_cast<char>('0' + (rest % 10));
    }
    objects.addCounted(0x50, name.size(), name);
  }
  return std::move(objects).finish();
}

std::string referencesToOneKey(std::size_t size) {
  std::vector<std::size_t> references(size - 64, 1);
  references.resize(references.size() / 2 * 2);
  BinaryObjects objects(2);
  objects.addContainer(0xD0, references);
  objects.addCounted(0x50, 1, "k");
  return std::move(objects).finish();
}

std::string equalKeysOfTheirOwn(std::size_t size) {
  const std::size_t count = size / 12;
  BinaryObjects objects(count + 2);
  auto references = upTo(2, count);
  references.resize(2 * count, 1);
  objects.addContainer(0xD0, references);
  objects.add("\x09");
  for (std::size_t key = 0; key < count; ++key) {
    objects.addCounted(0x50, 1, "k");
  }
  return std::move(objects).finish();
}

std::string keysThatBeginAlike(std::size_t size) {
  const auto count = static_cast<std::size_t>(std::sqrt(static_cast<double>(size)));
  BinaryObjects objects(count + 2);
  auto references = upTo(2, count);
  references.resize(2 * count, 1);
  objects.addContainer(0xD0, references);
  objects.add("\x09");
  for (std::size_t key = 0; key < count; ++key) {
    objects.addCounted(0x50, count,
                       std::string(count - 4, 'k') + std::to_string(1000 + (key * 7919 % count)));
  }
  return std::move(objects).finish();
}

std::string smallDictionaries(std::size_t size) {
  const std::size_t count = size / 15;
  BinaryObjects objects(count + 3);
  objects.addContainer(0xA0, upTo(3, count));
  objects.addCounted(0x50, 1, "k");
  objects.add("\x09");
  for (std::size_t done = 0; done < count; ++done) {
    objects.addContainer(0xD0, {1, 2});
  }
  return std::move(objects).finish();
}

std::string oneUtf16Text(std::size_t size) {
  std::string units;
  while (units.size() < size - 64) {
    units += "\x20\xAC";
  }
  BinaryObjects objects(1);
  objects.addCounted(0x60, units.size() / 2, units);
  return std::move(objects).finish();
}

std::string referencesToOneLongText(std::size_t size) {
  BinaryObjects objects(2);
  objects.addContainer(0xA0, std::vector<std::size_t>(size / 2, 1));
  objects.addCounted(0x60, size / 4 - 32, std::string(size / 2 - 64, '\x20'));
  return std::move(objects).finish();
}

std::string oneData(std::size_t size) {
  BinaryObjects objects(1);
  objects.addCounted(0x40, size - 64, std::string(size - 64, 'd'));
  return std::move(objects).finish();
}

/// `first`, then as many of `unit` as fit, then `last`.
std::string repeated(std::string_view first, std::string_view unit, std::string_view last,
                     std::size_t size) {
  std::string text(first);
  text.reserve(size + unit.size());
  while (text.size() + unit.size() + last.size() <= size) {
    text += unit;
  }
  return text.append(last);
}

/// As many numbered entries as fit.
std::string numbered(std::string_view first, std::string_view beforeNumber,
                     std::string_view afterNumber, std::string_view last, std::size_t size) {
  std::string text(first);
  for (std::size_t number = 9'999'999; text.size() < size - 64; --number) {
    text.append(beforeNumber).append(std::to_string(number)).append(afterNumber);
  }
  return text.append(last);
}

std::string inUtf16(std::string_view ascii) {
  std::string text = "\xFE\xFF";
  for (const char character : ascii) {
    text += '\0';
    text += character;
  }
  return text;
}

}  // namespace

std::string bombOfSharedReferences(std::size_t levels) {
  BinaryObjects objects(levels);
  for (std::size_t level = 1; level < levels; ++level) {
    objects.addContainer(0xA0, {level, level});
  }
  objects.add("\xA0");
  return std::move(objects).finish();
}

std::vector<WorstShape> worstShapes() {
  using Size = std::size_t;
  return {
      {"binary: references to 250 integers", referencesToFewIntegers},
      {"binary: one-byte integers", oneByteIntegers},
      {"binary: empty arrays", emptyArrays},
      {"binary: empty UTF-16 texts", emptyTexts},
      {"binary: arrays inside one another", arraysInsideOneAnother},
      {"binary: the same, from within", arraysInsideOneAnotherFromWithin},
      {"binary: 256 levels of shared arrays", levelsOfSharedArrays},
      {"binary: distinct keys, last first", distinctKeys},
      {"binary: references to one key", referencesToOneKey},
      {"binary: equal keys of their own", equalKeysOfTheirOwn},
      {"binary: keys that begin alike", keysThatBeginAlike},
      {"binary: small dictionaries", smallDictionaries},
      {"binary: one UTF-16 text", oneUtf16Text},
      {"binary: references to one UTF-16 text", referencesToOneLongText},
      {"binary: one data", oneData},
      {"XML: booleans", [](Size size) { return repeated("<array>", "<true/>", "</array>", size); }},
      {"XML: empty dictionaries",
       [](Size size) { return repeated("<array>", "<dict/>", "</array>", size); }},
      {"XML: one key again and again",
       [](Size size) { return repeated("<dict>", "<key/><true/>", "</dict>", size); }},
      {"XML: distinct keys, last first",
       [](Size size) { return numbered("<dict>", "<key>", "</key><true/>", "</dict>", size); }},
      {"XML: entities", [](Size size) { return repeated("<string>", "&lt;", "</string>", size); }},
      {"XML: empty CDATA",
       [](Size size) { return repeated("<string>", "<![CDATA[]]>", "</string>", size); }},
      {"XML: comments",
       [](Size size) { return repeated("<string>", "<!---->", "</string>", size); }},
      {"XML: lines", [](Size size) { return repeated("<string>", "\r\n", "</string>", size); }},
      {"XML: attributes of one element",
       [](Size size) { return numbered("<array ", " a", "='1'", "/>", size); }},
      {"XML: one integer of many digits",
       [](Size size) { return repeated("<integer>", "0", "</integer>", size); }},
      {"XML: one real of many digits",
       [](Size size) { return repeated("<real>0.", "123456789", "</real>", size); }},
      {"XML: base64", [](Size size) { return repeated("<data>", "AAAA", "</data>", size); }},
      {"XML: arrays inside one another",
       [](Size size) { return repeated("", "<array>", "", size); }},
      {"XML: dictionaries in UTF-16",
       [](Size size) { return inUtf16(repeated("<array>", "<dict/>", "</array>", size / 2)); }},
      {"XML: a comment that does not end",
       [](Size size) { return repeated("<!--", "<!- ", "", size); }},
      {"OpenStep: strings of one letter", [](Size size) { return repeated("(", "a,", ")", size); }},
      {"OpenStep: empty arrays", [](Size size) { return repeated("(", "(),", ")", size); }},
      {"OpenStep: empty data", [](Size size) { return repeated("(", "<>,", ")", size); }},
      {"OpenStep: one key again and again",
       [](Size size) { return repeated("{", "a;", "}", size); }},
      {"OpenStep: two keys in turn", [](Size size) { return repeated("{", "a;b;", "}", size); }},
      {"OpenStep: distinct keys, last first",
       [](Size size) { return numbered("{", "", ";", "}", size); }},
      {"OpenStep: escapes", [](Size size) { return repeated("\"", R"(\U20ac)", "\"", size); }},
      {"OpenStep: strings with an escape",
       [](Size size) { return repeated("(", R"("\n",)", ")", size); }},
      {"OpenStep: hexadecimal data", [](Size size) { return repeated("<", "00", ">", size); }},
      {"OpenStep: comments", [](Size size) { return repeated("", "/**/", "", size); }},
      {"OpenStep: a file of strings", [](Size size) { return numbered("", "", "=a;", "", size); }},
      {"OpenStep: arrays inside one another",
       [](Size size) { return repeated("", "(", "", size); }},
      {"OpenStep: a comment that does not end",
       [](Size size) { return repeated("/*", "/* ", "", size); }},
  };
}

}  // namespace korvan::bench
