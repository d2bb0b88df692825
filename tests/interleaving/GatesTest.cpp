#include <memory>

#include "tests/interleaving/InterleavingTest.h"
#include "tests/interleaving/Plain.h"
#include "tests/interleaving/Tally.h"
#include "tests/interleaving/ThreadEachQueue.h"
#include "vellora/Platform/Publishers/SerialGate.h"
#include "vellora/Platform/Queues/BoundedQueue.h"
#include "vellora/Platform/Queues/CallbackGate.h"
#include "vellora/Platform/Queues/DispatchGroup.h"

namespace vellora::tests::interleaving {
namespace {

/// Of gates, groups and bounded queues.
class GatesTest : public InterleavingTest {};

TEST_F(GatesTest, ActionsOfThreeThreadsRunOneAtATime) {
  tryEach([] {
    SerialGate gate;
    Plain<int> ran(0);
    const auto run = [&] { gate.run([&] { ++ran.changed(); }); };
    atOnce({run, run, run});
    expect(ran.get() == 3, "each runs once");
  });
}

TEST_F(GatesTest, WhatIsLeftAtTheGateRunsThoughAnotherIsInside) {
  tryEach([] {
    SerialGate gate;
    Plain<int> ran(0);
    atOnce({[&] {
              if (!gate.tryRun([&] { ++ran.changed(); })) gate.run([&] { ++ran.changed(); });
            },
            [&] {
              gate.enqueue([&] { ++ran.changed(); });
              gate.drain();
            }});
    expect(ran.get() == 2, "each runs once");
  });
}

TEST_F(GatesTest, NoCallbackRunsBehindTheEndOfClosing) {
  tryEach([] {
    auto gate = std::make_shared<CallbackGate>();
    auto used = std::make_unique<Plain<int>>(0);
    atOnce({[&, own = gate] { own->run([&] { ++used->changed(); }); },
            [&, own = gate] {
              own->close();
              ++used->changed();  // what callbacks use is no longer used
              used.reset();
            }});
  });
}

TEST_F(GatesTest, TwoThatCloseAGateWaitForTheCallback) {
  tryEach([] {
    CallbackGate gate;
    Plain<int> used(0);
    Plain<int> one(0);
    Plain<int> other(0);
    atOnce({[&] { gate.run([&] { ++used.changed(); }); },
            [&] {
              gate.close();
              one.changed() = used.get();
            },
            [&] {
              gate.close();
              other.changed() = used.get();
            }});
    expect(one.get() == other.get(), "both see the same");
  });
}

TEST_F(GatesTest, ACallbackMayCloseTheGateWhileAnotherRuns) {
  tryEach([] {
    CallbackGate gate;
    Plain<int> used(0);
    atOnce({[&] { gate.run([&] { ++used.changed(); }); },
            [&] {
              gate.run([&] {
                expect(gate.isInside(), "it knows where it is");
                gate.close();
                ++used.changed();
              });
            }});
    expect(gate.isClosed(), "the gate is closed");
  });
}

TEST_F(GatesTest, TheLastOfTwoWhoLeaveNotifiesOnce) {
  tryEach([] {
    const DispatchGroup group;
    const auto one = std::make_shared<Plain<int>>(0);
    const auto other = std::make_shared<Plain<int>>(0);
    group.enter();
    group.enter();
    group.notify(std::make_shared<ThreadEachQueue>(), [one, other, tally = std::make_shared<Tally>(1, 1)] {
      expect(one->get() + other->get() == 2, "both have left");
      tally->note();
    });
    const auto leave = [&](Plain<int>& mark) {
      mark.changed() = 1;
      group.leave();
    };
    atOnce({[&] { leave(*one); }, [&] { leave(*other); }});
  });
}

TEST_F(GatesTest, WhoAsksToBeNotifiedBesideTheLastLeaveIsNotifiedOnce) {
  tryEach([] {
    const DispatchGroup group;
    const auto left = std::make_shared<Plain<int>>(0);
    const auto tally = std::make_shared<Tally>(1, 1);
    group.enter();
    atOnce({[&] {
              left->changed() = 1;
              group.leave();
            },
            [&, tally] {
              group.notify(std::make_shared<ThreadEachQueue>(), [left, tally] {
                expect(left->get() == 1, "the task has left");
                tally->note();
              });
            }});
  });
}

TEST_F(GatesTest, ABoundedQueueRunsEachPieceAndOneAtATime) {
  tryEach([] {
    const auto ran = std::make_shared<Plain<int>>(0);
    const auto threads = std::make_shared<ThreadEachQueue>();
    const auto bounded = std::make_shared<BoundedQueue>(threads, 1);
    const DispatchGroup both;
    const auto submit = [&] { both.async(bounded, [ran] { ++ran->changed(); }); };
    both.enter();
    both.notify(threads, [ran, tally = std::make_shared<Tally>(1, 1)] {
      expect(ran->get() == 2, "each piece has run");
      tally->note();
    });
    atOnce({submit, submit});
    both.leave();
  });
}

}  // namespace
}  // namespace vellora::tests::interleaving
