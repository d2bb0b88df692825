#include "hostkit/secrets/SecretTraces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vellora::hostkit {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

/// The parts of `text` that tell the secret.
std::vector<std::string> found(const std::string& secret, const std::string& text) {
  std::vector<TextSpan> spans;
  SecretTraces(secret).find(text, spans);
  std::vector<std::string> parts;
  for (const auto& span : spans) parts.push_back(text.substr(span.begin, span.end - span.begin));
  return parts;
}

TEST(SecretTracesTest, SixCharactersTellInTheirOrderOrBackToFront) {
  EXPECT_THAT(found("abc-Secret99", "<SECRET>"), ElementsAre("SECRET"));
  EXPECT_THAT(found("abc-Secret99", "<99terc>"), ElementsAre("99terc"));
  EXPECT_THAT(found("abc-Secret99", "<bc-Sec>"), ElementsAre("bc-Sec"));
  EXPECT_THAT(found("abc-Secret99", "<secre> <9terc>"), IsEmpty());
}

TEST(SecretTracesTest, AnEncodedSecretTellsByAsMuch) {
  EXPECT_THAT(found("abc-Secret99", "x=5365637265743939!"), ElementsAre("5365637265743939"));
  EXPECT_THAT(found("abc-Secret99", "%53%65%63%72%65%74"), ElementsAre("%53%65%63%72%65%74"));
  EXPECT_THAT(found("a/b+c=dd:e", "q=a%2Fb%2Bc."), ElementsAre("a%2Fb%2Bc"));
  EXPECT_THAT(found("abc-Secret99", "536563726"), IsEmpty());
  EXPECT_THAT(found("abc-Secret99", "%53%65%63%72%65"), IsEmpty());
}

TEST(SecretTracesTest, Base64TellsWhereverItsGroupsBegin) {
  // "Bearer abc-Secret99", "abc-Secret99" and "x abc-Secret99".
  EXPECT_THAT(found("abc-Secret99", "QmVhcmVyIGFiYy1TZWNyZXQ5OQ=="), Not(IsEmpty()));
  EXPECT_THAT(found("abc-Secret99", "YWJjLVNlY3JldDk5"), ElementsAre("YWJjLVNlY3JldDk5"));
  EXPECT_THAT(found("abc-Secret99", "eCBhYmMtU2VjcmV0OTk="), Not(IsEmpty()));
}

TEST(SecretTracesTest, TenLettersAndDigitsTellWhateverStandsBetween) {
  EXPECT_THAT(found("abc-Secret99", "A.B.C.S.E.C.R.E.T.9.9"), ElementsAre("A.B.C.S.E.C.R.E.T.9.9"));
  EXPECT_THAT(found("abc-Secret99", "[abc\", \"sec\", \"ret9]"), ElementsAre("abc\", \"sec\", \"ret9"));
  EXPECT_THAT(found("abc-Secret99", "9 9 t e r c e s c b a"), ElementsAre("9 9 t e r c e s c b a"));
  EXPECT_THAT(found("abc-Secret99", "a b c s e c r e t"), IsEmpty());
}

TEST(SecretTracesTest, EveryOtherCharacterMayStandBetween) {
  for (const char between : {'/', ':', '@', '`', '{', '~', '\x7f', '\x80', '\0'}) {
    std::string text;
    for (const char c : std::string("abz0123456789")) (text += c) += between;
    EXPECT_THAT(found("abz-0123456789", text), ElementsAre(text.substr(0, text.size() - 1))) << between;
  }
}

TEST(SecretTracesTest, ASecretOfSixCharactersTellsBackToFrontToo) {
  EXPECT_THAT(found("s3cr3t", "<T3RC3S> <t3rc3>"), ElementsAre("T3RC3S"));
}

TEST(SecretTracesTest, AShortSecretTellsWhereItStandsWhole) {
  EXPECT_THAT(found("t0k", "T0K, t0, k0t"), ElementsAre("T0K"));
  EXPECT_THAT(found("", "anything"), IsEmpty());
}

TEST(SecretTracesTest, ATextShorterThanAPieceTellsNothing) {
  EXPECT_THAT(found("abc-Secret99", ""), IsEmpty());
  EXPECT_THAT(found("abc-Secret99", "abc-S"), IsEmpty());
}

}  // namespace
}  // namespace vellora::hostkit
