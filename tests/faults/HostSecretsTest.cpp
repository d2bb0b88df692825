// The token goes to the server and nowhere else, whatever goes wrong: a whole host with a cache in a file,
// and every wrong answer that the records server or the network between can give.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
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
#include "tests/support/ScriptedServer.h"
#include "tests/support/SlowBuild.h"
#include "tests/support/TemporaryFolder.h"
#include "tests/support/TokenCanary.h"
#include "vellora/Catalog/Catalog.h"
#include "vellora/DataServices/Source.h"
#include "vellora/Platform/Json/Json.h"
#include "vellora/Platform/Queues/SerialDispatchQueue.h"
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

  /// How long a question is waited for.
  enum class Until {
    answered,  ///< until all that is answered in any case has been
    sent,      ///< until the server has got a request, which it does not answer
    asked,     ///< not at all: no answer comes, and maybe no request goes
  };

  /// Asks everything that can be asked.
  std::string ask(Until until) {
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
    std::string all;
    if (until == Until::sent) {
      EXPECT_TRUE(server->waitForRequests(1));
    }
    for (std::size_t i = 0; until == Until::answered && i < answers.size(); ++i) all += awaited(answers[i]);
    const auto state = service.primerState();
    return all + state.description() + (state.error() ? state.error()->localizedDescription() : "");
  }

  /// Waits for an answer. What the host answers late is delivered meanwhile.
  std::string awaited(std::future<std::string>& answer) {
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (answer.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
      host->deliverLate();
      if (std::chrono::steady_clock::now() > limit) {
        ADD_FAILURE() << "never answered";
        return "";
      }
    }
    return answer.get();
  }

  /// The same with one call of the host failing, or all from that one on.
  std::string askWith(std::size_t call, HostFault fault, HostFaults::Lasting lasting) {
    host->mend();
    host->clearCalls();
    host->plan(call, fault, lasting);
    auto answers = ask(fault == HostFault::neverAnswered ? Until::asked : Until::answered);
    host->dropHeld();
    return answers;
  }

  /// Nothing that anybody can read has the token in it: answers and errors, log, cache and its journals.
  void expectNoToken(const std::string& answers, const std::string& when) {
    expectNoTokenInTexts(answers, when);
    expectNoTokenInFiles(when);
  }

  void expectNoTokenInFiles(const std::string& when) const {
    EXPECT_THAT(canary.filesIn(folder.path()), IsEmpty()) << when;
  }

  void expectNoTokenInTexts(const std::string& answers, const std::string& when) {
    EXPECT_FALSE(canary.isIn(answers)) << when;
    for (const auto& line : logger->lines())
      EXPECT_FALSE(canary.isIn(line.text)) << when << ": " << line.text;
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
  const auto answers = ask(Until::answered);
  EXPECT_THAT(answers, testing::HasSubstr("Account")) << "it refuses whoever has none";
  ASSERT_FALSE(server->recordedRequests().empty());
  for (const auto& request : server->recordedRequests()) {
    EXPECT_EQ(request.header("Authorization"), "Bearer " + canary.token());
    EXPECT_FALSE(canary.isIn(request.line())) << request.line();
  }
  EXPECT_FALSE(logger->lines().empty());
  expectNoToken(answers, "without a fault");
}

TEST_F(HostSecretsTest, WhateverTheServerDoes) {
  // The fault that never answers comes last, since later requests for the same would wait for its answer too.
  const std::vector<std::pair<std::string, Fault>> faults = {
      {"fail", Fault::fail(500)},
      {"refuse the token", Fault::fail(401)},
      {"error body", Fault::errorBody()},
      {"truncate", Fault::truncate(40)},
      {"drop", Fault::drop()},
      {"garbage", Fault::garbage()},
      {"empty", Fault::empty()},
      {"say unasked that nothing has changed", Fault::unaskedNotModified()},
      {"say so of another body", Fault::notModifiedForAnother()},
      {"never change a tag", Fault::frozenTag()},
      {"never", Fault::never()},
  };
  for (const auto& [name, fault] : faults) {
    server->clearRequests();
    server->setFault(RecordsServer::everything, fault);
    expectNoToken(ask(fault.kind == Fault::Kind::never ? Until::sent : Until::answered), name);
  }
  server->stop();
}

