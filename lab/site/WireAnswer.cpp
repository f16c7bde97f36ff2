#include "lab/site/WireAnswer.h"

#include <ranges>

#include "lab/site/AnswerJudge.h"

namespace korvan::lab {

std::optional<ProviderMessage> wireAnswer(const PropertyListSerialization& propertyLists,
                                          const CallResult& result) {
  for (const RecordedFrame& frame : result.frames | std::views::reverse) {
    if (frame.direction == Direction::response) {
      return decodeProviderMessage(propertyLists, frame.body).message;
    }
  }
  return std::nullopt;
}

FindingList judgeWireAnswer(const PropertyListSerialization& propertyLists,
                            const CallResult& result, bool silent) {
  const auto answer = wireAnswer(propertyLists, result);
  return answer ? judgeEnvelope(*answer, silent) : FindingList();
}

}  // namespace korvan::lab
