#include "bench/fleet/EventQueue.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace vellora::fleet {
namespace {

std::vector<std::uint32_t> agentsInOrder(EventQueue& queue) {
  std::vector<std::uint32_t> agents;
  while (const auto event = queue.next()) agents.push_back(event->agent);
  return agents;
}

TEST(EventQueueTest, GivesTheEarliestFirst) {
  EventQueue queue(100);
  queue.add({.time = 7.5, .agent = 3});
  queue.add({.time = 0.25, .agent = 1});
  queue.add({.time = 7.25, .agent = 2});
  queue.add({.time = 99.5, .agent = 4});
  EXPECT_EQ(agentsInOrder(queue), (std::vector<std::uint32_t>{1, 2, 3, 4}));
}

TEST(EventQueueTest, GivesWhatHappensAtTheSameMomentInTheOrderOfAdding) {
  EventQueue queue(10);
  for (std::uint32_t agent = 0; agent < 20; ++agent) queue.add({.time = 5, .agent = agent});
  const auto agents = agentsInOrder(queue);
  ASSERT_EQ(agents.size(), 20U);
  for (std::uint32_t agent = 0; agent < 20; ++agent) EXPECT_EQ(agents[agent], agent);
}

TEST(EventQueueTest, PutsWhatIsAddedForTheCurrentSecondIntoItsOrder) {
  EventQueue queue(10);
  queue.add({.time = 2.1, .agent = 1});
  queue.add({.time = 2.8, .agent = 3});
  EXPECT_EQ(queue.next()->agent, 1U);
  queue.add({.time = 2.5, .agent = 2});
  EXPECT_EQ(agentsInOrder(queue), (std::vector<std::uint32_t>{2, 3}));
}

TEST(EventQueueTest, GivesNextWhatIsAddedForAMomentThatHasPassed) {
  EventQueue queue(10);
  queue.add({.time = 5, .agent = 1});
  queue.add({.time = 6, .agent = 3});
  EXPECT_EQ(queue.next()->agent, 1U);
  queue.add({.time = 1, .agent = 2});
  EXPECT_EQ(agentsInOrder(queue), (std::vector<std::uint32_t>{2, 3}));
}

TEST(EventQueueTest, DropsWhatIsAddedForTheEndOrLater) {
  EventQueue queue(10);
  queue.add({.time = 10, .agent = 1});
  queue.add({.time = 1e300, .agent = 2});
  EXPECT_FALSE(queue.next());
}

}  // namespace
}  // namespace vellora::fleet
