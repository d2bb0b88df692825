#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tests/interleaving/InterleavingTest.h"
#include "tests/interleaving/NewPool.h"
#include "tests/interleaving/Thread.h"
#include "tests/testkit/TinyCache.h"
#include "vellora/Host/PlatformAPI.h"
#include "vellora/Platform/Queues/DispatchQueue.h"
#include "vellora/Platform/Queues/ThreadPool.h"
#include "vellora/Services/VelloraService.h"

namespace vellora::tests::interleaving {
namespace {

/// Of the façade: its end on one thread with a lookup on others.
class FacadeTest : public InterleavingTest {
 protected:
  static constexpr std::string_view sObjects = "/services/data/v50.0/sobjects";
  static constexpr std::string_view themes = "/services/data/v50.0/theme";

  /// A host whose requests wait until they are answered, or are answered inside the call. Its cache needs no
  /// lock: no thread makes way inside.
  class Host final : public CorvaneSDK::PlatformAPI,
                     public CorvaneSDK::Network,
                     public CorvaneSDK::Logger,
                     public std::enable_shared_from_this<Host> {
   public:
    std::shared_ptr<CorvaneSDK::Network> network() override { return shared_from_this(); }
    std::shared_ptr<CorvaneSDK::Cache> cache() override { return cache_; }
    std::shared_ptr<CorvaneSDK::Logger> logger() override { return shared_from_this(); }

    void log(std::string_view, CorvaneSDK::LogLevel) override {
      if (const auto act = std::exchange(whenLogged, nullptr)) act();
    }
    void sendRequest(const CorvaneSDK::NetRequest& request, Completion completion) override {
      goesOnBehindTheEnd = goesOnBehindTheEnd || isOver;
      const std::string path = request.base().url.absoluteString();
      waiting_.emplace(path, std::move(completion));
      if (answersAtOnce) answer(path);
    }

    /// Answers the request for `path` with a list of one type.
    void answer(std::string_view path) {
      goesOnBehindTheEnd = goesOnBehindTheEnd || isOver;
      const auto request = waiting_.extract(std::string(path));
      expect(!request.empty(), "it has been asked for");
      request.mapped()(Data(std::string(path == themes ? themesBody : sObjectsBody)), {}, {});
    }

    bool answersAtOnce = false;
    bool isOver = false;              ///< the façade has gone
    bool goesOnBehindTheEnd = false;  ///< a request was sent, or its answer begun, when it had gone
    /// Run once, inside the next line that is logged.
    std::function<void()> whenLogged;

   private:
    static constexpr std::string_view sObjectsBody =
        R"({"sobjects":[{"name":"Account","label":"Account","labelPlural":"Accounts","createable":true}]})";
    static constexpr std::string_view themesBody = R"({"themeItems":[{"name":"Account","icons":[]}]})";

    const std::shared_ptr<CorvaneSDK::Cache> cache_ = std::make_shared<testkit::TinyCache>();
    std::map<std::string, Completion> waiting_;
  };

  /// Where the prefetch never begins: all requests are the lookups'.
  class NoQueue final : public DispatchQueue {
   public:
    void async(Work) override {}
  };

  /// A façade with its host.
  struct Scene {
    /// Asks for what must be answered once at most. Behind the façade's end that may only be by a thread that
    /// was about to do so.
    void ask() {
      facade->objectPresentationInfoForApiNames({"Account"}, [this, own = held](const auto& infos) {
        expect(!host->goesOnBehindTheEnd, "nothing that goes on behind the end of the façade is answered");
        expect(infos.count("Account") == 1, "the answer is right");
        expect(++answers == 1, "it is answered once at most");
      });
    }
    void destroy() {
      isToEnd = true;
      facade.reset();
      host->isOver = true;
    }
    /// What is left when no thread goes on.
    void expectOver() const {
      expect(held.use_count() == 1, "the completion is let go of");
      expect(host.use_count() == 1, "the host is let go of");
    }

    detail::ThreadPool& pool = newPool();
    const std::shared_ptr<Host> host = std::make_shared<Host>();
    bool isToEnd = false;  ///< the end of the façade has begun
    int answers = 0;
    const std::shared_ptr<int> held = std::make_shared<int>(0);
    std::unique_ptr<VelloraService> facade =
        std::make_unique<VelloraService>(host, 3600, "light", std::make_shared<NoQueue>());
  };
};

TEST_F(FacadeTest, TheLastAnswerOfALookupMeetsTheEndOfTheFacade) {
  tryEach([] {
    Scene scene;
    inOneOrder([&] { scene.ask(); });
    inOneOrder([&] { scene.host->answer(themes); });
    inOneOrder([&] { scene.pool.endIdleThreads(); });
    atOnce({[&] {
              scene.host->answer(sObjects);
              expect(scene.isToEnd || scene.answers == 1, "an answer that precedes the end is given");
            },
            [&] { scene.destroy(); }});
    scene.expectOver();
  });
}

// A façade may go once a call is inside: the call's first line in the log begins the end, which then comes
// beside all that follows. What is left when the call has returned comes in one order.
TEST_F(FacadeTest, ALookupWhoseCallTheEndOfTheFacadeOvertakesIsNotAnswered) {
  int answered = 0;
  tryEach(
      [&answered] {
        Scene scene;
        Thread end;
        scene.host->answersAtOnce = true;
        scene.host->whenLogged = [&] { end = Thread([&] { scene.destroy(); }); };
        scene.ask();
        inOneOrder([&] { end.join(); });
        scene.expectOver();
        answered += scene.answers;
      },
      1, 1);
  EXPECT_TRUE(answered > 0 || !isEachTriedOf(1)) << "the end never comes behind the answer";
}

}  // namespace
}  // namespace vellora::tests::interleaving
