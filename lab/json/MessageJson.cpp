#include "lab/json/MessageJson.h"

#include <cstddef>
#include <stdexcept>
#include <string>

#include "channel/ProviderMessage.h"
#include "lab/support/Base64Url.h"
#include "platform/PropertyList.h"

namespace korvan::lab {
namespace {

using OrderedJson = nlohmann::ordered_json;

OrderedJson dataJson(const Data& data) { return {{"data", base64Url(data.bytes())}}; }

class TooLarge : public std::length_error {
 public:
  TooLarge() : std::length_error("far more values than the message has bytes") {}
};

/// Writes values one by one, up to a limit: repeated references can make a small body stand for a
/// huge number of values.
class Writer {
 public:
  explicit Writer(std::size_t bodySize) : left_(2 * bodySize + Grace) {}

  OrderedJson dictionary(const PropertyListDictionary& dictionary) {
    OrderedJson object = OrderedJson::object();
    for (const auto& [key, member] : dictionary) {
      spend(key.view().size());
      object[std::string(key.view())] = value(member);
    }
    return object;
  }

 private:
  // Together with twice the body's size, enough for any message with few repeated references.
  static constexpr std::size_t Grace = 65'536;

  void spend(std::size_t size) {
    if (size >= left_) {
      throw TooLarge();
    }
    left_ -= size;
  }

  OrderedJson array(const PropertyListValue::Array& values) {
    OrderedJson list = OrderedJson::array();
    for (const PropertyListValue& element : values) {
      list.push_back(value(element));
    }
    return list;
  }

  OrderedJson value(const PropertyListValue& value) {
    spend(1);
    if (const auto* nested = value.dictionary()) {
      return dictionary(*nested);
    }
    if (const auto* list = value.array()) {
      return array(*list);
    }
    if (const auto* text = value.text()) {
      spend(text->view().size());
      return text->view();
    }
    if (const auto* data = value.data()) {
      spend(data->size());
      return dataJson(*data);
    }
    return scalar(value);
  }

  static OrderedJson scalar(const PropertyListValue& value) {
    if (const auto boolean = value.boolean()) {
      return *boolean;
    }
    if (const auto integer = value.integer()) {
      return *integer;
    }
    if (const auto integer = value.largeInteger()) {
      return *integer;
    }
    if (const auto real = value.real()) {
      return *real;
    }
    if (const auto date = value.date()) {
      return {{"date", date->secondsSinceReferenceDate}};
    }
    if (const auto uid = value.uid()) {
      return {{"uid", uid->value}};
    }
    return nullptr;
  }

  std::size_t left_;
};

}  // namespace

OrderedJson messageJson(const PropertyListSerialization& propertyLists, const Data& body) {
  const auto decoded = decodeProviderMessage(propertyLists, body);
  if (!decoded.message) {
    return dataJson(body);
  }
  try {
    return Writer(body.size()).dictionary(*decoded.message);
  } catch (const TooLarge&) {
    return dataJson(body);
  }
}

}  // namespace korvan::lab
