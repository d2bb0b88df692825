#include "testkit/HostileServer.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

namespace vellora::testkit {
namespace {

std::string targetOf(int number) {
  return "/services/data/" + std::to_string(number);
}

TEST(HostileServerTest, TheSeedSaysWhichTrickIsPlayedOnARequest) {
  const HostileServer first(7, 1000);
  const HostileServer again(7, 1000);
  const HostileServer other(8, 1000);
  bool differs = false;
  for (int number = 0; number < 100; ++number) {
    const std::string target = targetOf(number);
    EXPECT_EQ(first.trickOn(target).name, again.trickOn(target).name);
    differs = differs || first.trickOn(target).name != other.trickOn(target).name;
  }
  EXPECT_TRUE(differs);
}

TEST(HostileServerTest, EachTrickHasItsTurnButThoseThatComeLate) {
  const HostileServer server(1, 1000);
  std::set<std::string> names;
  for (int number = 0; number < 1000; ++number) names.insert(server.trickOn(targetOf(number)).name);
  std::set<std::string> expected;
  for (const HostileTrick& trick : hostileTricks(1000)) {
    if (trick.late.empty()) expected.insert(trick.name);
  }
  EXPECT_EQ(names, expected);
}

TEST(HostileServerTest, EachTargetHasARightBodyOfItsOwn) {
  EXPECT_EQ(HostileServer::rightBody("/a?b"), "{\"target\":\"/a?b\"}");
}

TEST(HostileServerTest, HasPlayedNothingBeforeItIsAsked) {
  const HostileServer server(1, 1000);
  EXPECT_TRUE(server.played().empty());
  EXPECT_EQ(server.connectionsElsewhere(), 0U);
}

}  // namespace
}  // namespace vellora::testkit
