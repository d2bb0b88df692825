#include "hostkit/bodies/KeptBody.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "hostkit/cache/rows/Checksum.h"

namespace vellora::hostkit {
namespace {

KeptBody sample() {
  return {{{"etag", "\"1\""}, {"content-encoding", "gzip"}}, Data(std::string("\x1f\x8b\0body", 7))};
}

TEST(KeptBodyTest, IsReadAsItWasStored) {
  EXPECT_EQ(keptBodyIn(storedForm(sample(), "request"), "request"), sample());
  const KeptBody nothing;
  EXPECT_EQ(keptBodyIn(storedForm(nothing, ""), ""), nothing);
}

TEST(KeptBodyTest, ItsFormIsTheSameAtEachStart) {
  EXPECT_EQ(storedForm({{{"etag", "\"1\""}}, Data(std::string("body"))}, "r").view(),
            "vellora-body 1 2213884784 11 4:etag3:\"1\"body");
}

TEST(KeptBodyTest, AnswersNoOtherRequest) {
  EXPECT_EQ(keptBodyIn(storedForm(sample(), "request"), "another"), std::nullopt);
}

TEST(KeptBodyTest, IsNotReadWithAnyOfItsBitsChanged) {
  const std::string form(storedForm(sample(), "request").view());
  for (std::size_t at = 0; at < form.size(); ++at) {
    for (unsigned bit = 0; bit < 8; ++bit) {
      std::string damaged = form;
      damaged[at] = static_cast<char>(static_cast<unsigned char>(damaged[at]) ^ (1U << bit));
      EXPECT_EQ(keptBodyIn(Data(damaged), "request"), std::nullopt) << at << ", bit " << bit;
    }
  }
}

TEST(KeptBodyTest, IsNotReadInPartNorWithMoreBehindIt) {
  const std::string form(storedForm(sample(), "request").view());
  for (std::size_t size = 0; size < form.size(); ++size) {
    EXPECT_EQ(keptBodyIn(Data(form.substr(0, size)), "request"), std::nullopt) << size;
  }
  EXPECT_EQ(keptBodyIn(Data(form + "x"), "request"), std::nullopt);
}

TEST(KeptBodyTest, IsNotReadWithItsNumbersWrittenOtherwise) {
  EXPECT_TRUE(keptBodyIn(Data(std::string("vellora-body 1 2213884784 11 4:etag3:\"1\"body")), "r"));
  EXPECT_FALSE(keptBodyIn(Data(std::string("vellora-body 1 02213884784 11 4:etag3:\"1\"body")), "r"));
  EXPECT_FALSE(keptBodyIn(Data(std::string("vellora-body 1 2213884784 011 4:etag3:\"1\"body")), "r"));
}

TEST(KeptBodyTest, IsNotReadWithHeadersThatWouldReachBeyondItsEnd) {
  std::string form(storedForm({{{"etag", "\"1\""}}, Data()}, "r").view());
  ASSERT_TRUE(form.ends_with(" 11 4:etag3:\"1\""));
  form[form.rfind(" 11 ") + 2] = '2';
  EXPECT_FALSE(keptBodyIn(Data(form), "r"));
}

TEST(KeptBodyTest, IsNotReadWithItsHeadersInAnotherOrder) {
  const auto formOf = [](const std::string& headers) {
    const auto sum = Checksum().add("kept body").add("r").add(headers).add("").value();
    return Data("vellora-body 1 " + std::to_string(sum) + ' ' + std::to_string(headers.size()) + ' ' +
                headers);
  };
  EXPECT_TRUE(keptBodyIn(formOf("4:date1:a4:etag1:b"), "r"));
  EXPECT_FALSE(keptBodyIn(formOf("4:etag1:b4:date1:a"), "r"));
}

}  // namespace
}  // namespace vellora::hostkit
