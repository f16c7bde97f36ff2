#include "lab/check/broken-host/Mistake.h"

namespace korvan::lab::broken {

std::vector<Mistake> framingMistakes() {
  return {
      {.name = "ok-is-an-integer",
       .fails = {"answer.ok"},
       .hint = "the integer 1",
       .answer = [](const auto& /*request*/,
                    auto& answer) { answer["ok"] = std::int64_t{answer.at("ok").truthValue()}; }},
  };
}

}  // namespace korvan::lab::broken
