#include <memory>
#include <optional>
#include <utility>

#include "tests/interleaving/InterleavingTest.h"
#include "tests/interleaving/Plain.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/CancellableSlot.h"
#include "vellora/Platform/Publishers/Cancellables.h"
#include "vellora/Platform/Publishers/Promise.h"
#include "vellora/Platform/Publishers/Publisher.h"
#include "vellora/Platform/Publishers/Subject.h"
#include "vellora/Platform/Publishers/SubscriptionScope.h"

namespace vellora::tests::interleaving {
namespace {

/// Of tokens, their sets and slots, and the scopes behind them.
class TokensTest : public InterleavingTest {};

TEST_F(TokensTest, OneOfTwoEndsRunsTheTeardownsOnce) {
  tryEach([] {
    const SubscriptionScope scope;
    Plain<int> torn(0);
    Plain<int> ended(0);
    scope.add([&] { ++torn.changed(); });
    const auto end = [&] {
      if (scope.end()) ++ended.changed();
    };
    atOnce({end, end});
    expect(ended.get() == 1 && torn.get() == 1, "one of them ends it");
  });
}

TEST_F(TokensTest, ATeardownThatMeetsTheEndRunsOnce) {
  tryEach([] {
    const SubscriptionScope scope;
    Plain<int> torn(0);
    atOnce({[&] { scope.end(); }, [&] { scope.add([&] { ++torn.changed(); }); }});
    expect(torn.get() == 1, "it runs once");
    expect(scope.size() == 0, "nothing is left");
  });
}

TEST_F(TokensTest, ATeardownThatIsForgottenBesideTheEndRunsOnceAtMost) {
  tryEach([] {
    const SubscriptionScope scope;
    Plain<int> torn(0);
    const auto registration = scope.add([&] { ++torn.changed(); });
    scope.add([] {});
    atOnce({[&] { scope.end(); }, [&] { scope.remove(registration); }});
    expect(torn.get() <= 1 && scope.size() == 0, "it runs once at most");
  });
}

TEST_F(TokensTest, AChildMayGoWhileItsParentEnds) {
  tryEach([] {
    const SubscriptionScope parent;
    std::optional<SubscriptionScope> child = parent.child();
    Plain<int> torn(0);
    child->add([&] { ++torn.changed(); });
    atOnce({[&] { parent.end(); }, [&] { child.reset(); }});
    expect(torn.get() <= 1, "it is torn down once at most");
    expect(parent.size() == 0, "the parent keeps no mark");
  });
}

TEST_F(TokensTest, AChildThatIsMadeBesideTheEndHasEnded) {
  tryEach([] {
    const SubscriptionScope parent;
    std::optional<SubscriptionScope> child;
    atOnce({[&] { parent.end(); }, [&] { child = parent.child(); }});
    expect(!child->isActive(), "it has ended, too");
  });
}

TEST_F(TokensTest, ATokenThatIsInsertedBesideTheEndOfItsOwnerIsCancelled) {
  tryEach([] {
    const Subject<int> subject;
    const auto held = std::make_shared<int>(0);
    auto owner = std::make_shared<Cancellables>();
    AnyCancellable token = subject.publisher().sink([held](int) { expect(false, "nothing is delivered"); });
    atOnce({[&, own = owner]() mutable {
              own->insert(std::move(token));
              own.reset();
            },
            [&] { owner->close(); }});
    subject.send(1);
    expect(held.use_count() == 1, "the subscription is let go of");
    expect(owner->size() == 0, "nothing is left");
  });
}

TEST_F(TokensTest, ASubscriptionThatEndsWhileItIsInsertedLeavesNothing) {
  tryEach([] {
    const Promise<int> promise;
    Cancellables owner;
    Plain<int> ends(0);
    AnyCancellable token =
        Publisher<int>::ofPromise(promise).sink([](int) {}, [&](const Completion&) { ++ends.changed(); });
    atOnce({[&] { promise.succeed(1); }, [&] { owner.insert(std::move(token)); }});
    expect(ends.get() == 1, "it ends");
    expect(owner.size() == 0, "nothing is left");
  });
}

TEST_F(TokensTest, WhatStartsBesideTheEndOfItsOwnerIsCancelled) {
  tryEach([] {
    const Subject<int> subject;
    const auto held = std::make_shared<int>(0);
    const Cancellables owner;
    bool isClosed = false;
    atOnce({[&] {
              owner.close();
              isClosed = true;
            },
            [&] {
              subject.publisher().sink(
                  owner, [&, held](int) { expect(!isClosed, "nothing comes afterwards"); },
                  [held](const Completion&) {});
            },
            [&] { subject.send(1); }});
    expect(held.use_count() == 1 && owner.size() == 0, "nothing is left");
  });
}

TEST_F(TokensTest, OfTwoThatReplaceEachOtherOneStays) {
  tryEach([] {
    const Subject<int> subject;
    CancellableSlot slot;
    Plain<int> values(0);
    const auto replace = [&] {
      slot.replace([&] { return subject.publisher().sink([&](int) { ++values.changed(); }); });
    };
    atOnce({replace, replace});
    subject.send(1);
    expect(values.get() == 1, "one subscription stays");
  });
}

}  // namespace
}  // namespace vellora::tests::interleaving
