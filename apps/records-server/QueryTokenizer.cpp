#include "apps/records-server/QueryTokenizer.h"

#include <optional>

#include "apps/records-server/QueryError.h"

namespace vellora::recordsserver {
namespace {

bool isBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

bool isLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

bool isWordCharacter(char c) {
  return isLetter(c) || (c >= '0' && c <= '9') || c == '.';
}

bool isSymbol(char c) {
  return c == ',' || c == '(' || c == ')' || c == '=';
}

std::optional<char> unescaped(char c) {
  switch (c) {
    case '\'':
    case '"':
    case '\\':
      return c;
    case 'n':
      return '\n';
    case 'r':
      return '\r';
    case 't':
      return '\t';
    case 'b':
      return '\b';
    case 'f':
      return '\f';
    default:
      return std::nullopt;
  }
}

class Tokenizer {
 public:
  explicit Tokenizer(std::string_view text) : text_(text) {}

  Result<std::vector<QueryToken>> tokens() {
    std::vector<QueryToken> tokens;
    for (;;) {
      auto token = next();
      if (!token) return token.error();
      tokens.push_back(std::move(token).value());
      if (tokens.back().kind == QueryToken::Kind::end) return tokens;
    }
  }

 private:
  Result<QueryToken> next() {
    while (position_ < text_.size() && isBlank(text_[position_])) ++position_;
    const auto start = position_;
    if (start == text_.size()) return QueryToken{QueryToken::Kind::end, "", start};
    if (text_[start] == '\'') return string();
    if (isLetter(text_[start])) return word();
    if (!isSymbol(text_[start])) return malformed("unexpected character", start);
    ++position_;
    return QueryToken{QueryToken::Kind::symbol, std::string(1, text_[start]), start};
  }

  QueryToken word() {
    const auto start = position_;
    while (position_ < text_.size() && isWordCharacter(text_[position_])) ++position_;
    return {QueryToken::Kind::word, std::string(text_.substr(start, position_ - start)), start};
  }

  Result<QueryToken> string() {
    QueryToken token{QueryToken::Kind::string, "", position_};
    while (++position_ < text_.size()) {
      auto c = text_[position_];
      if (c == '\'') {
        ++position_;
        return token;
      }
      if (c == '\n' || c == '\r') return malformed("line break in a string", position_);
      if (c == '\\') {
        const auto escape = ++position_ < text_.size() ? unescaped(text_[position_]) : std::nullopt;
        if (!escape) return malformed("unknown escape", position_ - 1);
        c = *escape;
      }
      token.text += c;
    }
    return malformed("string without end", token.position);
  }

  static Error malformed(const char* what, std::size_t position) {
    return QueryError::malformed(what + (" at position " + std::to_string(position)));
  }

  std::string_view text_;
  std::size_t position_ = 0;
};

}  // namespace

Result<std::vector<QueryToken>> tokenizeQuery(std::string_view text) {
  return Tokenizer(text).tokens();
}

}  // namespace vellora::recordsserver
