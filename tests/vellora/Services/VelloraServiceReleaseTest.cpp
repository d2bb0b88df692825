#include "tests/support/ListenedHost.h"
#include "tests/vellora/Services/ServiceFixture.h"

// A host may let go of the façade at any moment, also while the façade is calling it.

namespace vellora {
namespace {

class VelloraServiceReleaseTest : public tests::ServiceFixture {
 protected:
  /// Runs a prefetch and both presentation lookups, and lets go of the façade inside the host's call of that
  /// number, counted from 0. False when there were not as many calls.
  bool releaseInCall(std::size_t number) {
    std::size_t calls = 0;
    byId = {};
    byName = {};
    service.emplace(listenedApi([&](const std::string&) {
                      if (calls++ == number) service.reset();
                    }),
                    timeout, "light", queue);
    if (calls > number) service.reset();  // a façade under construction cannot be let go of yet
    if (service) service->objectPresentationInfoForIds({"001a", "00Bxx"}, into(byId));
    if (service) service->objectPresentationInfoForApiNames({"Account", "Contact"}, into(byName));
    runAll();
    const bool isReleased = calls > number;
    service.reset();
    runAll();
    return isReleased;
  }

  [[nodiscard]] std::shared_ptr<hostkit::StandardPlatformAPI> listenedApi(
      const tests::HostCallListener& listener) {
    const auto memory = std::make_shared<hostkit::MemoryCache>();
    held = memory;
    const auto host = tests::listenedHost(network, memory, listener);
    return std::make_shared<hostkit::StandardPlatformAPI>(host.network, host.cache, host.logger);
  }

  Received byId;
  Received byName;
  std::weak_ptr<hostkit::MemoryCache> held;
};

TEST_F(VelloraServiceReleaseTest, MayBeLetGoOfInsideAnyCallToItsHost) {
  std::size_t number = 0;
  while (releaseInCall(number)) {
    SCOPED_TRACE("call " + std::to_string(number));
    ASSERT_LE(byId.calls, 1);
    ASSERT_LE(byName.calls, 1);
    ASSERT_TRUE(held.expired()) << "something still holds the host";
    ++number;
  }
  EXPECT_GT(number, 50U);
  EXPECT_EQ(byId.calls, 1) << "nothing was let go of in the last round";
  EXPECT_EQ(byId.infos.size(), 2U);
  EXPECT_EQ(byName.infos.size(), 2U);
}

}  // namespace
}  // namespace vellora
