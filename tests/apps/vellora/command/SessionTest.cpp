#include "apps/vellora/command/Session.h"

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "tests/apps/vellora/CommandFixture.h"
#include "tests/support/Requests.h"

namespace vellora::command {
namespace {

using testing::HasSubstr;
using testing::Optional;
using testing::StartsWith;

constexpr auto longEnough = std::chrono::seconds(60);
constexpr auto soon = std::chrono::milliseconds(30);
constexpr const char* themePath = "/services/data/v50.0/theme";
constexpr const char* sObjectsPath = "/services/data/v50.0/sobjects";

/// How the answer to `path` is blamed.
std::string answerTo(const std::string& path) {
  return "the answer of the server to " + path + " (status 200) cannot be used: ";
}

/// A session in this process, whose requests are under way for as long as a test needs.
class SessionTest : public CommandFixture {
 protected:
  void SetUp() override {
    CommandFixture::SetUp();
    session = openSession();
  }

  [[nodiscard]] std::unique_ptr<Session> openSession() const {
    Arguments arguments;
    arguments.server = server->url();
    arguments.cacheFile = cacheFile;
    return std::get<0>(Session::open(arguments));
  }

  /// Sends a request and waits until it is at the server. Its answer is read by `read`, after which the
  /// future is ready.
  [[nodiscard]] std::future<void> send(
      const std::string& path, std::function<void()> read = [] {}) const {
    const auto done = std::make_shared<std::promise<void>>();
    const std::size_t before = server->requests().size();
    const auto completion = [done, read = std::move(read)](const auto&, const auto&, const auto&) {
      read();
      done->set_value();
    };
    session->api().network->sendRequest(tests::get(path), completion);
    EXPECT_TRUE(server->waitForRequests(before + 1));
    return done->get_future();
  }

  static bool ends(const std::future<void>& answer) {
    return answer.wait_for(longEnough) == std::future_status::ready;
  }

  /// What the library does when it cannot use what it reads.
  void complain(const std::string& line) const {
    session->api().logger->log(line, CorvaneSDK::LogLevel::error);
  }

  std::unique_ptr<Session> session;
};

TEST_F(SessionTest, BlamesTheAnswerThatIsReadWhileAnOlderRequestHasNone) {
  server->setFault(themePath, Fault::never());
  server->setFault(sObjectsPath, Fault::errorBody());
  const auto older = send(themePath);
  ASSERT_TRUE(ends(send(sObjectsPath, [this] { complain("no list"); })));
  EXPECT_EQ(session->failure(), answerTo(sObjectsPath) + "no list");
  EXPECT_EQ(session->unanswered(), themePath);
}

TEST_F(SessionTest, BlamesTheOneOfTwoAnswersThatCannotBeUsedWhicheverComesFirst) {
  for (const bool badIsFirst : {true, false}) {
    session = openSession();
    server->setFault(themePath, Fault::errorBody().after(badIsFirst ? soon : 2 * soon));
    server->setFault(sObjectsPath, Fault::delay(badIsFirst ? 2 * soon : soon));
    const auto bad = send(themePath, [this] { complain("no themes"); });
    const auto good = send(sObjectsPath);
    ASSERT_TRUE(ends(bad) && ends(good));
    EXPECT_EQ(session->failure(), answerTo(themePath) + "no themes") << badIsFirst;
  }
}

TEST_F(SessionTest, AnErrorStatusIsBlamedInTheServersOwnWords) {
  server->setFault(themePath, Fault::fail(401));
  ASSERT_TRUE(ends(send(themePath, [this] { complain("no themes"); })));
  EXPECT_EQ(session->failure(), "401 for /services/data/v50.0/theme: The server was told to fail.");
}

TEST_F(SessionTest, OfTwoAnswersThatCannotBeUsedTheFirstStands) {
  ASSERT_TRUE(ends(send(sObjectsPath, [this] { complain("no list"); })));
  ASSERT_TRUE(ends(send(themePath, [this] { complain("no themes"); })));
  EXPECT_EQ(session->failure(), answerTo(sObjectsPath) + "no list");
}

TEST_F(SessionTest, BlamesTheLatestAnswerForWhatIsReadOnAnotherThread) {
  server->setFault(themePath, Fault::never());
  complain("before any answer");
  EXPECT_EQ(session->failure(), std::nullopt);
  const auto older = send(themePath);
  ASSERT_TRUE(ends(send(sObjectsPath)));
  complain("no list");
  EXPECT_EQ(session->failure(), answerTo(sObjectsPath) + "no list");
}

TEST_F(SessionTest, TheOldestOfTheRequestsWithoutAnAnswerIsTheOneThatIsWaitedFor) {
  server->setFault(RecordsServer::everything, Fault::never());
  EXPECT_EQ(session->unanswered(), std::nullopt);
  const auto older = send(themePath);
  const auto younger = send(sObjectsPath);
  EXPECT_EQ(session->unanswered(), themePath);
}

TEST_F(SessionTest, NamesTheRequestThatGotNoAnswerWhileAnotherIsUnderWay) {
  server->setFault(themePath, Fault::never());
  server->setFault(sObjectsPath, Fault::drop());
  const auto older = send(themePath);
  ASSERT_TRUE(ends(send(sObjectsPath)));
  EXPECT_THAT(session->failure(), Optional(HasSubstr(sObjectsPath)));
  EXPECT_EQ(session->unanswered(), themePath);
}

TEST_F(SessionTest, TheListThatTheLibraryCannotReadIsBlamedThoughBothAreUnderWay) {
  for (const std::string bad : {themePath, sObjectsPath}) {
    const std::string good = bad == themePath ? sObjectsPath : themePath;
    for (const bool badIsFirst : {true, false}) {
      server->setFault(bad, Fault::garbage().after(badIsFirst ? soon : 2 * soon));
      server->setFault(good, Fault::delay(badIsFirst ? 2 * soon : soon));
      const auto ended = run({"--cache-timeout", "0", "status"});
      EXPECT_EQ(ended.exitCode, 5);
      EXPECT_THAT(ended.err, StartsWith("vellora: loading failed: " + answerTo(bad))) << badIsFirst;
    }
  }
}

TEST_F(SessionTest, SettlesOnceTheAnswersThatCameHaveBeenRead) {
  session->settle();  // with nothing under way, and with a request that has no answer
  server->setFault(themePath, Fault::never());
  const auto unanswered = send(themePath);
  session->settle();

  std::promise<void> reading;
  std::promise<void> mayEnd;
  const auto answer = send(sObjectsPath, [&] {
    reading.set_value();
    mayEnd.get_future().wait();
  });
  reading.get_future().wait();
  const auto settled = std::async(std::launch::async, [this] { session->settle(); });
  EXPECT_EQ(settled.wait_for(soon), std::future_status::timeout);
  mayEnd.set_value();
  EXPECT_TRUE(ends(answer));
  settled.wait();
}

}  // namespace
}  // namespace vellora::command
