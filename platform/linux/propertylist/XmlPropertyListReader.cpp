#include <algorithm>
#include <array>
#include <charconv>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include <expat.h>

#include "platform/linux/propertylist/PropertyListCharacters.h"
#include "platform/linux/propertylist/PropertyListDamage.h"
#include "platform/linux/propertylist/PropertyListFormats.h"

namespace korvan {
namespace {

constexpr std::string_view XmlSpace = " \t\r\n";

std::string_view trimmed(std::string_view text) {
  text.remove_prefix(std::min(text.find_first_not_of(XmlSpace), text.size()));
  return text.substr(0, text.find_last_not_of(XmlSpace) + 1);
}

/// Takes a sign off the front. Returns whether it was a minus.
bool takeSign(std::string_view& text) {
  const bool isNegative = text.starts_with('-');
  if (isNegative || text.starts_with('+')) {
    text.remove_prefix(1);
  }
  return isNegative;
}

/// The number that the whole text is, without a sign.
template <typename Number, typename... Format>
std::optional<Number> numberOf(std::string_view text, Format... format) {
  Number number{};
  const auto [end, error] = std::from_chars(text.begin(), text.end(), number, format...);
  const bool isWhole = error == std::errc() && end == text.end() && !text.starts_with('-');
  return isWhole ? std::optional(number) : std::nullopt;
}

/// Takes a field of exactly so many digits, and the mark after it, off the front.
std::optional<int> takeField(std::string_view& text, std::size_t digits, char mark) {
  if (text.size() <= digits || text[digits] != mark) {
    return std::nullopt;
  }
  const auto field = numberOf<int>(text.substr(0, digits), 10);
  text.remove_prefix(digits + 1);
  return field;
}

// The value that the text of an element stands for, if any. Space around the text does not count.

/// A decimal number, or a hexadecimal one after "0x", with or without a sign, from -2^63 to 2^64-1.
std::optional<PropertyListValue> integerOfXml(std::string_view text) {
  text = trimmed(text);
  const bool isNegative = takeSign(text);
  const bool isHexadecimal = text.starts_with("0x") || text.starts_with("0X");
  const auto magnitude =
      numberOf<std::uint64_t>(text.substr(isHexadecimal ? 2 : 0), isHexadecimal ? 16 : 10);
  constexpr std::uint64_t LargestNegative = std::uint64_t{1} << 63;
  if (!magnitude || (isNegative && *magnitude > LargestNegative)) {
    return std::nullopt;
  }
  return isNegative ? PropertyListValue(static_cast<std::int64_t>(0 - *magnitude))
                    : PropertyListValue(*magnitude);
}

/// A decimal number, or "nan", "inf" or "infinity" in any case, with or without a sign.
std::optional<PropertyListValue> realOfXml(std::string_view text) {
  text = trimmed(text);
  const bool isNegative = takeSign(text);
  const auto magnitude = numberOf<double>(text, std::chars_format::general);
  if (!magnitude) {
    return std::nullopt;
  }
  return PropertyListValue(isNegative ? -*magnitude : *magnitude);
}

/// UTC in the one form of ISO 8601 that property lists use: "2001-01-01T00:00:00Z".
std::optional<PropertyListValue> dateOfXml(std::string_view text) {
  text = trimmed(text);
  const bool isNegative = text.starts_with('-');
  text.remove_prefix(isNegative ? 1 : 0);
  const auto year = takeField(text, 4, '-');
  const auto month = takeField(text, 2, '-');
  const auto day = takeField(text, 2, 'T');
  const auto hour = takeField(text, 2, ':');
  const auto minute = takeField(text, 2, ':');
  const auto second = takeField(text, 2, 'Z');
  if (!year || !month || !day || !hour || !minute || !second || !text.empty()) {
    return std::nullopt;
  }
  using namespace std::chrono;
  const year_month_day date(std::chrono::year(isNegative ? -*year : *year),
                            std::chrono::month(static_cast<unsigned>(*month)),
                            std::chrono::day(static_cast<unsigned>(*day)));
  if (!date.ok() || *hour > 23 || *minute > 59 || *second > 59) {
    return std::nullopt;
  }
  constexpr sys_days ReferenceDate = January / 1 / 2001;
  const seconds sinceReferenceDate =
      (sys_days(date) - ReferenceDate) + hours(*hour) + minutes(*minute) + seconds(*second);
  return PropertyListDate{static_cast<double>(sinceReferenceDate.count())};
}

/// Base64 (RFC 4648, section 4) with its padding, with space anywhere.
std::optional<PropertyListValue> dataOfXml(std::string_view text) {
  constexpr std::string_view Digits =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  constexpr std::size_t GroupSize = 4;
  std::vector<std::uint8_t> bytes;
  std::size_t digits = 0;
  std::size_t padding = 0;
  std::size_t bits = 0;
  for (const char character : text) {
    const std::size_t value = Digits.find(character);
    if (character == '=') {
      ++padding;
    } else if (value != std::string_view::npos && padding == 0) {
      bits = (bits << 6) | value;
      // Each digit but the first of a group completes a byte.
      if (const std::size_t place = digits++ % GroupSize; place != 0) {
        bytes.push_back(static_cast<std::uint8_t>(bits >> (2 * (GroupSize - 1 - place))));
      }
    } else if (!XmlSpace.contains(character)) {
      return std::nullopt;
    }
  }
  const std::size_t missing = (GroupSize - digits % GroupSize) % GroupSize;
  if (padding != missing || missing == 3) {
    return std::nullopt;
  }
  return PropertyListValue(Data(std::move(bytes)));
}

/// An element that holds text, and how the text becomes a value.
struct XmlScalar {
  std::string_view name;
  std::optional<PropertyListValue> (*valueOf)(std::string_view text);
  /// What a text must be to have a value.
  std::string_view form;
};

template <bool Value>
std::optional<PropertyListValue> booleanOfXml(std::string_view text) {
  return text.empty() ? std::optional<PropertyListValue>(Value) : std::nullopt;
}

std::optional<PropertyListValue> textOfXml(std::string_view text) {
  return PropertyListValue(text);
}

constexpr std::array<XmlScalar, 8> XmlScalars = {
    {{.name = "key", .valueOf = &textOfXml, .form = ""},
     {.name = "string", .valueOf = &textOfXml, .form = ""},
     {.name = "integer", .valueOf = &integerOfXml, .form = "an integer of at most 64 bits"},
     {.name = "real", .valueOf = &realOfXml, .form = "a real number"},
     {.name = "true", .valueOf = &booleanOfXml<true>, .form = "empty"},
     {.name = "false", .valueOf = &booleanOfXml<false>, .form = "empty"},
     {.name = "date", .valueOf = &dateOfXml, .form = "a date such as 2001-01-01T00:00:00Z"},
     {.name = "data", .valueOf = &dataOfXml, .form = "base64"}}};
constexpr const XmlScalar* XmlKey = &XmlScalars.front();

/// The keyed archiver's reference number that the dictionary stands for.
std::optional<PropertyListUid> uidOf(const PropertyListDictionary& dictionary) {
  const auto* const value = dictionary.size() == 1 ? valueForKey(dictionary, "CF$UID") : nullptr;
  const auto number = value != nullptr ? value->integer() : std::nullopt;
  return number && std::in_range<std::uint32_t>(*number)
             ? std::optional(PropertyListUid{static_cast<std::uint64_t>(*number)})
             : std::nullopt;
}

/// Puts a property list together from what the XML parser meets.
class XmlReader {
 public:
  explicit XmlReader(std::string_view characters)
      : characters_(characters),
        // The declaration of an encoding is about bytes that are characters by now.
        parser_(XML_ParserCreate("UTF-8"), &XML_ParserFree) {
    if (parser_ == nullptr) {
      throw std::bad_alloc();
    }
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), &call<&XmlReader::start>, &call<&XmlReader::end>);
    XML_SetCharacterDataHandler(parser_.get(), &call<&XmlReader::addCharacters>);
    XML_SetStartDoctypeDeclHandler(parser_.get(), &call<&XmlReader::startDocumentType>);
    XML_SetSkippedEntityHandler(parser_.get(), &call<&XmlReader::skipEntity>);
  }

