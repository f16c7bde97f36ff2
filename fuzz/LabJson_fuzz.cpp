#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

#include "fuzz/Fuzzing.h"
#include "lab/CallParser.h"
#include "lab/OutcomeWriter.h"
#include "platform/linux/LinuxPropertyListSerialization.h"

// Any line is a call or one sentence, which is answered with one line of JSON.

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

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* first, std::size_t size) {
  const Data copy = fuzz::exactCopyOf(std::span(first, size));
  const std::string_view line = fuzz::textOf(copy.bytes());
  if (line.contains('\n')) {
    return 0;  // Two lines, and so two inputs.
  }
  const auto call = lab::parseCall(line);
  if (call) {
    require(call->invoke != nullptr, "a call can be made");
  } else {
    requireSentence(call.error());
  }
  return 0;
}
