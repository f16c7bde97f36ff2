#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Data.h"
#include "platform/PropertyList.h"

namespace korvan::lab::host {

/// Reads a request's values by key and type. Throws a Refusal "failed" that names the key when it
/// is missing or its value has another type. Refers to the request, which outlives it.
class RequestFields {
 public:
  explicit RequestFields(const PropertyListDictionary& request) : request_(request) {}

  [[nodiscard]] std::string string(std::string_view key) const;
  [[nodiscard]] Data data(std::string_view key) const;
  [[nodiscard]] bool boolean(std::string_view key) const;
  [[nodiscard]] std::vector<Data> dataArray(std::string_view key) const;
  [[nodiscard]] std::vector<std::int64_t> integerArray(std::string_view key) const;

 private:
  [[nodiscard]] const PropertyListValue& value(std::string_view key) const;
  [[nodiscard]] const PropertyListValue::Array& array(std::string_view key) const;

  const PropertyListDictionary& request_;
};

}  // namespace korvan::lab::host
