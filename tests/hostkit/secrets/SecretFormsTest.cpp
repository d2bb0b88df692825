#include "hostkit/secrets/SecretForms.h"

#include <gtest/gtest.h>

namespace vellora::hostkit {
namespace {

TEST(SecretFormsTest, EachFormIsInLowerCase) {
  EXPECT_EQ(reversed("Ab-9"), "9-ba");
  EXPECT_EQ(lettersAndDigits("Ab-9.~z"), "ab9z");
  EXPECT_EQ(percentEncoded("Ab/9+"), "ab%2f9%2b");
  EXPECT_EQ(hexadecimal("A/z"), "412f7a");
  EXPECT_EQ(hexadecimal("A/", "%"), "%41%2f");
  EXPECT_EQ(hexadecimal("A/", "\\u00"), "\\u0041\\u002f");
}

TEST(SecretFormsTest, Base64HasTheWholeGroupsInBothAlphabets) {
  EXPECT_EQ(base64("Man", "+/"), "twfu");
  EXPECT_EQ(base64("ManMa", "+/"), "twfu");
  EXPECT_EQ(base64("\xfb\xff\xfe", "+/"), "+//+");
  EXPECT_EQ(base64("\xfb\xff\xfe", "-_"), "-__-");
  EXPECT_EQ(base64("ab", "+/"), "");
}

TEST(SecretFormsTest, ASecretOfOtherBytesHasFormsToo) {
  EXPECT_EQ(hexadecimal("\xff"), "ff");
  EXPECT_EQ(percentEncoded("\xc3\xa4"), "%c3%a4");
  EXPECT_EQ(lettersAndDigits("\xc3\xa4"), "");
}

}  // namespace
}  // namespace vellora::hostkit
