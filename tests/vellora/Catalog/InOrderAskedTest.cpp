#include "vellora/Catalog/InOrderAsked.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::map<std::string, int> entriesAskedFor{{"a", 1}, {"b", 2}, {"c", 3}};

template <class Entries>
std::vector<std::string> keysOf(const Entries& entries) {
  std::vector<std::string> keys;
  for (const auto* entry : entries) keys.push_back(entry->first);
  return keys;
}

TEST(InOrderAskedTest, GivesWhatWasNamedInThatOrderAndOnce) {
  EXPECT_THAT(keysOf(inOrderAsked(entriesAskedFor, {"c", "x", "a", "c"})), ElementsAre("c", "a"));
  EXPECT_THAT(keysOf(inOrderAsked(entriesAskedFor, Keys())), IsEmpty());
}

TEST(InOrderAskedTest, GivesAllInTheOrderOfTheirKeysWhereNothingWasNamed) {
  EXPECT_THAT(keysOf(inOrderOfKeys(entriesAskedFor)), ElementsAre("a", "b", "c"));
}

}  // namespace
}  // namespace vellora
