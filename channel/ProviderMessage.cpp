#include "channel/ProviderMessage.h"

#include <utility>

namespace korvan {

bool booleanForKey(const ProviderMessage& message, std::string_view key) {
  const PropertyListValue* const value = message.find(key);
  return value != nullptr && value->truthValue();
}

std::optional<std::string> stringForKey(const ProviderMessage& message, std::string_view key) {
  const PropertyListValue* const value = message.find(key);
  const Text* const text = value != nullptr ? value->text() : nullptr;
  return text != nullptr ? std::optional(std::string(text->view())) : std::nullopt;
}

std::optional<Data> dataForKey(const ProviderMessage& message, std::string_view key) {
  const PropertyListValue* const value = message.find(key);
  const Data* const data = value != nullptr ? value->data() : nullptr;
  return data != nullptr ? std::optional(*data) : std::nullopt;
}

ProviderMessage failureResponse(std::string_view errorCode, std::string_view errorDescription) {
  return {
      {.key = Text::ofStatic(provider_message_key::ok), .value = false},
      {.key = Text::ofStatic(provider_message_key::errorCode), .value = Text::ofStatic(errorCode)},
      {.key = Text::ofStatic(provider_message_key::errorDescription), .value = errorDescription},
  };
}

DecodedProviderMessage decodeProviderMessage(const PropertyListSerialization& propertyLists,
                                             const Data& body) {
  auto decoded = propertyLists.decode(body);
  if (!decoded) {
    return {.message = std::nullopt, .error = std::move(decoded).error()};
  }
  return {.message = std::move(*decoded).takeDictionary(), .error = std::nullopt};
}

}  // namespace korvan
