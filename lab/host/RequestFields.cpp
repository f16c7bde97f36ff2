#include "lab/host/RequestFields.h"

#include "lab/host/Refusal.h"

namespace korvan::lab::host {
namespace {

[[noreturn]] void refuse(const std::string& where, const std::string& what) {
  throw Refusal("failed", "The request's " + where + " " + what + ".");
}

/// `found`, as a reader of one kind gives it: a pointer or an optional.
template <typename Found>
auto require(const Found& found, const std::string& where, const char* kind) {
  if (!found) {
    refuse(where, std::string("is not ") + kind);
  }
  return *found;
}

std::string element(std::string_view key, std::size_t index) {
  return std::string(key) + "[" + std::to_string(index) + "]";
}

}  // namespace

std::string RequestFields::string(std::string_view key) const {
  return std::string(require(value(key).text(), std::string(key), "a string").view());
}

Data RequestFields::data(std::string_view key) const {
  return require(value(key).data(), std::string(key), "data");
}

bool RequestFields::boolean(std::string_view key) const {
  return require(value(key).boolean(), std::string(key), "a boolean");
}

std::vector<Data> RequestFields::dataArray(std::string_view key) const {
  std::vector<Data> elements;
  for (const PropertyListValue& entry : array(key)) {
    elements.push_back(require(entry.data(), element(key, elements.size()), "data"));
  }
  return elements;
}

std::vector<std::int64_t> RequestFields::integerArray(std::string_view key) const {
  std::vector<std::int64_t> elements;
  for (const PropertyListValue& entry : array(key)) {
    elements.push_back(require(entry.integer(), element(key, elements.size()), "an integer"));
  }
  return elements;
}

const PropertyListValue& RequestFields::value(std::string_view key) const {
  const PropertyListValue* found = valueForKey(request_, key);
  if (found == nullptr) {
    refuse(std::string(key), "is missing");
  }
  return *found;
}

const PropertyListValue::Array& RequestFields::array(std::string_view key) const {
  const PropertyListValue::Array* found = value(key).array();
  if (found == nullptr) {
    refuse(std::string(key), "is not an array");
  }
  return *found;
}

}  // namespace korvan::lab::host
