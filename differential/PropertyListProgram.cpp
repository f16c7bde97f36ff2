// Reads and writes property lists with the platform's own reader and writer, for comparison with
// other people's:
//
//   korvan-property-list [--read-only]   a line of canonical JSON for each file named on standard
//   input korvan-property-list encode          a line of hexadecimal digits, the binary encoding,
//   for each
//                                        line of canonical JSON on standard input

#include <bit>
#include <cstdint>
#include <exception>
#include <iostream>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "differential/CanonicalJson.h"
#include "differential/ReaderProgram.h"
#include "platform/PropertyList.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

namespace korvan {
namespace {

void write(const PropertyListValue& value, CanonicalJson& json);

void writeItems(std::string_view kind, const PropertyListValue::Array& items, CanonicalJson& json) {
  json.openItems(kind);
  for (auto item = items.begin(); item != items.end() && !json.isFull(); ++item) {
    write(*item, json);
  }
  json.closeItems();
}

void writeDictionary(const PropertyListDictionary& dictionary, CanonicalJson& json) {
  json.openDictionary();
  const auto entries = dictionary.entries();
  for (auto entry = entries.begin(); entry != entries.end() && !json.isFull(); ++entry) {
    json.key(entry->key.view());
    write(entry->value, json);
    json.endEntry();
  }
  json.closeDictionary();
}

void write(const PropertyListValue& value, CanonicalJson& json) {
  if (const auto boolean = value.boolean()) {
    json.boolean(*boolean);
  } else if (const auto integer = value.integer()) {
    json.integer(*integer);
  } else if (const auto large = value.largeInteger()) {
    json.integer(*large);
  } else if (const auto real = value.real()) {
    json.real(*real);
  } else if (const auto date = value.date()) {
    json.date(date->secondsSinceReferenceDate);
  } else if (const auto uid = value.uid()) {
    json.uid(uid->value);
  } else if (const Text* text = value.text()) {
    json.text(text->view());
  } else if (const Data* data = value.data()) {
    json.data(data->bytes());
  } else if (const auto* array = value.array()) {
    writeItems("array", *array, json);
  } else if (const auto* set = value.set()) {
    writeItems("set", *set, json);
  } else if (const auto* dictionary = value.dictionary()) {
    writeDictionary(*dictionary, json);
  } else {
    json.null();
  }
}

std::string decoded(const Data& bytes, bool isToBeWritten) {
  const auto value = LinuxPropertyListSerialization().decode(bytes);
  if (!value) {
    return CanonicalJson::error(value.error().localizedDescription.value_or("refused"));
  }
  CanonicalJson json;
  if (isToBeWritten) {
    write(*value, json);
  } else {
    json.null();
  }
  return std::move(json).finish();
}

double realOfBits(const std::string& hexadecimal) {
  return std::bit_cast<double>(std::uint64_t{std::stoull(hexadecimal, nullptr, 16)});
}

PropertyListValue integerOf(const std::string& digits) {
  return digits.starts_with('-') ? PropertyListValue(std::int64_t{std::stoll(digits)})
                                 : PropertyListValue(std::uint64_t{std::stoull(digits)});
}

Data dataOf(std::string_view hexadecimal) {
  MutableData bytes = MutableData::uninitialized(hexadecimal.size() / 2);
  for (std::size_t place = 0; place < bytes.bytes().size(); ++place) {
    bytes.bytes()[place] = static_cast<std::uint8_t>(
        std::stoul(std::string(hexadecimal.substr(2 * place, 2)), nullptr, 16));
  }
  return std::move(bytes).freeze();
}

PropertyListValue valueOf(const nlohmann::json& json);

PropertyListValue::Array itemsOf(const nlohmann::json& json) {
  PropertyListValue::Array items;
  for (const auto& item : json) {
    items.push_back(valueOf(item));
  }
  return items;
}

PropertyListDictionary dictionaryOf(const nlohmann::json& json) {
  std::vector<PropertyListDictionary::Entry> entries;
  for (const auto& entry : json) {
    entries.emplace_back(Text(entry.at(0).get<std::string>()), valueOf(entry.at(1)));
  }
  return PropertyListDictionary(std::move(entries));
}

PropertyListValue valueOf(const nlohmann::json& json) {
  if (json.is_null()) {
    return {};
  }
  if (json.is_boolean()) {
    return json.get<bool>();
  }
  const std::string kind = json.begin().key();
  const nlohmann::json& content = json.begin().value();
  if (kind == "array") {
    return itemsOf(content);
  }
  if (kind == "set") {
    return PropertyListValue::setOf(itemsOf(content));
  }
  if (kind == "dictionary") {
    return dictionaryOf(content);
  }
  const auto text = content.get<std::string>();
  return kind == "integer" ? integerOf(text)
         : kind == "real"  ? PropertyListValue(realOfBits(text))
         : kind == "date"  ? PropertyListValue(PropertyListDate{realOfBits(text)})
         : kind == "data"  ? PropertyListValue(dataOf(text))
         : kind == "uid"   ? PropertyListValue(PropertyListUid{std::stoull(text)})
                           : PropertyListValue(text);
}

int encode() {
  for (std::string line; std::getline(std::cin, line);) {
    const auto value = valueOf(nlohmann::json::parse(line));
    const auto* dictionary = value.dictionary();
    if (dictionary == nullptr) {
      std::cerr << "Only a dictionary can be encoded, not: " << line.substr(0, 80) << '\n';
      return 1;
    }
    const auto bytes = LinuxPropertyListSerialization().encodeBinary(*dictionary);
    if (!bytes) {
      std::cerr << bytes.error().localizedDescription.value_or("refused") << '\n';
      return 1;
    }
    for (const std::uint8_t byte : bytes->bytes()) {
      constexpr std::string_view HexDigits = "0123456789abcdef";
      std::cout << HexDigits[byte >> 4] << HexDigits[byte & 0x0F];
    }
    std::cout << '\n' << std::flush;
  }
  return 0;
}

}  // namespace
}  // namespace korvan

int main(int count, char** values) {
  const std::span<const char* const> arguments(values, static_cast<std::size_t>(count));
  try {
    const bool isEncoding = count > 1 && std::string_view(arguments[1]) == "encode";
    return isEncoding ? korvan::encode() : korvan::runReaderProgram(arguments, korvan::decoded);
  } catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
  }
}
