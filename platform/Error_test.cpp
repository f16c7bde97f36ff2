#include "platform/Error.h"

#include <optional>

#include <gtest/gtest.h>

namespace korvan {
namespace {

TEST(Error, NamesItsDomainAsThePlatformDoes) {
  EXPECT_EQ(nameOfErrorDomain(ErrorDomain::posix), "NSPOSIXErrorDomain");
  EXPECT_EQ(nameOfErrorDomain(ErrorDomain::osStatus), "NSOSStatusErrorDomain");
  EXPECT_EQ(nameOfErrorDomain(ErrorDomain::extension), "ASExtensionErrorDomain");
}

const Error withoutUserInfo{.code = 1, .userInfo = std::nullopt};
const Error withEmptyUserInfo{.code = 1, .userInfo = ErrorUserInfo{}};

TEST(Error, GivesTheDescriptionThatItCarries) {
  const Error described{.code = 1, .userInfo = ErrorUserInfo{"What went wrong."}};

  EXPECT_EQ(described.localizedDescription(), "What went wrong.");
  EXPECT_EQ(withoutUserInfo.localizedDescription(), std::nullopt);
  EXPECT_EQ(withEmptyUserInfo.localizedDescription(), std::nullopt);
}

TEST(Error, TellsNoUserInfoFromAnEmptyOne) {
  EXPECT_NE(withoutUserInfo, withEmptyUserInfo);
  EXPECT_EQ(withEmptyUserInfo, (Error{.code = 1, .userInfo = ErrorUserInfo{}}));
}

TEST(ExtensionErrorCode, HasThePlatformsValues) {
  // https://developer.apple.com/documentation/authenticationservices/asextensionerror
  EXPECT_EQ(static_cast<int>(ExtensionErrorCode::failed), 0);
  EXPECT_EQ(static_cast<int>(ExtensionErrorCode::userCanceled), 1);
  EXPECT_EQ(static_cast<int>(ExtensionErrorCode::userInteractionRequired), 100);
  EXPECT_EQ(static_cast<int>(ExtensionErrorCode::credentialIdentityNotFound), 101);
  EXPECT_EQ(static_cast<int>(ExtensionErrorCode::matchedExcludedCredential), 102);
}

}  // namespace
}  // namespace korvan
