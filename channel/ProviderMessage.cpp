#include "channel/ProviderMessage.h"

#include <utility>

namespace korvan {

namespace key = provider_message_key;

bool booleanForKey(const ProviderMessage& message, std::string_view key) {
  const PropertyListValue* const value = valueForKey(message, key);
  return value != nullptr && value->truthValue();
}

std::optional<std::string> stringForKey(const ProviderMessage& message, std::string_view key) {
  const PropertyListValue* const value = valueForKey(message, key);
  const Text* const text = value != nullptr ? value->text() : nullptr;
  return text != nullptr ? std::optional(std::string(text->view())) : std::nullopt;
}

std::optional<Data> dataForKey(const ProviderMessage& message, std::string_view key) {
  const PropertyListValue* const value = valueForKey(message, key);
  const Data* const data = value != nullptr ? value->data() : nullptr;
  return data != nullptr ? std::optional(*data) : std::nullopt;
}

ProviderMessage failureResponse(std::string_view errorCode, std::string_view errorDescription) {
  return {
      {key::ok, false},
      {key::errorCode, errorCode},
      {key::errorDescription, errorDescription},
  };
}

DecodedProviderMessage decodeProviderMessage(const PropertyListSerialization& propertyLists,
                                             const Data& body) {
  auto decoded = propertyLists.decode(body);
  if (!decoded) {
    return {.message = std::nullopt, .error = std::move(decoded).error()};
  }
  const ProviderMessage* const message = decoded->dictionary();
  return {.message = message != nullptr ? std::optional(*message) : std::nullopt,
          .error = std::nullopt};
}

}  // namespace korvan
