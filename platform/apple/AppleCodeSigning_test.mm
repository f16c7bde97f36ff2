#include "platform/apple/AppleCodeSigning.h"

#include <gtest/gtest.h>
#include <unistd.h>

namespace korvan {
namespace {

TEST(AppleCodeSigning, FindsTheCodeOfARunningProcess) {
  std::unique_ptr<CodeSigning::Code> code;
  EXPECT_EQ(AppleCodeSigning().copyGuest(::getpid(), code), 0);
  EXPECT_NE(code, nullptr);
}

TEST(AppleCodeSigning, FindsNoCodeForAProcessThatThereIsNot) {
  std::unique_ptr<CodeSigning::Code> code;
  EXPECT_NE(AppleCodeSigning().copyGuest(INT32_MAX, code), 0);
  EXPECT_EQ(code, nullptr);
}

TEST(AppleCodeSigning, CompilesARequirement) {
  std::unique_ptr<CodeSigning::Requirement> requirement;
  EXPECT_EQ(AppleCodeSigning().createRequirement("anchor apple generic", requirement), 0);
  EXPECT_NE(requirement, nullptr);
}

TEST(AppleCodeSigning, RefusesWhatIsNotARequirement) {
  for (const std::string_view text : {"anchor grape", "\xFF"}) {
    std::unique_ptr<CodeSigning::Requirement> requirement;
    EXPECT_NE(AppleCodeSigning().createRequirement(text, requirement), 0) << text;
    EXPECT_EQ(requirement, nullptr);
  }
}

TEST(AppleCodeSigning, ThisProgramIsNobodysHostApplication) {
  const AppleCodeSigning codeSigning;
  std::unique_ptr<CodeSigning::Code> code;
  ASSERT_EQ(codeSigning.copyGuest(::getpid(), code), 0);
  std::unique_ptr<CodeSigning::Requirement> requirement;
  ASSERT_EQ(codeSigning.createRequirement(
                R"(anchor apple generic and identifier "example.korvan.host")", requirement),
            0);
  EXPECT_NE(codeSigning.checkValidity(*code, *requirement), 0);
}

TEST(AppleCodeSigning, HasWordsForAStatus) {
  EXPECT_TRUE(AppleCodeSigning().errorMessage(CodeRequirementFailed).has_value());
}

}  // namespace
}  // namespace korvan
