#include <memory>
#include <optional>
#include <vector>

#include "tests/interleaving/InterleavingTest.h"
#include "tests/interleaving/Plain.h"
#include "vellora/Platform/Publishers/AnyCancellable.h"
#include "vellora/Platform/Publishers/Published.h"
#include "vellora/Platform/Publishers/Subject.h"

namespace vellora::tests::interleaving {
namespace {

using Values = std::vector<int>;

class PublishedPropertiesTest : public InterleavingTest {
 protected:
  static Published<int> property() { return Published<int>(1, Subject<WillChange>()); }

  /// Notes what comes in `values`: calls that overlap, or do not see each other, are data races.
  static AnyCancellable noted(const Published<int>& property, Plain<Values>& values) {
    return property.stream().sink([&](int value) { values.changed().push_back(value); });
  }
};

TEST_F(PublishedPropertiesTest, WhoSubscribesBesideAChangeMissesNothing) {
  tryEach([] {
    const auto property = PublishedPropertiesTest::property();
    Plain<Values> values;
    AnyCancellable token;
    atOnce({[&] { property.set(2); }, [&] { token = noted(property, values); }});
    expect(values.get() == Values{2} || values.get() == Values({1, 2}), "the new value comes last, and once");
  });
}

TEST_F(PublishedPropertiesTest, TwoSubscribersGetTwoChangesInOneOrder) {
  tryEach([] {
    const auto property = PublishedPropertiesTest::property();
    Plain<Values> one;
    Plain<Values> other;
    const auto ofOne = noted(property, one);
    const auto ofOther = noted(property, other);
    atOnce({[&] { property.set(2); }, [&] { property.set(3); }});
    expect(one.get() == other.get(), "both get the same");
    expect(one.get().size() == 3 && one.get().back() == property.value(), "the current value comes last");
  });
}

TEST_F(PublishedPropertiesTest, NothingBeginsBehindATokenThatIsDropped) {
  tryEach([] {
    const auto held = std::make_shared<int>(0);
    const auto property = PublishedPropertiesTest::property();
    bool isDropped = false;
    AnyCancellable token =
        property.stream().sink([&, held](int) { expect(!isDropped, "nothing comes afterwards"); });
    atOnce({[&] { property.set(2); },
            [&] {
              token = AnyCancellable();
              isDropped = true;
            },
            [&] { property.set(3); }});
    expect(held.use_count() == 1, "the subscriber is let go of");
  });
}

TEST_F(PublishedPropertiesTest, ASubscriberMayComeAndAnotherGoBesideAChange) {
  tryEach([] {
    const auto property = PublishedPropertiesTest::property();
    Plain<Values> goes;
    Plain<Values> comes;
    const auto going = noted(property, goes);
    AnyCancellable coming;
    atOnce({[&] { property.set(2); }, [&] { going.cancel(); }, [&] { coming = noted(property, comes); }});
    expect(!comes.get().empty() && comes.get().back() == 2, "who comes gets the new value last");
    expect(comes.get().size() <= 2, "who comes gets each value once");
  });
}

TEST_F(PublishedPropertiesTest, WhatIsDestroyedKeepsNobodyWhoSubscribes) {
  tryEach([] {
    const auto held = std::make_shared<int>(0);
    auto property = std::make_optional(PublishedPropertiesTest::property());
    const auto stream = property->stream();
    int values = 0;
    atOnce({[&] { property.reset(); }, [&] { stream.sink([&values, held](int) { ++values; }).detach(); }});
    expect(values <= 1, "at most the current value comes");
    expect(held.use_count() == 1, "the subscriber is let go of");
  });
}

TEST_F(PublishedPropertiesTest, WhatTwoSetAndLetGoOfDeliversBothValues) {
  tryEach([] {
    const auto held = std::make_shared<int>(0);
    auto one = std::make_optional(PublishedPropertiesTest::property());
    auto other = one;
    Plain<Values> values;
    const auto token = one->stream().sink([&, held](int value) { values.changed().push_back(value); });
    const auto setAndLetGo = [](auto& property, int value) {
      property->set(value);
      property.reset();
    };
    atOnce({[&] { setAndLetGo(one, 2); }, [&] { setAndLetGo(other, 3); }});
    expect(values.get() == Values({1, 2, 3}) || values.get() == Values({1, 3, 2}), "each value comes once");
    expect(held.use_count() == 1, "the subscriber is let go of");
  });
}

}  // namespace
}  // namespace vellora::tests::interleaving
