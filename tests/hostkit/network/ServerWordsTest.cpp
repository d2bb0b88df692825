#include "hostkit/network/ServerWords.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::hostkit {
namespace {

std::string wordsOf(const std::string& body) {
  return serverWords(Data(body), "Reason");
}

TEST(ServerWordsTest, AreTheMessageOfAnErrorBody) {
  EXPECT_EQ(wordsOf(R"([{"message":"No such type.","code":"NOT_FOUND"}])"), "No such type.");
  EXPECT_EQ(wordsOf(R"({"code":1,"message":"No such type."})"), "No such type.");
  EXPECT_EQ(wordsOf(R"([{"code":"FIRST"},{"message":"second"}])"), "second");
}

TEST(ServerWordsTest, AreTheReasonPhraseWithoutAMessage) {
  for (const std::string body : {"", "<html>", "[]", "{}", "[{}]", "\"message\"", R"({"message":7})",
                                 R"({"message":null})", R"({"message":""})", R"([{"message":"half)"}) {
    EXPECT_EQ(wordsOf(body), "Reason") << body;
  }
}

TEST(ServerWordsTest, ABodyTooLargeForAnErrorIsNotRead) {
  const std::string begin = R"({"message":"m","filler":")";
  const std::string end = "\"}";
  const std::string filler(65'536 - begin.size() - end.size(), 'x');
  EXPECT_EQ(wordsOf(begin + filler + end), "m");
  EXPECT_EQ(wordsOf(begin + filler + 'x' + end), "Reason");
}

TEST(ServerWordsTest, AnEndlessMessageIsCut) {
  EXPECT_EQ(wordsOf(R"({"message":")" + std::string(50'000, 'x') + "\"}"), std::string(4096, 'x'));
}

TEST(ServerWordsTest, AShortenedTextHasAsManyCharactersAsItMay) {
  EXPECT_EQ(shortened("", 3), "");
  EXPECT_EQ(shortened("abc", 3), "abc");
  EXPECT_EQ(shortened("abcd", 3), "ab\u2026");
  EXPECT_EQ(shortened("\u00e9\u00e9\u00e9", 3), "\u00e9\u00e9\u00e9");
  EXPECT_EQ(shortened("\u00e9\u00e9\u00e9\u00e9", 3), "\u00e9\u00e9\u2026");
  EXPECT_EQ(shortened("\xff\xff\xff\xff", 3), "\xff\xff\u2026");
}

}  // namespace
}  // namespace vellora::hostkit
