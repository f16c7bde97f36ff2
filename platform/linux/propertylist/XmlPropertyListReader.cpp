#include "platform/linux/propertylist/XmlPropertyListReader.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <expat.h>

#include "platform/linux/propertylist/PropertyListCharacters.h"
#include "platform/linux/propertylist/PropertyListDamage.h"
#include "platform/linux/propertylist/XmlPropertyListScalars.h"

namespace korvan {
namespace {

/// An element that holds text, and how the text becomes a value.
struct XmlScalar {
  std::string_view name;
  std::optional<PropertyListValue> (*valueOf)(std::string_view text);
  /// What a text without a value is not.
  std::string_view noun;
};

template <bool Value>
std::optional<PropertyListValue> booleanOfXml(std::string_view text) {
  return text.empty() ? std::optional<PropertyListValue>(Value) : std::nullopt;
}

std::optional<PropertyListValue> textOfXml(std::string_view text) {
  return PropertyListValue(text);
}

constexpr std::array<XmlScalar, 8> XmlScalars = {
    {{"key", &textOfXml, ""},
     {"string", &textOfXml, ""},
     {"integer", &integerOfXml, "integer of at most 64 bits"},
     {"real", &realOfXml, "real number"},
     {"true", &booleanOfXml<true>, "part of a boolean"},
     {"false", &booleanOfXml<false>, "part of a boolean"},
     {"date", &dateOfXml, "date such as 2001-01-01T00:00:00Z"},
     {"data", &dataOfXml, "base64"}}};
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
    XML_SetElementHandler(parser_.get(), &onStart, &onEnd);
    XML_SetCharacterDataHandler(parser_.get(), &onCharacters);
    XML_SetStartDoctypeDeclHandler(parser_.get(), &onDocumentType);
    XML_SetSkippedEntityHandler(parser_.get(), &onUnknownEntity);
  }

  /// Throws PropertyListDamage.
  PropertyListValue read() {
    // A declaration is the first thing for an XML parser, but space may stand before a property
    // list.
    skipped_ = std::min(characters_.find_first_not_of(XmlSpace), characters_.size());
    const std::string_view text = characters_.substr(skipped_);
    require(std::in_range<int>(text.size()), "it is larger than 2 GiB");
    const XML_Status status =
        XML_Parse(parser_.get(), text.data(), static_cast<int>(text.size()), XML_TRUE);
    if (damage_) {
      throw PropertyListDamage(std::move(*damage_));
    }
    if (status == XML_STATUS_ERROR) {
      const XML_Error error = XML_GetErrorCode(parser_.get());
      if (error == XML_ERROR_NO_MEMORY) {
        throw std::bad_alloc();
      }
      require(false, std::string("as XML, ") + XML_ErrorString(error));
    }
    require(top_.has_value(), "it holds no value");
    return std::move(*top_);
  }

 private:
  /// An array or dictionary that is not closed yet.
  struct Container {
    bool isArray = false;
    PropertyListValue::Array items;
    PropertyListDictionary entries;
    /// Whether the next value is that of the key.
    bool hasKey = false;
    Text key;
  };

  static void XMLCALL onStart(void* reader, const XML_Char* name,
                              const XML_Char** /*attributes*/) noexcept {
    handle(reader, [=](XmlReader& self) { self.start(name); });
  }
  static void XMLCALL onEnd(void* reader, const XML_Char* name) noexcept {
    handle(reader, [=](XmlReader& self) { self.end(name); });
  }
  static void XMLCALL onCharacters(void* reader, const XML_Char* text, int size) noexcept {
    handle(reader,
           [=](XmlReader& self) { self.characters({text, static_cast<std::size_t>(size)}); });
  }
  static void XMLCALL onDocumentType(void* reader, const XML_Char* /*name*/,
                                     const XML_Char* /*systemId*/, const XML_Char* /*publicId*/,
                                     int hasInternalSubset) noexcept {
    handle(reader, [=](const XmlReader& self) {
      self.require(hasInternalSubset == 0, "a document type cannot have declarations of its own");
    });
  }
  static void XMLCALL onUnknownEntity(void* reader, const XML_Char* /*name*/,
                                      int /*isParameterEntity*/) noexcept {
    handle(reader,
           [](const XmlReader& self) { self.require(false, "an entity is none of XML's own"); });
  }

  /// The parser is written in C: nothing may be thrown through it. Where memory runs out, the
  /// program ends.
  template <typename Action>
  static void handle(void* reader, Action action) noexcept {
    auto& self = *static_cast<XmlReader*>(reader);
    // The parser may still call once or twice after it was stopped.
    if (self.damage_) {
      return;
    }
    try {
      action(self);
    } catch (PropertyListDamage& damage) {
      self.damage_ = std::move(damage);
      XML_StopParser(self.parser_.get(), XML_FALSE);
    }
  }

  void start(std::string_view name) {
    const auto* const scalar = std::ranges::find(XmlScalars, name, &XmlScalar::name);
    const bool isScalar = scalar != XmlScalars.end();
    const bool isContainer = name == "array" || name == "dict";
    const bool isRoot = name == "plist";
    require(isScalar || isContainer || isRoot, "a property list has no such element");
    require(leaf_ == nullptr, "an element stands inside one that holds text");
    if (isRoot) {
      require(!hasRoot_ && containers_.empty() && !top_,
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
      require(!isKey, "a key stands outside a dictionary");
      require(!top_, "a second value follows the first");
    } else if (containers_.back().isArray) {
      require(!isKey, "a key stands in an array");
    } else if (containers_.back().hasKey) {
      require(!isKey, "a key follows a key");
    } else {
      require(isKey, "a value in a dictionary has no key before it");
    }
  }

  void characters(std::string_view text) {
    if (leaf_ != nullptr) {
      content_.append(text);
    } else {
      require(text.find_first_not_of(XmlSpace) == std::string_view::npos,
              "text stands where an element should");
    }
  }

  void end(std::string_view name) {
    if (leaf_ != nullptr) {
      endLeaf(*std::exchange(leaf_, nullptr));
    } else if (name != "plist") {
      endContainer();
    }
  }

  void endLeaf(const XmlScalar& leaf) {
    if (&leaf == XmlKey) {
      containers_.back().key = Text(content_);
      containers_.back().hasKey = true;
      return;
    }
    auto value = leaf.valueOf(content_);
    if (!value) {
      throw PropertyListDamage{.offset = leafOffset_,
                               .what = "the text of this element is no " + std::string(leaf.noun)};
    }
    add(std::move(*value));
  }

  void endContainer() {
    require(!containers_.back().hasKey, "a key has no value");
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
      container.entries.insert_or_assign(std::move(container.key), std::move(value));
      container.hasKey = false;
    }
  }

  /// Where in the characters the parser is.
  [[nodiscard]] std::size_t offset() const {
    return skipped_ +
           static_cast<std::size_t>(std::max<XML_Index>(0, XML_GetCurrentByteIndex(parser_.get())));
  }

  void require(bool isRight, std::string_view what) const {
    if (!isRight) {
      throw PropertyListDamage{.offset = offset(), .what = std::string(what)};
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
    return std::unexpected(errorOfDamage("XML", viewOf(characters), damage));
  }
}

}  // namespace korvan
