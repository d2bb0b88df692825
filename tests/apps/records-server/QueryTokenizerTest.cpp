#include "apps/records-server/QueryTokenizer.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::recordsserver {
namespace {

using Kind = QueryToken::Kind;

void expectToken(const QueryToken& token, Kind kind, const std::string& text, std::size_t position) {
  EXPECT_EQ(token.kind, kind);
  EXPECT_EQ(token.text, text);
  EXPECT_EQ(token.position, position);
}

TEST(QueryTokenizerTest, EndsAlsoAnEmptyText) {
  const auto tokens = tokenizeQuery(" \t\r\n");
  ASSERT_TRUE(tokens);
  ASSERT_EQ(tokens.value().size(), 1U);
  expectToken(tokens.value()[0], Kind::end, "", 4);
}

TEST(QueryTokenizerTest, CutsWordsSymbolsAndStrings) {
  const auto tokens = tokenizeQuery("A.b_1='x y',()");
  ASSERT_TRUE(tokens);
  ASSERT_EQ(tokens.value().size(), 7U);
  expectToken(tokens.value()[0], Kind::word, "A.b_1", 0);
  expectToken(tokens.value()[1], Kind::symbol, "=", 5);
  expectToken(tokens.value()[2], Kind::string, "x y", 6);
  expectToken(tokens.value()[3], Kind::symbol, ",", 11);
  expectToken(tokens.value()[4], Kind::symbol, "(", 12);
  expectToken(tokens.value()[5], Kind::symbol, ")", 13);
  expectToken(tokens.value()[6], Kind::end, "", 14);
}

TEST(QueryTokenizerTest, GivesAStringsValueAndTheTextsPosition) {
  const auto tokens = tokenizeQuery(R"('\'\\' b)");
  ASSERT_TRUE(tokens);
  expectToken(tokens.value()[0], Kind::string, R"('\)", 0);
  expectToken(tokens.value()[1], Kind::word, "b", 7);
}

TEST(QueryTokenizerTest, RefusesWhatBeginsNoToken) {
  for (const auto* text : {"1", "-", "\"x\"", "<", ":id", "'x", "'\\"})
    EXPECT_FALSE(tokenizeQuery(text)) << text;
}

}  // namespace
}  // namespace vellora::recordsserver
