#include "apps/vellora/command/OptionText.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::command {
namespace {

TEST(OptionTextTest, ANumberIsReadWhole) {
  for (const std::string text : {"0", "-1", "2.5", "1e3", "nan"}) EXPECT_EQ(aNumber()(text), "") << text;
  for (const std::string text : {"", "soon", "5s", "1 2"}) EXPECT_EQ(aNumber()(text), "must be a number");
}

TEST(OptionTextTest, APortHasSixteenBits) {
  for (const std::string text : {"0", "8123", "65535"}) EXPECT_EQ(aPort()(text), "") << text;
  for (const std::string text : {"", "-1", "65536", "80a"})
    EXPECT_EQ(aPort()(text), "must be a number from 0 to 65535") << text;
}

TEST(OptionTextTest, ACountIsAWholeNumberAboveZero) {
  for (const std::string text : {"1", "20"}) EXPECT_EQ(aCount()(text), "") << text;
  for (const std::string text : {"", "0", "-1", "1.5", "1e3", "99999999999999999999"})
    EXPECT_EQ(aCount()(text), "must be a whole number above 0") << text;
}

TEST(OptionTextTest, AChoiceNamesWhatThereIsAndTheNearest) {
  const auto level = oneOf({"off", "error", "info"});
  EXPECT_EQ(level("info"), "");
  EXPECT_EQ(level("debug"), "must be off, error or info");
  EXPECT_EQ(level("Eror"), "must be off, error or info; did you mean error?");
  EXPECT_EQ(oneOf({"always"})("never"), "must be always");
}

}  // namespace
}  // namespace vellora::command
