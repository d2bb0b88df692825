#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include "hostkit/network/CoalescingNetwork.h"
#include "tests/interleaving/InterleavingTest.h"
#include "tests/interleaving/Mutex.h"
#include "tests/interleaving/Plain.h"
#include "tests/support/Requests.h"

namespace vellora::tests::interleaving {
namespace {

/// Keeps each request until it is answered or dropped.
class Wire final : public CorvaneSDK::Network {
 public:
  void sendRequest(const CorvaneSDK::NetRequest& /*request*/, Completion completion) override {
    const std::lock_guard lock(mutex_);
    kept_.push_back(std::move(completion));
  }

  [[nodiscard]] std::vector<Completion> taken() {
    const std::lock_guard lock(mutex_);
    return std::exchange(kept_, {});
  }

  void answer() {
    for (const auto& completion : taken()) completion(Data("{}"), std::nullopt, std::nullopt);
  }

 private:
  Mutex mutex_;
  std::vector<Completion> kept_;
};

class CoalescingTest : public InterleavingTest {
 protected:
  struct Two {
    std::shared_ptr<Wire> wire = std::make_shared<Wire>();
    std::optional<hostkit::CoalescingNetwork> network{std::in_place, wire};
    Plain<int> one{0};
    Plain<int> other{0};

    void send(Plain<int>& answers) {
      network->sendRequest(get("/theme"),
                           [&answers](const auto&, const auto&, const auto&) { ++answers.changed(); });
    }
  };
};

TEST_F(CoalescingTest, TwoThatAreSentAtOnceAreAnsweredOnceEach) {
  tryEach([] {
    Two two;
    atOnce({[&] { two.send(two.one); }, [&] { two.send(two.other); }});
    two.wire->answer();
    expect(two.one.get() == 1 && two.other.get() == 1, "each is answered once");
  });
}

TEST_F(CoalescingTest, OneThatIsSentBesideAnAnswerIsAnswered) {
  tryEach([] {
    Two two;
    two.send(two.one);
    atOnce({[&] { two.wire->answer(); }, [&] { two.send(two.other); }});
    two.wire->answer();
    expect(two.one.get() == 1 && two.other.get() == 1, "each is answered once");
  });
}

TEST_F(CoalescingTest, WhoComesBehindADropIsNotLeftWaiting) {
  tryEach([] {
    Two two;
    two.send(two.one);
    atOnce({[&] { static_cast<void>(two.wire->taken()); }, [&] { two.send(two.other); }});
    Plain<int> third(0);
    two.send(third);
    two.wire->answer();
    expect(third.get() == 1, "the next is sent, or joins one that is under way");
    expect(two.other.get() <= 1, "it is answered once at most");
    expect(two.one.get() == 0, "the one that was dropped is not answered");
  });
}

TEST_F(CoalescingTest, AnAnswerMayMeetTheDestructionOfTheNetwork) {
  tryEach([] {
    Two two;
    two.send(two.one);
    atOnce({[&] { two.wire->answer(); }, [&] { two.network.reset(); }});
    expect(two.one.get() == 1, "it is answered all the same");
  });
}

}  // namespace
}  // namespace vellora::tests::interleaving
