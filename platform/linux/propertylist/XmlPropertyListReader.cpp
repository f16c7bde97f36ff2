#include "platform/linux/propertylist/XmlPropertyListReader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <expat.h>

#include "platform/linux/propertylist/PropertyListCharacters.h"
#include "platform/linux/propertylist/XmlPropertyListScalars.h"

namespace korvan {
namespace {

enum class Element : std::uint8_t {
  plist,
  array,
  dictionary,
  key,
  string,
  integer,
  real,
  boolean,
  date,
  data,
};

constexpr std::array<std::pair<std::string_view, Element>, 11> Elements = {
    {{"plist", Element::plist},
     {"array", Element::array},
     {"dict", Element::dictionary},
     {"key", Element::key},
     {"string", Element::string},
     {"integer", Element::integer},
     {"real", Element::real},
     {"true", Element::boolean},
     {"false", Element::boolean},
     {"date", Element::date},
     {"data", Element::data}}};

std::optional<Element> elementOf(std::string_view name) {
  const auto* const found =
      std::ranges::find(Elements, name, [](const auto& known) { return known.first; });
  return found != Elements.end() ? std::optional(found->second) : std::nullopt;
}

constexpr std::string_view Space = " \t\r\n";

bool isSpace(std::string_view text) {
  return text.find_first_not_of(Space) == std::string_view::npos;
}

/// The keyed archiver's reference number that the dictionary stands for.
std::optional<PropertyListUid> uidOf(const PropertyListDictionary& dictionary) {
  if (dictionary.size() != 1 || dictionary.begin()->first != "CF$UID") {
    return std::nullopt;
  }
  const auto number = dictionary.begin()->second.integer();
  const bool isUid = number && *number >= 0 && *number <= std::numeric_limits<std::uint32_t>::max();
  return isUid ? std::optional(PropertyListUid{static_cast<std::uint64_t>(*number)}) : std::nullopt;
}

/// Puts a property list together from what the XML parser meets.
class Document {
 public:
  explicit Document(const Data& characters)
      : characters_(viewOf(characters)),
        // The declaration of an encoding is about bytes that are characters by now.
        parser_(XML_ParserCreate("UTF-8"), &XML_ParserFree) {
    if (parser_ == nullptr) {
      throw std::bad_alloc();
    }
    XML_SetUserData(parser_.get(), this);
    XML_SetElementHandler(parser_.get(), &onStart, &onEnd);
    XML_SetCharacterDataHandler(parser_.get(), &onCharacters);
    XML_SetStartDoctypeDeclHandler(parser_.get(), &onDocumentType);
    XML_SetSkippedEntityHandler(parser_.get(), &onUnknownEntity);
  }

  std::expected<PropertyListValue, PropertyListError> read() {
    // A declaration is the first thing for an XML parser, but space may stand before a property
    // list.
    skipped_ = std::min(characters_.find_first_not_of(Space), characters_.size());
    parse(characters_.substr(skipped_));
    if (error_.localizedDescription) {
      return std::unexpected(std::move(error_));
    }
    return std::move(*top_);
  }

 private:
  /// An array or dictionary that is not closed yet.
  struct Container {
    bool isArray = false;
    PropertyListValue::Array items;
    PropertyListDictionary dictionary;
    /// The key whose value is to come.
    std::optional<Text> key;
  };

  // The parser's functions are C's: nothing may be thrown through them. Where memory runs out, the
  // program ends.

  static void XMLCALL onStart(void* document, const XML_Char* name,
                              const XML_Char** /*attributes*/) noexcept {
    static_cast<Document*>(document)->start(name);
  }
  static void XMLCALL onEnd(void* document, const XML_Char* name) noexcept {
    static_cast<Document*>(document)->end(name);
  }
  static void XMLCALL onCharacters(void* document, const XML_Char* text, int size) noexcept {
    static_cast<Document*>(document)->characters({text, static_cast<std::size_t>(size)});
  }
  static void XMLCALL onDocumentType(void* document, const XML_Char* /*name*/,
                                     const XML_Char* /*systemId*/, const XML_Char* /*publicId*/,
                                     int hasInternalSubset) noexcept {
    if (hasInternalSubset != 0) {
      static_cast<Document*>(document)->fail("a document type cannot have declarations of its own");
    }
  }
  static void XMLCALL onUnknownEntity(void* document, const XML_Char* /*name*/,
                                      int /*isParameterEntity*/) noexcept {
    static_cast<Document*>(document)->fail("an entity is none of XML's own");
  }

  void parse(std::string_view text) {
    if (text.size() > std::size_t{std::numeric_limits<int>::max()}) {
      fail("it is larger than 2 GiB");
      return;
    }
    if (XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), XML_TRUE) ==
        XML_STATUS_ERROR) {
      const XML_Error error = XML_GetErrorCode(parser_.get());
      if (error == XML_ERROR_NO_MEMORY) {
        throw std::bad_alloc();
      }
      fail(std::string("as XML, ") + XML_ErrorString(error));
    } else if (!top_) {
      fail("it holds no value");
    }
  }

  void start(std::string_view name) {
    if (hasFailed()) {
      return;
    }
    const auto element = elementOf(name);
    if (!element) {
      fail("a property list has no such element");
    } else if (leaf_) {
      fail("an element stands inside one that holds text");
    } else if (*element == Element::plist) {
      startRoot();
    } else if (isPlaceFor(*element)) {
      startValue(*element);
    }
  }

