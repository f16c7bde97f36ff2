#include <cstddef>
#include <cstdint>
#include <ranges>
#include <span>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "fuzz/Fuzzing.h"
#include "lab/json/CallParser.h"
#include "lab/json/OutcomeWriter.h"
#include "platform/linux/propertylist/LinuxPropertyListSerialization.h"

// Each line is a call, or one sentence that says why not, which is answered with one line of JSON.

using namespace korvan;
using fuzz::require;

namespace {

void requireSentence(const std::string& reason) {
  require(reason.size() > 1 && reason.ends_with('.'), "the reason is a sentence");
  const LinuxPropertyListSerialization propertyLists;
  const std::string answer = lab::OutcomeWriter(propertyLists, false).invalidLine(reason);
  require(!answer.contains('\n'), "the answer is one line");
  const auto json = nlohmann::json::parse(answer, nullptr, false);
  require(json.is_object() && json.value("outcome", "") == "invalid" &&
              !json.value("reason", "").empty(),
          "the answer is JSON that gives the reason");
}

void requireAnswer(std::string_view line) {
  const auto call = lab::parseCall(line);
  if (call) {
    require(call->invoke != nullptr, "a call can be made");
  } else {
    requireSentence(call.error());
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* first, std::size_t size) {
  for (const auto line : std::views::split(std::span(first, size), '\n')) {
    requireAnswer(fuzz::textOf(fuzz::exactCopyOf(line).bytes()));
  }
  return 0;
}
