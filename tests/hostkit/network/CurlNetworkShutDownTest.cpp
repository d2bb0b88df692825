#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <utility>
#include <vector>

#include "hostkit/network/CurlNetwork.h"
#include "tests/hostkit/network/CurlNetworkFixture.h"
#include "tests/support/NetworkAnswer.h"
#include "tests/support/Requests.h"
#include "tests/support/ScriptedServer.h"

namespace vellora::hostkit {
namespace {

using tests::get;
using tests::longestWait;
using tests::NetworkAnswer;
using tests::ScriptedServer;
using tests::send;

using CurlNetworkShutDownTest = CurlNetworkFixture;

TEST_F(CurlNetworkShutDownTest, CompletesPendingRequestsWhenItIsDestroyed) {
  std::vector<std::future<NetworkAnswer>> answers;
  for (int i = 0; i < 20; ++i) answers.push_back(send(*network, get("/silent")));
  ASSERT_TRUE(server.waitForRequests(1));
  network.reset();
  for (auto& answer : answers) {
    ASSERT_EQ(answer.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    expectError(answer.get(), Kind::shutDown);
  }
}

TEST_F(CurlNetworkShutDownTest, ACompletionMayDropTheNetwork) {
  server.reply(ScriptedServer::http("200 OK", "{}"));
  std::promise<void> dropped;
  auto last = makeNetwork({.server = server.url()});
  CurlNetwork& reference = *last;
  std::vector<std::future<NetworkAnswer>> others;
  reference.sendRequest(get("/theme"),
                        [held = std::exchange(last, nullptr), &dropped, &others](auto, auto, auto) mutable {
                          for (int i = 0; i < 3; ++i) others.push_back(send(*held, get("/silent")));
                          held.reset();
                          dropped.set_value();
                        });
  ASSERT_EQ(dropped.get_future().wait_for(longestWait), std::future_status::ready);
  for (auto& other : others) {
    ASSERT_EQ(other.wait_for(longestWait), std::future_status::ready);
    expectError(other.get(), Kind::shutDown);
  }
}

TEST_F(CurlNetworkShutDownTest, TheLastHandleMayGoWithACompletionsCaptures) {
  server.reply(ScriptedServer::http("200 OK", "{}"));
  std::promise<void> gone;
  auto last = makeNetwork({.server = server.url()});
  CurlNetwork& reference = *last;
  // The deleter runs once the network's handle, captured before it, is all that is left.
  std::shared_ptr<void> sentinel(nullptr, [&gone](void*) { gone.set_value(); });
  reference.sendRequest(get("/theme"),
                        [sentinel = std::move(sentinel), last = std::move(last)](auto, auto, auto) {});
  EXPECT_EQ(gone.get_future().wait_for(longestWait), std::future_status::ready);
}

TEST_F(CurlNetworkShutDownTest, ACompletionMaySendAgainEvenDuringTheShutDown) {
  std::promise<NetworkAnswer> again;
  CurlNetwork& reference = *network;
  reference.sendRequest(get("/silent"), [&](auto, auto, auto) {
    reference.sendRequest(get("/again"), [&](auto data, auto error, auto response) {
      again.set_value({std::move(data), std::move(error), std::move(response)});
    });
  });
  ASSERT_TRUE(server.waitForRequests(1));
  network.reset();
  expectError(again.get_future().get(), Kind::shutDown);
}

}  // namespace
}  // namespace vellora::hostkit