  void startRoot() {
    if (hasRoot_ || depth() > 0 || top_) {
      fail("a plist element stands inside another element");
    }
    hasRoot_ = true;
  }

  bool isPlaceFor(Element element) {
    if (depth() == 0) {
      return element == Element::key ? fail("a key stands outside a dictionary")
             : top_                  ? fail("a second value follows the first")
                                     : true;
    }
    const Container& container = containers_.back();
    if (container.isArray) {
      return element != Element::key || fail("a key stands in an array");
    }
    if (container.key) {
      return element != Element::key || fail("a key follows a key");
    }
    return element == Element::key || fail("a value in a dictionary has no key before it");
  }

  void startValue(Element element) {
    if (element != Element::array && element != Element::dictionary) {
      leaf_ = element;
      leafOffset_ = offset();
      content_.clear();
    } else if (depth() == MaxPropertyListNesting) {
      fail("more than " + std::to_string(MaxPropertyListNesting) + " containers are nested");
    } else {
      containers_.emplace_back().isArray = element == Element::array;
    }
  }

  void characters(std::string_view text) {
    if (hasFailed()) {
      return;
    }
    if (leaf_) {
      content_.append(text);
    } else if (!isSpace(text)) {
      fail("text stands where an element should");
    }
  }

  void end(std::string_view name) {
    if (hasFailed()) {
      return;
    }
    if (leaf_) {
      endLeaf(name);
    } else if (elementOf(name) != Element::plist) {
      endContainer();
    }
  }

  void endLeaf(std::string_view name) {
    const Element element = *std::exchange(leaf_, std::nullopt);
    if (element == Element::key) {
      containers_.back().key = Text(content_);
    } else if (auto value = valueOf(element, name)) {
      add(std::move(*value));
    } else {
      failAt(leafOffset_, "the text of this element is no " + std::string(nounOf(element)));
    }
  }

  [[nodiscard]] std::optional<PropertyListValue> valueOf(Element element,
                                                         std::string_view name) const {
    switch (element) {
      case Element::integer:
        return xml::integerOf(content_);
      case Element::real:
        return xml::realOf(content_);
      case Element::date:
        return xml::dateOf(content_);
      case Element::data:
        return xml::dataOf(content_);
      case Element::boolean:
        return content_.empty() ? std::optional<PropertyListValue>(name == "true") : std::nullopt;
      default:
        return PropertyListValue(Text(content_));
    }
  }

  static std::string_view nounOf(Element element) {
    switch (element) {
      case Element::integer:
        return "integer of at most 64 bits";
      case Element::real:
        return "real number";
      case Element::date:
        return "date such as 2001-01-01T00:00:00Z";
      case Element::data:
        return "base64";
      default:
        return "part of a boolean";
    }
  }

  void endContainer() {
    Container container = std::move(containers_.back());
    containers_.pop_back();
    if (container.key) {
      fail("a key has no value");
    } else if (container.isArray) {
      add(std::move(container.items));
    } else if (const auto uid = uidOf(container.dictionary)) {
      add(*uid);
    } else {
      add(std::move(container.dictionary));
    }
  }

  void add(PropertyListValue value) {
    if (depth() == 0) {
      top_ = std::move(value);
      return;
    }
    Container& container = containers_.back();
    if (container.isArray) {
      container.items.push_back(std::move(value));
    } else {
      container.dictionary.insert_or_assign(*std::exchange(container.key, std::nullopt),
                                            std::move(value));
    }
  }

  [[nodiscard]] std::size_t depth() const noexcept { return containers_.size(); }

  /// Where in the characters the parser is.
  [[nodiscard]] std::size_t offset() const noexcept {
    return skipped_ +
           static_cast<std::size_t>(std::max<XML_Index>(0, XML_GetCurrentByteIndex(parser_.get())));
  }

  bool fail(std::string_view what) { return failAt(offset(), what); }

  bool failAt(std::size_t offset, std::string_view what) {
    // What comes first is the cause; the parser may still call once or twice after it is stopped.
    if (!hasFailed()) {
      error_ = damageAt("XML", characters_, offset, what);
      XML_StopParser(parser_.get(), XML_FALSE);
    }
    return false;
  }

  [[nodiscard]] bool hasFailed() const noexcept { return error_.localizedDescription.has_value(); }

  std::string_view characters_;
  std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser_;
  /// Characters in front of what the parser is given.
  std::size_t skipped_ = 0;
  PropertyListError error_;

  bool hasRoot_ = false;
  std::vector<Container> containers_;
  std::optional<PropertyListValue> top_;
  /// The open element that holds text, where it began, and its text so far.
  std::optional<Element> leaf_;
  std::size_t leafOffset_ = 0;
  std::string content_;
};

}  // namespace

bool XmlPropertyListReader::recognizes(std::string_view characters) noexcept {
  const std::size_t first = characters.find_first_not_of(Space);
  if (first == std::string_view::npos || characters[first] != '<') {
    return false;
  }
  const std::size_t other =
      characters.find_first_not_of("0123456789abcdefABCDEF \t\r\n", first + 1);
  return other != std::string_view::npos && characters[other] != '>';
}

std::expected<PropertyListValue, PropertyListError> XmlPropertyListReader::read(
    const Data& characters) {
  return Document(characters).read();
}

}  // namespace korvan
