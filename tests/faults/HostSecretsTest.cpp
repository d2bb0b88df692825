// The token goes to the server and nowhere else, whatever goes wrong: a whole host with a cache in a file,
// and every wrong answer that the records server or the network between can give.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "apps/records-server/RecordsServer.h"
#include "hostkit/StandardPlatformAPI.h"
#include "testkit/FaultyHost.h"
#include "testkit/RecordingLogger.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TokenCanary.h"
#include "vellora/Platform/Json.h"
#include "vellora/Platform/SerialDispatchQueue.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::faults {
namespace {

using recordsserver::DataSet;
using recordsserver::Fault;
using recordsserver::RecordsServer;
using testing::IsEmpty;
using testkit::FaultyHost;
using testkit::HostFault;
using testkit::HostFaults;

class HostSecretsTest : public testing::Test {
 protected:
  HostSecretsTest() {
    server = RecordsServer::start(DataSet::builtIn(), {.token = canary.token(), .onRequest = {}}).value();
    real = hostkit::StandardPlatformAPI::make({.server = server->url(),
                                               .token = [this] { return std::optional(canary.token()); },
                                               .cacheFile = folder.file("cache.sqlite"),
                                               .logger = logger})
               .value();
    host = std::make_shared<FaultyHost>(real->network(), real->cache(), real->logger());
  }

  /// Asks everything that can be asked, and waits for what is answered in any case when the server answers.
  std::string ask(bool serverAnswers) {
    VelloraService service(host, /*cacheTimeout=*/0, "light",
                           std::make_shared<SerialDispatchQueue>("VelloraService.queue"));
    std::vector<std::future<std::string>> answers;
    const auto intoText = [&answers] {
      auto promise = std::make_shared<std::promise<std::string>>();
      answers.push_back(promise->get_future());
      return [promise](const auto& infos) {
        std::string text;
        for (const auto& [key, info] : infosOf(infos))
          text.append(key).append(json::encode(info).value().view());
        promise->set_value(text);
      };
    };
    service.objectPresentationInfoForIds({"001a", "00B000000000001"}, nullptr);
    service.objectPresentationInfoForApiNames({"Account"}, intoText());
    service.objectLayoutInfoForApiNames({"Account"}, intoText());
    service.objectCompactLayoutInfoForApiNames({"Account"}, intoText());
    EXPECT_TRUE(server->waitForRequests(1));
    std::string all;
    if (serverAnswers) {
      for (auto& answer : answers) {
        EXPECT_EQ(answer.wait_for(std::chrono::seconds(60)), std::future_status::ready);
        all += answer.get();
      }
    }
    const auto state = service.primerState();
    return all + state.description() + (state.error() ? state.error()->localizedDescription() : "");
  }

  /// Nothing that anybody can read has the token in it: answers and errors, log, cache and its journals.
  void expectNoToken(const std::string& answers, const std::string& when) {
    EXPECT_FALSE(canary.isIn(answers)) << when;
    EXPECT_FALSE(logger->lines().empty()) << when;
    for (const auto& line : logger->lines())
      EXPECT_FALSE(canary.isIn(line.text)) << when << ": " << line.text;
    EXPECT_THAT(canary.filesIn(folder.path()), IsEmpty()) << when;
  }

  template <class Infos>
  static const Infos& infosOf(const Infos& infos) {
    return infos;
  }
  template <class Infos>
  static Infos infosOf(const std::optional<Infos>& infos) {
    return infos.value_or(Infos());
  }

  const tests::TokenCanary canary;
  const tests::TemporaryFolder folder;
  const std::shared_ptr<testkit::RecordingLogger> logger = std::make_shared<testkit::RecordingLogger>();
  std::unique_ptr<RecordsServer> server;
  std::shared_ptr<hostkit::StandardPlatformAPI> real;
  std::shared_ptr<FaultyHost> host;
};

TEST_F(HostSecretsTest, TheServerIsTheOneThatGetsTheToken) {
  const auto answers = ask(true);
  EXPECT_THAT(answers, testing::HasSubstr("Account")) << "it refuses whoever has none";
  ASSERT_FALSE(server->recordedRequests().empty());
  for (const auto& request : server->recordedRequests()) {
    EXPECT_EQ(request.header("Authorization"), "Bearer " + canary.token());
    EXPECT_FALSE(canary.isIn(request.line())) << request.line();
  }
  expectNoToken(answers, "without a fault");
}

TEST_F(HostSecretsTest, WhateverTheServerDoes) {
  // The one that is never answered comes last: equal requests share it from then on.
  const std::vector<std::pair<std::string, Fault>> faults = {
      {"fail", Fault::fail(500)},
      {"refuse the token", Fault::fail(401)},
      {"error body", Fault::errorBody()},
      {"truncate", Fault::truncate(40)},
      {"drop", Fault::drop()},
      {"garbage", Fault::garbage()},
      {"empty", Fault::empty()},
      {"never", Fault::never()},
  };
  for (const auto& [name, fault] : faults) {
    server->clearRequests();
    server->setFault(RecordsServer::everything, fault);
    expectNoToken(ask(fault.kind != Fault::Kind::never), name);
  }
  server->stop();
}

TEST_F(HostSecretsTest, WhateverHappensOnTheWay) {
  for (const HostFault fault : testkit::faultsOf(testkit::HostCall::Operation::sendRequest)) {
    if (fault == HostFault::neverAnswered || fault == HostFault::answeredLate) continue;  // nothing to read
    host->mend();
    host->plan(0, fault, HostFaults::Lasting::fromThenOn);
    server->clearRequests();
    server->setFault(RecordsServer::everything, Fault());
    const bool reachesTheServer = fault != HostFault::answeredAtOnce;
    if (reachesTheServer) expectNoToken(ask(true), std::string(describe(fault)));
  }
}

TEST_F(HostSecretsTest, WhateverTheCacheDoes) {
  for (const HostFault fault : {HostFault::missing, HostFault::truncated, HostFault::bitFlipped,
                                HostFault::anothersBytes, HostFault::olderForm, HostFault::refused}) {
    host->mend();
    host->plan(0, fault, HostFaults::Lasting::fromThenOn);
    expectNoToken(ask(true), std::string(describe(fault)));
  }
}

TEST_F(HostSecretsTest, NothingStaysBehindWhenAllIsClosed) {
  const auto answers = ask(true);
  host.reset();
  real.reset();
  expectNoToken(answers, "closed");
}

}  // namespace
}  // namespace vellora::faults
