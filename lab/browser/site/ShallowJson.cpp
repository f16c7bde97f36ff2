#include "lab/browser/site/ShallowJson.h"

#include <stdexcept>
#include <string>

namespace korvan::lab {

nlohmann::json shallowJson(std::string_view text) {
  constexpr int GreatestDepth = 16;
  return nlohmann::json::parse(
      text, [](int depth, nlohmann::json::parse_event_t /*event*/, const nlohmann::json& /*part*/) {
        if (depth > GreatestDepth) {
          throw std::invalid_argument("the JSON nests deeper than " +
                                      std::to_string(GreatestDepth) + " levels");
        }
        return true;
      });
}

}  // namespace korvan::lab
