#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "fuzz/Fuzzing.h"
#include "platform/linux/codesigning/CodeRequirement.h"

// Any text is clauses, which read the same when they are written out, or one of two statuses.

using namespace korvan;
using fuzz::require;

namespace {

std::string quoted(std::string_view value) {
  std::string text = "\"";
  for (const char character : value) {
    if (character == '"' || character == '\\') {
      text += '\\';
    }
    text += character;
  }
  return text + '"';
}

struct Writer {
  std::string operator()(const AnchorClause& /*clause*/) const { return "anchor apple generic"; }
  std::string operator()(const LeafOrganizationalUnitClause& clause) const {
    return "certificate leaf[subject.OU] = " + quoted(clause.value);
  }
  std::string operator()(const IdentifierClause& clause) const {
    return "identifier " + quoted(clause.value);
  }
};

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* first, std::size_t size) {
  const auto clauses =
      parseCodeRequirement(fuzz::textOf(fuzz::exactCopyOf(std::span(first, size)).bytes()));
  if (!clauses) {
    require(
        clauses.error() == CodeRequirementInvalid || clauses.error() == CodeRequirementUnsupported,
        "a text without clauses has one of the two statuses");
    return 0;
  }
  require(!clauses->empty(), "there is at least one clause");
  std::string text;
  for (const auto& clause : *clauses) {
    text.append(text.empty() ? "" : " and ").append(std::visit(Writer(), clause));
  }
  require(parseCodeRequirement(text) == *clauses, "clauses that are written out read the same");
  return 0;
}
