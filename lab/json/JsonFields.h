#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "platform/Data.h"
#include "platform/PropertyList.h"

namespace korvan::lab {

/// The line is not a call.
class InvalidLine : public std::runtime_error {
 public:
  explicit InvalidLine(std::string reason)
      : std::runtime_error(reason),
        reason_(std::make_shared<const std::string>(std::move(reason))) {}

  /// A sentence that names the place and says what would be right. It may contain U+0000, which
  /// ends what().
  [[nodiscard]] const std::string& reason() const noexcept { return *reason_; }

 private:
  /// Shared, so that no copy can throw.
  std::shared_ptr<const std::string> reason_;
};

/// Reads the fields of a JSON object. An absent or null field is nullopt; one of another type
/// throws InvalidLine.
class JsonFields {
 public:
  using Keys = std::initializer_list<std::string_view>;

  /// Refers to `object`, which outlives it. `path` is the object's place in the line; it is empty
  /// for the line itself.
  JsonFields(const nlohmann::json& object, std::string path);

  /// Throws InvalidLine unless all keys of the object are among `keys`.
  void allowOnly(Keys keys) const;

  [[nodiscard]] std::optional<std::string> string(std::string_view key) const;
  [[nodiscard]] std::optional<std::vector<std::string>> strings(std::string_view key) const;
  [[nodiscard]] std::optional<PropertyListValue::Array> integers(std::string_view key) const;
  /// Base64url without padding: https://www.rfc-editor.org/rfc/rfc4648#section-5
  [[nodiscard]] std::optional<Data> bytes(std::string_view key) const;
  [[nodiscard]] std::optional<PropertyListValue::Array> byteStrings(std::string_view key) const;
  [[nodiscard]] std::optional<JsonFields> object(std::string_view key) const;
  [[nodiscard]] std::optional<std::vector<JsonFields>> objects(std::string_view key) const;

  /// The field's place in the line, such as "request.clientDataHash".
  [[nodiscard]] std::string place(std::string_view key) const;

 private:
  [[nodiscard]] const nlohmann::json* find(std::string_view key) const;
  template <typename Read>
  [[nodiscard]] auto elements(std::string_view key, std::string_view wanted, Read read) const;

  const nlohmann::json* object_;
  std::string path_;
};

}  // namespace korvan::lab