  /// Throws PropertyListDamage.
  PropertyListValue read() {
    // To the parser an XML declaration comes first, but space may precede a property list.
    skipped_ = std::min(characters_.find_first_not_of(XmlSpace), characters_.size());
    const std::string_view text = characters_.substr(skipped_);
    requireHere(std::in_range<int>(text.size()), "it is larger than 2 GiB");
    const XML_Status status =
        XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
    if (damage_) {
      throw PropertyListDamage(std::move(*damage_));
    }
    const XML_Error error = XML_GetErrorCode(parser_.get());
    if (error == XML_ERROR_NO_MEMORY) {
      throw std::bad_alloc();
    }
    requireIntact(status != XML_STATUS_ERROR, offset(), "as XML, ", XML_ErrorString(error));
    requireHere(top_.has_value(), "it holds no value");
    return std::move(*top_);
  }

 private:
  /// An array or dictionary that is not closed yet.
  struct Container {
    bool isArray = false;
    PropertyListValue::Array items;
    PropertyListDictionary entries;
    /// The key whose value comes next.
    std::optional<Text> key;
  };

  /// Calls one of the functions below. The parser is written in C: nothing may be thrown through
  /// it. Where memory runs out, the program ends.
  template <auto Handler, typename... Arguments>
  static void call(void* reader, Arguments... arguments) noexcept {
    auto& self = *static_cast<XmlReader*>(reader);
    // The parser may still call once or twice after it was stopped.
    if (self.damage_) {
      return;
    }
    try {
      (self.*Handler)(arguments...);
    } catch (PropertyListDamage& damage) {
      self.damage_ = std::move(damage);
      XML_StopParser(self.parser_.get(), XML_FALSE);
    }
  }

