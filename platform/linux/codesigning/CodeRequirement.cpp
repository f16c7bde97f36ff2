#include "platform/linux/codesigning/CodeRequirement.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <span>
#include <utility>

namespace korvan {
namespace {

using Clauses = std::vector<CodeRequirementClause>;

struct Token {
  enum class Kind : unsigned char { word, string, symbol };
  Kind kind;
  std::string text;
};

bool isSpace(char character) { return std::string_view(" \t\r\n").contains(character); }

bool isOfWord(char character) {
  return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
         (character >= '0' && character <= '9') || character == '.' || character == '_';
}

/// Takes a word off the front of `text`.
Token takeWord(std::string_view& text) {
  const auto length =
      static_cast<std::size_t>(std::ranges::find_if_not(text, isOfWord) - text.begin());
  Token token{.kind = Token::Kind::word, .text = std::string(text.substr(0, length))};
  text.remove_prefix(length);
  return token;
}

/// Takes a string, with its quotes, off the front of `text`; none when it does not end or escapes
/// anything but a quote or a backslash.
std::optional<Token> takeString(std::string_view& text) {
  Token token{.kind = Token::Kind::string, .text = {}};
  for (std::size_t i = 1; i < text.size(); ++i) {
    if (text[i] == '"') {
      text.remove_prefix(i + 1);
      return token;
    }
    if (text[i] == '\\') {
      ++i;
      if (i == text.size() || (text[i] != '"' && text[i] != '\\')) {
        return std::nullopt;
      }
    }
    token.text += text[i];
  }
  return std::nullopt;
}

/// The text's tokens; none when a string is malformed or a character belongs to no token.
std::optional<std::vector<Token>> tokensOf(std::string_view text) {
  constexpr std::string_view Symbols = "[]=()!<>*,/&|";
  std::vector<Token> tokens;
  while (!text.empty()) {
    if (isSpace(text.front())) {
      text.remove_prefix(1);
    } else if (isOfWord(text.front())) {
      tokens.push_back(takeWord(text));
    } else if (text.front() == '"') {
      auto string = takeString(text);
      if (!string) {
        return std::nullopt;
      }
      tokens.push_back(*std::move(string));
    } else if (Symbols.contains(text.front())) {
      tokens.push_back({.kind = Token::Kind::symbol, .text = std::string(1, text.front())});
      text.remove_prefix(1);
    } else {
      return std::nullopt;
    }
  }
  return tokens;
}

/// Reads the tokens of one requirement from first to last.
class Parser {
 public:
  explicit Parser(std::span<const Token> tokens) : tokens_(tokens) {}

  std::expected<Clauses, OSStatus> parse() {
    Clauses clauses;
    do {
      auto clause = parseClause();
      if (!clause) {
        return std::unexpected(clause.error());
      }
      clauses.push_back(*std::move(clause));
    } while (takeWords(std::array{"and"}));
    if (!tokens_.empty()) {
      return std::unexpected(startsWithWord("or") ? CodeRequirementUnsupported
                                                  : CodeRequirementInvalid);
    }
    return clauses;
  }

 private:
  std::expected<CodeRequirementClause, OSStatus> parseClause() {
    if (tokens_.empty()) {
      return std::unexpected(CodeRequirementInvalid);
    }
    if (takeWords(std::array{"anchor", "apple", "generic"})) {
      return AnchorClause();
    }
    if (takeWords(std::array{"certificate", "leaf", "[", "subject.OU", "]", "="})) {
      return parseValueOf<LeafOrganizationalUnitClause>();
    }
    if (takeWords(std::array{"identifier"})) {
      return parseValueOf<IdentifierClause>();
    }
    return std::unexpected(CodeRequirementUnsupported);
  }

  template <typename Clause>
  std::expected<CodeRequirementClause, OSStatus> parseValueOf() {
    if (tokens_.empty() || tokens_.front().kind != Token::Kind::string) {
      return std::unexpected(CodeRequirementInvalid);
    }
    Clause clause{tokens_.front().text};
    tokens_ = tokens_.subspan(1);
    return clause;
  }

  [[nodiscard]] bool startsWithWord(std::string_view text) const {
    return !tokens_.empty() && tokens_.front().kind != Token::Kind::string &&
           tokens_.front().text == text;
  }

  /// Takes these words and symbols if they come next, all of them or none.
  bool takeWords(std::span<const char* const> texts) {
    const bool comesNext =
        texts.size() <= tokens_.size() &&
        std::ranges::equal(texts, tokens_.first(texts.size()),
                           [](std::string_view text, const Token& token) {
                             return token.kind != Token::Kind::string && token.text == text;
                           });
    if (comesNext) {
      tokens_ = tokens_.subspan(texts.size());
    }
    return comesNext;
  }

  std::span<const Token> tokens_;
};

}  // namespace

std::expected<Clauses, OSStatus> parseCodeRequirement(std::string_view text) {
  const auto tokens = tokensOf(text);
  if (!tokens) {
    return std::unexpected(CodeRequirementInvalid);
  }
  return Parser(*tokens).parse();
}

}  // namespace korvan
