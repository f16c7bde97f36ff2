#include "platform/linux/LinuxLocalizedStrings.h"

#include <array>
#include <clocale>
#include <cstdint>
#include <fstream>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/linux/PersonsLanguage_testing.h"
#include "platform/linux/ScopedEnvironment_testing.h"
#include "platform/linux/TemporaryDirectory_testing.h"

namespace korvan {
namespace {

/// A gettext catalog as msgfmt writes it, in this machine's byte order.
/// https://www.gnu.org/software/gettext/manual/html_node/MO-Files.html
class Catalog {
 public:
  explicit Catalog(const std::map<std::string, std::string>& texts) {
    const auto count = static_cast<std::uint32_t>(texts.size());
    constexpr std::uint32_t HeaderSize = 28;
    for (const std::uint32_t word : {std::uint32_t{0x950412de}, std::uint32_t{0}, count, HeaderSize,
                                     HeaderSize + 8 * count, std::uint32_t{0}, std::uint32_t{0}}) {
      add(word);
    }
    auto offset = HeaderSize + 16 * count;
    std::string strings;
    const auto addText = [&](const std::string& text) {
      add(static_cast<std::uint32_t>(text.size()));
      add(static_cast<std::uint32_t>(offset + strings.size()));
      strings.append(text).push_back('\0');
    };
    for (const auto& [key, text] : texts) {
      addText(key);
    }
    for (const auto& [key, text] : texts) {
      addText(text);
    }
    bytes_ += strings;
  }

  void writeTo(const std::filesystem::path& file) const {
    std::filesystem::create_directories(file.parent_path());
    std::ofstream(file, std::ios::binary) << bytes_;
  }

 private:
  void add(std::uint32_t word) { bytes_.append(reinterpret_cast<const char*>(&word), sizeof word); }

  std::string bytes_;
};

class LinuxLocalizedStringsTest : public testing::Test {
 protected:
  void SetUp() override {
    Catalog({{"", "Content-Type: text/plain; charset=UTF-8\n"},
             {"OK", "In Ordnung"},
             {"Open Korvan, then try again.", "\u00d6ffne Korvan und versuche es erneut."}})
        .writeTo(temporary_.path() / "de" / "LC_MESSAGES" / "korvan-autofill.mo");
    EXPECT_NE(setLocale(LC_MESSAGES, ""), nullptr);
  }
  void TearDown() override { setLocale(LC_MESSAGES, "C"); }

  /// These tests have one thread.
  static const char* setLocale(int category, const char* locale) {
    return std::setlocale(category, locale);  // NOLINT(concurrency-mt-unsafe)
  }

  const TemporaryDirectory temporary_;
  const PersonsLanguage language_{"de"};
};

TEST_F(LinuxLocalizedStringsTest, ReadsTheTextInThePersonsLanguage) {
  const LinuxLocalizedStrings strings(temporary_.path());
  EXPECT_EQ(strings.localizedString("OK"), "In Ordnung");
}

TEST_F(LinuxLocalizedStringsTest, GivesUtf8InALocaleOfAnyEncoding) {
  const LinuxLocalizedStrings strings(temporary_.path());
  EXPECT_EQ(std::string(setLocale(LC_CTYPE, nullptr)), "C");
  EXPECT_EQ(strings.localizedString("Open Korvan, then try again."),
            "\u00d6ffne Korvan und versuche es erneut.");
}

TEST_F(LinuxLocalizedStringsTest, TakesOnlyThePartOfAViewThatTheKeyIs) {
  const LinuxLocalizedStrings strings(temporary_.path());
  EXPECT_EQ(strings.localizedString(std::string_view("OKAY").substr(0, 2)), "In Ordnung");
}

TEST_F(LinuxLocalizedStringsTest, GivesTheKeyOfATextThatIsNotInTheCatalog) {
  const LinuxLocalizedStrings strings(temporary_.path());
  EXPECT_EQ(strings.localizedString("Korvan isn\u2019t running"), "Korvan isn\u2019t running");
}

TEST_F(LinuxLocalizedStringsTest, GivesTheKeyInALanguageWithoutACatalog) {
  const ScopedEnvironment french("LANGUAGE", "fr");
  // gettext keeps what it found for a language; another directory makes it look again.
  const TemporaryDirectory empty;
  const LinuxLocalizedStrings strings(empty.path());
  EXPECT_EQ(strings.localizedString("OK"), "OK");
}

TEST_F(LinuxLocalizedStringsTest, GivesTheEmptyTextForTheEmptyKey) {
  const LinuxLocalizedStrings strings(temporary_.path());
  EXPECT_EQ(strings.localizedString(""), "");
}

TEST_F(LinuxLocalizedStringsTest, GivesTheKeyWithoutACatalogDirectory) {
  const LinuxLocalizedStrings bound(temporary_.path());
  EXPECT_EQ(bound.localizedString("OK"), "In Ordnung");
  EXPECT_EQ(LinuxLocalizedStrings(std::nullopt).localizedString("OK"), "OK");
}

}  // namespace
}  // namespace korvan
