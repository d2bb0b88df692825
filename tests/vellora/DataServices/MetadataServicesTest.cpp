#include "vellora/DataServices/MetadataServices.h"

#include <gtest/gtest.h>

#include <memory>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/SilentLogger.h"
#include "testkit/StubNetwork.h"
#include "vellora/DataServices/NamedList.h"

namespace vellora {
namespace {

using testkit::StubNetwork;

TEST(MetadataServicesTest, ReleasingMemoryLetsGoOfBothLists) {
  const auto network = std::make_shared<StubNetwork>();
  network->answer("/services/data/v50.0/sobjects", StubNetwork::body(R"({"sobjects":[]})"));
  network->answer("/services/data/v50.0/theme", StubNetwork::body(R"({"themeItems":[]})"));
  const MetadataServices services(
      {network, std::make_shared<hostkit::MemoryCache>(), std::make_shared<testkit::SilentLogger>()}, 300);
  const auto typesLoaded = services.sObjects->renewedSObjects().sink([](const auto&) {});
  const auto themesLoaded = services.themes->renewedThemes().sink([](const auto&) {});
  std::weak_ptr<const NamedList<SObject>> types;
  std::weak_ptr<const NamedList<ThemeItem>> themes;
  services.sObjects->allSObjects(Source::cacheOnly)
      .sink([&](const auto& cached) { types = cached; })
      .cancel();
  services.themes->allThemes(Source::cacheOnly).sink([&](const auto& cached) { themes = cached; }).cancel();
  EXPECT_FALSE(types.expired());
  EXPECT_FALSE(themes.expired());

  services.releaseMemory();

  EXPECT_TRUE(types.expired());
  EXPECT_TRUE(themes.expired());
}

}  // namespace
}  // namespace vellora
