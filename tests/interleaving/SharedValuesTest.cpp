#include <memory>
#include <string>
#include <utility>

#include "tests/interleaving/InterleavingTest.h"
#include "tests/interleaving/Plain.h"
#include "tests/interleaving/Tally.h"
#include "tests/interleaving/ThreadEachQueue.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/SharedRuns.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Guarded.h"
#include "vellora/Platform/Values/Remembered.h"

namespace vellora::tests::interleaving {
namespace {

/// Of values that threads share: remembered and guarded ones, shared runs, and what hops through queues.
class SharedValuesTest : public InterleavingTest {};

TEST_F(SharedValuesTest, WhatIsRememberedFollowsFromTheBytesThoughOthersTakeItsPlace) {
  tryEach([] {
    const Remembered<std::string> remembered;
    const Data one("one");
    const Data other("other");
    const auto ask = [&](const Data& bytes) {
      const auto made = remembered.madeOf(
          bytes, [](const Data& from) { return Result<std::string>(std::string(from.view())); });
      expect(made.value() && *made.value() == bytes.view(), "what is made follows from the bytes");
    };
    ask(one);
    atOnce({[&] { ask(one); }, [&] { ask(other); }, [&] { remembered.forget(); }});
  });
}

TEST_F(SharedValuesTest, EachValueThatIsExchangedIsGivenBackOnce) {
  tryEach([] {
    Guarded<int> guarded(1);
    Plain<int> one(0);
    Plain<int> other(0);
    atOnce({[&] { one.changed() = guarded.exchange(2); }, [&] { other.changed() = guarded.exchange(4); },
            [&] { guarded.replace(1, 1); }});
    expect(one.get() + other.get() + guarded.value() == 7, "each value is somewhere once");
  });
}

/// How two share a run, of which one may leave.
struct TwoWhoJoin {
  SharedRuns<int> runs;
  Promise<int> fetched;
  Plain<int> starts{0};
  Plain<int> values{0};
  Plain<int> others{0};
  AnyCancellable token;
  AnyCancellable other;

  AnyCancellable join(Plain<int>& noted) {
    return runs
        .joined("key",
                [this] {
                  ++starts.changed();
                  return Publisher<int>::ofPromise(fetched);
                })
        .sink([&noted](int) { ++noted.changed(); });
  }
};

TEST_F(SharedValuesTest, TwoWhoJoinAtOnceShareOneRun) {
  tryEach([] {
    TwoWhoJoin two;
    atOnce({[&] { two.token = two.join(two.values); }, [&] { two.other = two.join(two.others); }});
    two.fetched.succeed(1);
    expect(two.starts.get() == 1, "it is started once");
    expect(two.values.get() == 1 && two.others.get() == 1, "each gets the value");
  });
}

TEST_F(SharedValuesTest, WhoJoinsBesideTheResultGetsItOrAnother) {
  tryEach([] {
    TwoWhoJoin two;
    two.token = two.join(two.values);
    atOnce({[&] { two.fetched.succeed(1); }, [&] { two.other = two.join(two.others); }});
    expect(two.values.get() == 1 && two.others.get() == 1, "each gets a value once");
  });
}

TEST_F(SharedValuesTest, WhoJoinsBesideTheLastWhoLeavesIsNotLeftAlone) {
  tryEach([] {
    TwoWhoJoin two;
    two.token = two.join(two.values);
    atOnce({[&] { two.token.cancel(); }, [&] { two.other = two.join(two.others); }});
    two.fetched.succeed(1);
    expect(two.values.get() == 0 && two.others.get() == 1, "who has joined gets the value");
  });
}

TEST_F(SharedValuesTest, AConcurrentQueueDeliversOneAtATimeAndTheEndLast) {
  tryEach([] {
    const auto values = std::make_shared<Plain<int>>(0);
    Publisher<int>::sequence({1, 2})
        .receive(std::make_shared<ThreadEachQueue>())
        .sink([values](int value) { expect(++values->changed() == value, "they come in their order"); },
              [values, tally = std::make_shared<Tally>(1, 1)](const Completion&) {
                expect(values->get() == 2, "the end comes last");
                tally->note();
              })
        .detach();
  });
}

TEST_F(SharedValuesTest, AStartOnAQueueMayMeetItsCancellation) {
  tryEach([] {
    const auto isCancelled = std::make_shared<bool>(false);
    const auto tally = std::make_shared<Tally>(0, 1);
    const auto token = Publisher<int>::just(1)
                           .subscribe(std::make_shared<ThreadEachQueue>())
                           .sink([isCancelled, tally](int) {
                             expect(!*isCancelled, "nothing comes afterwards");
                             tally->note();
                           });
    atOnce({[&] {
      token.cancel();
      *isCancelled = true;
    }});
  });
}

}  // namespace
}  // namespace vellora::tests::interleaving
