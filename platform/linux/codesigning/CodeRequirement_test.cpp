#include "platform/linux/codesigning/CodeRequirement.h"

#include <gtest/gtest.h>

namespace korvan {
namespace {

using Clauses = std::vector<CodeRequirementClause>;

TEST(CodeRequirement, ReadsTheRequirementThatTheHostMustMeet) {
  EXPECT_EQ(parseCodeRequirement("anchor apple generic and certificate leaf[subject.OU] = "
                                 "\"TEAM123456\" and identifier \"com.example.host\""),
            (Clauses{AnchorClause(), LeafOrganizationalUnitClause{"TEAM123456"},
                     IdentifierClause{"com.example.host"}}));
}

TEST(CodeRequirement, ReadsClausesInAnyOrderAndNumber) {
  EXPECT_EQ(parseCodeRequirement("identifier \"a\""), Clauses{IdentifierClause{"a"}});
  EXPECT_EQ(parseCodeRequirement("identifier \"a\" and anchor apple generic and identifier \"b\""),
            (Clauses{IdentifierClause{"a"}, AnchorClause(), IdentifierClause{"b"}}));
}

TEST(CodeRequirement, SpaceBetweenTokensDoesNotMatter) {
  const Clauses expected{LeafOrganizationalUnitClause{"X"}, AnchorClause()};
  EXPECT_EQ(parseCodeRequirement("certificate leaf[subject.OU]=\"X\"and anchor apple generic"),
            expected);
  EXPECT_EQ(parseCodeRequirement(
                " \n certificate \t leaf [ subject.OU ] = \"X\" and anchor\napple\r\ngeneric "),
            expected);
}

TEST(CodeRequirement, StringsKeepWhatTheyQuote) {
  EXPECT_EQ(parseCodeRequirement("identifier \"\""), Clauses{IdentifierClause{""}});
  EXPECT_EQ(parseCodeRequirement(R"(identifier "a\"b\\c and identifier")"),
            Clauses{IdentifierClause{R"(a"b\c and identifier)"}});
  EXPECT_EQ(parseCodeRequirement("identifier \"\u00e9 [x] = y\""),
            Clauses{IdentifierClause{"\u00e9 [x] = y"}});
}

TEST(CodeRequirement, TextThatIsNotOfTheLanguageIsInvalid) {
  for (const char* const text :
       {"", "   ", "identifier", "identifier host", "identifier \"host", R"(identifier "host\)",
        R"(identifier "host\")", R"(identifier "\n")", R"(identifier "a" and)",
        R"(identifier "a" identifier "b")", "identifier \"a\" junk", R"(identifier "a" "b")",
        "certificate leaf[subject.OU] =", "certificate leaf[subject.OU] = X", "identifier = \"a\"",
        "anchor apple generic;", "anchor apple generic # comment", "identifier 'a'"}) {
    EXPECT_EQ(parseCodeRequirement(text), std::unexpected(CodeRequirementInvalid)) << text;
  }
}

TEST(CodeRequirement, ClauseThatIsNotKnownIsUnsupported) {
  for (const char* const text : {"anchor apple",
                                 "anchor trusted",
                                 "anchor = H\"00\"",
                                 "always",
                                 "never",
                                 "true",
                                 "!identifier \"a\"",
                                 "(identifier \"a\")",
                                 "cdhash H\"00\"",
                                 "info [x] = \"y\"",
                                 "entitlement[\"x\"]",
                                 "certificate root trusted",
                                 "certificate leaf[subject.CN] = \"a\"",
                                 "certificate 1[subject.OU] = \"a\"",
                                 "certificate leaf[subject.OU] exists",
                                 "certificate leaf[subject.OU] > \"a\"",
                                 R"(identifier "a" or identifier "b")",
                                 "identifier \"a\" and always",
                                 "and identifier \"a\"",
                                 "Identifier \"a\"",
                                 "ANCHOR apple generic",
                                 R"("identifier" "a")",
                                 "designated => identifier \"a\""}) {
    EXPECT_EQ(parseCodeRequirement(text), std::unexpected(CodeRequirementUnsupported)) << text;
  }
}

TEST(CodeRequirement, QuotedWordsAreNoKeywords) {
  EXPECT_EQ(parseCodeRequirement("identifier \"a\" \"and\" identifier \"b\""),
            std::unexpected(CodeRequirementInvalid));
  EXPECT_EQ(parseCodeRequirement("anchor \"apple\" generic"),
            std::unexpected(CodeRequirementUnsupported));
}

}  // namespace
}  // namespace korvan
