#include "apps/records-server/QueryParser.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "apps/records-server/QueryError.h"
#include "apps/records-server/QueryTokenizer.h"
#include "vellora/Platform/Text/AsciiCase.h"

namespace vellora::recordsserver {
namespace {

using Kind = QueryToken::Kind;

constexpr std::string_view keywords[] = {"select", "from", "where", "and", "in", "true", "false", "null"};

bool isName(std::string_view word) {
  return std::none_of(std::begin(keywords), std::end(keywords),
                      [word](std::string_view keyword) { return equalIgnoringAsciiCase(keyword, word); });
}

bool isPath(std::string_view word) {
  return isName(word) && word.back() != '.' && word.find("..") == std::string_view::npos;
}

/// Recursive descent; each step returns false once something is wrong, and `wanted_` then says what.
class Parser {
 public:
  explicit Parser(std::vector<QueryToken> tokens) : tokens_(std::move(tokens)) {}

  Result<QueryStatement> statement() {
    if (keyword("SELECT") && fields() && keyword("FROM") && object() && conditions() && end())
      return std::move(statement_);
    const auto& token = tokens_[at_];
    const auto* instead = token.kind == Kind::end ? ", but the query ends" : "";
    return Error(QueryError::malformed("expected " + std::string(wanted_) + " at position " +
                                       std::to_string(token.position) + instead));
  }

 private:
  bool fields() {
    do {
      auto field = path("a field");
      if (!field) return false;
      statement_.fields.push_back(std::move(*field));
    } while (symbolFollows(","));
    return true;
  }

  bool object() {
    const auto& token = tokens_[at_];
    wanted_ = "an object";
    if (token.kind != Kind::word || !isName(token.text) || token.text.find('.') != std::string::npos)
      return false;
    statement_.object = token.text;
    ++at_;
    return true;
  }

  bool conditions() {
    if (tokens_[at_].kind == Kind::end) return true;
    if (!keyword("WHERE")) return false;
    do {
      if (!condition()) return false;
    } while (keywordFollows("AND"));
    return true;
  }

  bool condition() {
    auto field = path("a field");
    if (!field) return false;
    QueryCondition condition{std::move(*field), {}};
    const auto read =
        symbolFollows("=") ? literal(condition) : keyword("IN", "\"=\" or IN") && list(condition);
    statement_.conditions.push_back(std::move(condition));
    return read;
  }

  bool list(QueryCondition& condition) {
    if (!symbol("(", "\"(\"")) return false;
    do {
      if (!literal(condition)) return false;
    } while (symbolFollows(","));
    return symbol(")", "\")\" or \",\"");
  }

  bool literal(QueryCondition& condition) {
    const auto& token = tokens_[at_];
    if (token.kind == Kind::string) {
      condition.anyOf.insert(token.text);
    } else if (keywordIs("true") || keywordIs("false")) {
      condition.anyOf.insert(keywordIs("true"));
    } else if (keywordIs("null")) {
      condition.anyOf.insert(std::monostate{});
    } else {
      wanted_ = "a literal";
      return false;
    }
    ++at_;
    return true;
  }

  std::optional<std::string> path(const char* wanted) {
    const auto& token = tokens_[at_];
    wanted_ = wanted;
    if (token.kind != Kind::word || !isPath(token.text)) return std::nullopt;
    ++at_;
    return token.text;
  }

  bool end() {
    wanted_ = "AND or the end of the query";
    return tokens_[at_].kind == Kind::end;
  }

  bool keyword(const char* text) { return keyword(text, text); }

  bool keyword(const char* text, const char* wanted) {
    wanted_ = wanted;
    return keywordFollows(text);
  }

  bool symbol(const char* text, const char* wanted) {
    wanted_ = wanted;
    return symbolFollows(text);
  }

  bool keywordFollows(const char* text) {
    if (!keywordIs(text)) return false;
    ++at_;
    return true;
  }

  bool symbolFollows(const char* text) {
    if (tokens_[at_].kind != Kind::symbol || tokens_[at_].text != text) return false;
    ++at_;
    return true;
  }

  [[nodiscard]] bool keywordIs(const char* text) const {
    return tokens_[at_].kind == Kind::word && equalIgnoringAsciiCase(tokens_[at_].text, text);
  }

  std::vector<QueryToken> tokens_;  // the last is an end, and no step goes past it
  std::size_t at_ = 0;
  const char* wanted_ = "";
  QueryStatement statement_;
};

}  // namespace

Result<QueryStatement> parseQuery(std::string_view text) {
  auto tokens = tokenizeQuery(text);
  if (!tokens) return tokens.error();
  return Parser(std::move(tokens).value()).statement();
}

}  // namespace vellora::recordsserver
