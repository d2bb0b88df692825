#include "hostkit/bodies/KeptBody.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

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

}  // namespace
}  // namespace vellora::hostkit
