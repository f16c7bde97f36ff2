// Whether every text that a person sees is there in every language, in both formats.

#include <clocale>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <libintl.h>

#include "platform/linux/PersonsLanguage_testing.h"
#include "provider/ControllerFixture_testing.h"

namespace korvan {
namespace {

namespace fs = std::filesystem;
using testing::IsSupersetOf;
using Table = std::map<std::string, std::string>;

class CatalogsTest : public ControllerFixture {
 protected:
  /// The texts that the notice asks for, in English.
  std::vector<std::string> keys() {
    controller->showUnavailableUIForResponse({});
    return platform->localizedStrings.lookedUp;
  }

  static std::vector<std::string> languages() {
    std::vector<std::string> found;
    for (const auto& entry : fs::directory_iterator(KORVAN_CATALOGS)) {
      found.push_back(entry.path().filename());
    }
    return found;
  }

  /// The text in the language's catalog; none when it is missing there.
  static std::optional<std::string> catalogText(const std::string& language,
                                                const std::string& key) {
    const PersonsLanguage person(language);
    // gettext keeps what it found until the locale changes.
    std::setlocale(LC_MESSAGES, "C");
    EXPECT_NE(std::setlocale(LC_MESSAGES, ""), nullptr);
    ::bindtextdomain("korvan-autofill", KORVAN_CATALOGS);
    ::bind_textdomain_codeset("korvan-autofill", "UTF-8");
    const char* const text = ::dgettext("korvan-autofill", key.c_str());
    // The very key comes back, not an equal text, when there is none.
    return text == key.c_str() ? std::nullopt : std::optional<std::string>(text);
  }

  static fs::path tableFile(const std::string& language) {
    return fs::path(KORVAN_STRINGS_TABLES) / (language + ".lproj") / "Localizable.strings";
  }

  static Table table(const std::string& language) {
    static const std::regex entry(R"re("((?:[^"\\]|\\.)*)" = "((?:[^"\\]|\\.)*)";)re");
    std::ifstream file(tableFile(language));
    Table entries;
    std::smatch match;
    for (std::string line; std::getline(file, line);) {
      if (std::regex_match(line, match, entry)) {
        entries[match[1]] = match[2];
      }
    }
    return entries;
  }
};

TEST_F(CatalogsTest, ExistInEnglishGermanAndFrench) {
  EXPECT_THAT(languages(), IsSupersetOf({"de", "en", "fr"}));
}

TEST_F(CatalogsTest, HaveEveryTextInEveryLanguage) {
  const auto asked = keys();
  ASSERT_FALSE(asked.empty());
  for (const std::string& language : languages()) {
    for (const std::string& key : asked) {
      EXPECT_NE(catalogText(language, key).value_or(""), "") << language << ": " << key;
    }
  }
}

TEST_F(CatalogsTest, HaveTheSameTextsAsStringsTables) {
  const auto asked = keys();
  for (const std::string& language : languages()) {
    Table expected;
    for (const std::string& key : asked) {
      expected[key] = catalogText(language, key).value_or("");
    }
    EXPECT_EQ(table(language), expected) << language;
  }
}

TEST_F(CatalogsTest, AreTheKeysThemselvesInEnglish) {
  for (const std::string& key : keys()) {
    EXPECT_EQ(catalogText("en", key), key);
  }
}

TEST_F(CatalogsTest, AreNotEnglishInOtherLanguages) {
  const std::string title = keys().front();
  for (const std::string& language : languages()) {
    if (language != "en") {
      EXPECT_NE(catalogText(language, title), title) << language;
    }
  }
}

TEST_F(CatalogsTest, KeepTheNameOfTheApplication) {
  for (const std::string& key : keys()) {
    for (const std::string& language : languages()) {
      EXPECT_EQ(key.contains("Korvan"), catalogText(language, key).value_or("").contains("Korvan"))
          << language << ": " << key;
    }
  }
}

TEST_F(CatalogsTest, StartAStringsTableWithoutAByteOrderMarkOrAHeader) {
  for (const std::string& language : languages()) {
    std::ifstream file(tableFile(language));
    std::string start;
    std::getline(file, start);
    EXPECT_THAT(start, testing::StartsWith("/*")) << language;
    EXPECT_FALSE(table(language).contains("")) << language;
  }
}

}  // namespace
}  // namespace korvan