TEST_F(HostSecretsTest, WhateverNamesTheServerMakesOfIt) {
  tests::ScriptedServer echo;
  const std::string token = canary.token();
  for (const std::string& form : {token, token.substr(5, 8), std::string(token.rbegin(), token.rend()),
                                  canary.traces()[2], canary.traces()[4]}) {
    const std::string name(json::encode(form).value().view());
    echo.replyAlways(tests::ScriptedServer::http(
        "200 OK", R"({"sobjects":[{"keyPrefix":"001","createable":true,"labelPlural":"","name":)" + name +
                      ",\"label\":" + name + R"(}],"themeItems":[{"colors":[],"icons":[],"name":)" + name +
                      "}]," + name + ":7}"));
    real = hostkit::StandardPlatformAPI::make({.server = echo.url(),
                                               .token = [this] { return std::optional(canary.token()); },
                                               .logger = logger})
               .value();
    VelloraService service(real, /*cacheTimeout=*/0, "light",
                           std::make_shared<SerialDispatchQueue>("VelloraService.queue"));
    std::promise<void> answered;
    service.objectPresentationInfoForIds({"001a"}, [&](const auto& infos) {
      EXPECT_TRUE(infos.contains("001a")) << "the server's names are its answer, and stay";
      service.objectCompactLayoutInfoForApiNames({"Account"}, [&](const auto&) { answered.set_value(); });
    });
    ASSERT_EQ(answered.get_future().wait_for(std::chrono::seconds(60)), std::future_status::ready);
    expectNoTokenInTexts("", form);
    const auto lines = logger->lines();
    const auto cleaned = std::count_if(lines.begin(), lines.end(), [](const auto& line) {
      return line.text.find("[token]") != std::string::npos;
    });
    EXPECT_GT(cleaned, 3) << form;
    logger->clear();
  }
}

TEST_F(HostSecretsTest, WhateverNamesTheCacheHoldsBeforeAnythingIsSent) {
  tests::ScriptedServer echo;
  const std::string token = canary.token();
  for (const std::string& form : {token, std::string(token.rbegin(), token.rend()), canary.traces()[2]}) {
    SCOPED_TRACE(form);
    const std::string name(json::encode(form).value().view());
    echo.replyAlways(tests::ScriptedServer::http(
        "200 OK", R"({"sobjects":[{"keyPrefix":"001","createable":true,"labelPlural":"","name":)" + name +
                      ",\"label\":" + name + R"(}],"themeItems":[{"colors":[],"icons":[],"name":)" + name +
                      "}]}"));
    const tests::TemporaryFolder warm;
    const auto ask = [&](Source source) {
      logger->clear();
      const auto made =
          hostkit::StandardPlatformAPI::make({.server = echo.url(),
                                              .token = [&token] { return std::optional(token); },
                                              .cacheFile = warm.file("cache.sqlite"),
                                              .logger = logger})
              .value();
      const Catalog catalog(made, {.loadsAtOnce = false});
      EXPECT_EQ(catalog.records({"001a"}, {.source = source}).get().found.size(), 1U);
      expectNoTokenInTexts("", form);
    };
    ask(Source::cacheFirst);
    const auto sent = echo.requests().size();
    ask(Source::cacheOnly);
    EXPECT_EQ(echo.requests().size(), sent);
    const auto lines = logger->lines();
    EXPECT_TRUE(std::any_of(lines.begin(), lines.end(), [](const auto& line) {
      return line.text == "sObjectForName(_:), name: [token]";
    }));
  }
}

TEST_F(HostSecretsTest, WhateverFailsFromTheBeginningOn) {
  using Operation = testkit::HostCall::Operation;
  const std::vector<std::pair<std::string, Operation>> kinds = {{"requests", Operation::sendRequest},
                                                                {"reads", Operation::load},
                                                                {"writes", Operation::save},
                                                                {"lines", Operation::log}};
  for (const auto& [calls, operation] : kinds) {
    for (const HostFault fault : testkit::faultsOf(operation)) {
      const auto answers = askWith(0, fault, HostFaults::Lasting::fromThenOn);
      EXPECT_TRUE(!logger->lines().empty() || fault == HostFault::lineLost) << describe(fault);
      expectNoTokenInTexts(answers, std::string(describe(fault)));
      logger->clear();
    }
    expectNoTokenInFiles(calls + " with every fault");
  }
}

TEST_F(HostSecretsTest, WhateverFailsOnce) {
  ask(Until::answered);
  const auto calls = host->calls();
  ASSERT_GT(calls.size(), 40U);
  constexpr std::size_t step = tests::codeIsSlow ? 3 : 1;
  for (std::size_t call = 0; call < calls.size(); call += step) {
    std::string answers;
    for (const HostFault fault : testkit::faultsOf(calls[call].operation)) {
      answers += askWith(call, fault, HostFaults::Lasting::once);
    }
    EXPECT_FALSE(logger->lines().empty());
    expectNoTokenInTexts(answers, "call " + std::to_string(call));
    logger->clear();
    if (call % 48 == 0) expectNoTokenInFiles("after call " + std::to_string(call));  // takes its time
  }
  expectNoTokenInFiles("in the end");
}

TEST_F(HostSecretsTest, NothingStaysBehindWhenAllIsClosed) {
  const auto answers = ask(Until::answered);
  host.reset();
  real.reset();
  expectNoToken(answers, "closed");
}

}  // namespace
}  // namespace vellora::faults
