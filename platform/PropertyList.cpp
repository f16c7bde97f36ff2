#include "platform/PropertyList.h"

namespace korvan {

PropertyListValue::PropertyListValue(Array value)
    : value_(Shared<Array>{std::make_shared<const Array>(std::move(value))}) {}

PropertyListValue::PropertyListValue(PropertyListDictionary value)
    : value_(Shared<PropertyListDictionary>{
          std::make_shared<const PropertyListDictionary>(std::move(value))}) {}

PropertyListValue PropertyListValue::setOf(Array items) {
  PropertyListValue value;
  value.value_ = Shared<Set>{std::make_shared<const Set>(std::move(items))};
  return value;
}

bool PropertyListValue::truthValue() const noexcept {
  return boolean().value_or(false) || integer().value_or(0) != 0 ||
         largeInteger().value_or(0) != 0 || real().value_or(0) != 0;
}

bool operator==(const PropertyListValue& left, const PropertyListValue& right) {
  return left.value_ == right.value_;
}

const PropertyListValue* valueForKey(const PropertyListDictionary& dictionary,
                                     std::string_view key) noexcept {
  const auto found = dictionary.find(key);
  return found != dictionary.end() ? &found->second : nullptr;
}

}  // namespace korvan