  void startDocumentType(const char* /*name*/, const char* /*systemId*/, const char* /*publicId*/,
                         int hasDeclarations) {
    requireHere(hasDeclarations == 0, "a document type cannot have declarations of its own");
  }

  void skipEntity(const char* /*name*/, int /*isParameterEntity*/) {
    throwDamage(offset(), "an entity is not one of XML's five");
  }

  void start(const char* elementName, const char** /*attributes*/) {
    const std::string_view name = elementName;
    const auto* const scalar = std::ranges::find(XmlScalars, name, &XmlScalar::name);
    const bool isScalar = scalar != XmlScalars.end();
    const bool isContainer = name == "array" || name == "dict";
    const bool isRoot = name == "plist";
    requireHere(isScalar || isContainer || isRoot, "a property list has no such element");
    requireHere(leaf_ == nullptr, "an element stands inside one that holds text");
    if (isRoot) {
      requireHere(!hasRoot_ && containers_.empty() && !top_,
                  "a plist element stands inside another element");
      hasRoot_ = true;
      return;
    }
    requirePlaceFor(isScalar && scalar == XmlKey);
    if (isScalar) {
      leaf_ = scalar;
      leafOffset_ = offset();
      content_.clear();
    } else {
      checkPropertyListNesting(containers_.size() + 1, offset());
      containers_.emplace_back().isArray = name == "array";
    }
  }

  void requirePlaceFor(bool isKey) const {
    if (containers_.empty()) {
      requireHere(!isKey, "a key stands outside a dictionary");
      requireHere(!top_, "a second value follows the first");
    } else if (containers_.back().isArray) {
      requireHere(!isKey, "a key stands in an array");
    } else if (containers_.back().key) {
      requireHere(!isKey, "a key follows a key");
    } else {
      requireHere(isKey, "a value in a dictionary has no key before it");
    }
  }

  void addCharacters(const char* characters, int size) {
    const std::string_view text(characters, static_cast<std::size_t>(size));
    if (leaf_ != nullptr) {
      content_.append(text);
    } else {
      requireHere(text.find_first_not_of(XmlSpace) == std::string_view::npos,
                  "text stands where an element should");
    }
  }

  void end(const char* name) {
    if (leaf_ != nullptr) {
      endLeaf(*std::exchange(leaf_, nullptr));
    } else if (std::string_view(name) != "plist") {
      endContainer();
    }
  }

  void endLeaf(const XmlScalar& leaf) {
    if (&leaf == XmlKey) {
      containers_.back().key = Text(content_);
      return;
    }
    auto value = leaf.valueOf(content_);
    requireIntact(value.has_value(), leafOffset_, "the text of this element must be ", leaf.form);
    add(std::move(*value));
  }

  void endContainer() {
    requireHere(!containers_.back().key, "a key has no value");
    Container container = std::move(containers_.back());
    containers_.pop_back();
    if (container.isArray) {
      add(std::move(container.items));
    } else if (const auto uid = uidOf(container.entries)) {
      add(*uid);
    } else {
      add(std::move(container.entries));
    }
  }

  void add(PropertyListValue value) {
    if (containers_.empty()) {
      top_ = std::move(value);
      return;
    }
    Container& container = containers_.back();
    if (container.isArray) {
      container.items.push_back(std::move(value));
    } else {
      container.entries.insert_or_assign(*std::exchange(container.key, std::nullopt),
                                         std::move(value));
    }
  }

  /// Where in the characters the parser is.
  [[nodiscard]] std::size_t offset() const {
    return skipped_ +
           static_cast<std::size_t>(std::max<XML_Index>(0, XML_GetCurrentByteIndex(parser_.get())));
  }

  void requireHere(bool isRight, std::string_view what) const {
    if (!isRight) {
      throwDamage(offset(), what);
    }
  }

  std::string_view characters_;
  std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser_;
  /// Characters in front of what the parser is given.
  std::size_t skipped_ = 0;
  /// What ended the parsing.
  std::optional<PropertyListDamage> damage_;

  bool hasRoot_ = false;
  std::vector<Container> containers_;
  std::optional<PropertyListValue> top_;
  /// The open element that holds text, where it began, and its text so far.
  const XmlScalar* leaf_ = nullptr;
  std::size_t leafOffset_ = 0;
  std::string content_;
};

}  // namespace

bool isXmlPropertyList(std::string_view characters) noexcept {
  const std::size_t first = characters.find_first_not_of(XmlSpace);
  if (first == std::string_view::npos || characters[first] != '<') {
    return false;
  }
  const std::size_t other =
      characters.find_first_not_of("0123456789abcdefABCDEF \t\r\n", first + 1);
  return other != std::string_view::npos && characters[other] != '>';
}

std::expected<PropertyListValue, PropertyListError> readXmlPropertyList(const Data& characters) {
  try {
    return XmlReader(viewOf(characters)).read();
  } catch (const PropertyListDamage& damage) {
    return std::unexpected(errorOfDamage("The XML property list", viewOf(characters), damage));
  }
}

}  // namespace korvan
