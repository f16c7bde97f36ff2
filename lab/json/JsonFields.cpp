#include "lab/json/JsonFields.h"

#include <algorithm>
#include <type_traits>
#include <utility>

#include "lab/support/Base64Url.h"

namespace korvan::lab {
namespace {

using Json = nlohmann::json;

constexpr std::string_view Base64UrlAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-_";

std::string kindOf(const Json& value) {
  const std::string_view name = value.type_name();
  if (value.is_null()) {
    return "null";
  }
  return (value.is_array() || value.is_object() ? "an " : "a ") + std::string(name);
}

[[noreturn]] void refuse(std::string_view place, const Json& value, std::string_view wanted) {
  throw InvalidLine(std::string(place)
                        .append(" is ")
                        .append(kindOf(value))
                        .append("; it must be ")
                        .append(wanted)
                        .append("."));
}

/// What is wrong with a text that does not decode.
std::string flawOf(std::string_view text) {
  if (text.ends_with('=')) {
    return "is padded with \"=\"";
  }
  const std::size_t stranger = text.find_first_not_of(Base64UrlAlphabet);
  if (stranger != std::string_view::npos) {
    return "has a character that base64url does not use at position " +
           std::to_string(stranger + 1);
  }
  return text.size() % 4 == 1 ? "is one character too short or too long"
                              : "has bits set that belong to no byte in its last character";
}

std::string readString(const std::string& place, const Json& value) {
  if (!value.is_string()) {
    refuse(place, value, "a string");
  }
  return value.get<std::string>();
}

std::int64_t readInteger(const std::string& place, const Json& value) {
  if (!value.is_number_integer()) {
    refuse(place, value, "an integer");
  }
  if (value.is_number_unsigned() && value.get<std::uint64_t>() > std::uint64_t{INT64_MAX}) {
    throw InvalidLine(place + " is too large; it must be an integer of at most 64 bits.");
  }
  return value.get<std::int64_t>();
}

Data readBytes(const std::string& place, const Json& value) {
  if (!value.is_string()) {
    refuse(place, value, "bytes, a string of base64url without padding");
  }
  const auto& text = value.get_ref<const std::string&>();
  auto bytes = fromBase64Url(text);
  if (!bytes) {
    throw InvalidLine(place + " " + flawOf(text) +
                      "; it must be bytes, a string of base64url without padding.");
  }
  return *std::move(bytes);
}

/// The same as a property list's value.
template <auto Read>
PropertyListValue valueOf(const std::string& place, const Json& value) {
  return Read(place, value);
}

JsonFields readObject(const std::string& place, const Json& value) {
  if (!value.is_object()) {
    refuse(place, value, "an object");
  }
  return {value, place};
}

}  // namespace

JsonFields::JsonFields(const Json& object, std::string path)
    : object_(&object), path_(std::move(path)) {}

void JsonFields::allowOnly(Keys keys) const {
  for (const auto& [key, value] : object_->items()) {
    if (std::ranges::find(keys, key) != keys.end()) {
      continue;
    }
    std::string known;
    for (const std::string_view name : keys) {
      known.append(known.empty() ? "" : ", ").append(name);
    }
    throw InvalidLine(place(key) + " is an unknown key; the keys are " + known + ".");
  }
}

std::string JsonFields::place(std::string_view key) const {
  return path_.empty() ? std::string(key) : std::string(path_).append(".").append(key);
}

const Json* JsonFields::find(std::string_view key) const {
  const auto found = object_->find(key);
  return found == object_->end() || found->is_null() ? nullptr : &*found;
}

template <typename Read>
auto JsonFields::elements(std::string_view key, std::string_view wanted, Read read) const {
  using Element = std::invoke_result_t<Read, const std::string&, const Json&>;
  const Json* const list = find(key);
  if (list == nullptr) {
    return std::optional<std::vector<Element>>();
  }
  if (!list->is_array()) {
    refuse(place(key), *list, wanted);
  }
  std::optional<std::vector<Element>> result(std::in_place);
  for (std::size_t index = 0; index < list->size(); ++index) {
    result->push_back(read(place(key) + "[" + std::to_string(index) + "]", (*list)[index]));
  }
  return result;
}

std::optional<std::string> JsonFields::string(std::string_view key) const {
  const Json* const value = find(key);
  return value == nullptr ? std::nullopt : std::optional(readString(place(key), *value));
}

std::optional<Data> JsonFields::bytes(std::string_view key) const {
  const Json* const value = find(key);
  return value == nullptr ? std::nullopt : std::optional(readBytes(place(key), *value));
}

std::optional<JsonFields> JsonFields::object(std::string_view key) const {
  const Json* const value = find(key);
  return value == nullptr ? std::nullopt : std::optional(readObject(place(key), *value));
}

std::optional<std::vector<std::string>> JsonFields::strings(std::string_view key) const {
  return elements(key, "an array of strings", readString);
}

std::optional<PropertyListValue::Array> JsonFields::integers(std::string_view key) const {
  return elements(key, "an array of integers", valueOf<readInteger>);
}

std::optional<PropertyListValue::Array> JsonFields::byteStrings(std::string_view key) const {
  return elements(key, "an array of bytes, strings of base64url without padding",
                  valueOf<readBytes>);
}

std::optional<std::vector<JsonFields>> JsonFields::objects(std::string_view key) const {
  return elements(key, "an array of objects", readObject);
}

}  // namespace korvan::lab
