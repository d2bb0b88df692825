#include "apps/vellora/explore/IconStore.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "testkit/StubNetwork.h"

namespace vellora::explore {
namespace {

using testkit::StubNetwork;

class IconStoreTest : public testing::Test {
 protected:
  [[nodiscard]] std::optional<std::string> admit(std::size_t number) const {
    return store->admit("/icons/" + std::to_string(number) + ".svg");
  }

  [[nodiscard]] bool isShown(const std::string& id) const {
    bool shown = false;
    store->fetch(id, [&shown](const std::optional<Image>& image) { shown = image.has_value(); });
    return shown;
  }

  /// An image of the largest size.
  [[nodiscard]] static std::string largest() {
    const std::string image = "<svg></svg>";
    return image + std::string(IconStore::mostBytes - image.size(), ' ');
  }

  const std::shared_ptr<StubNetwork> network = std::make_shared<StubNetwork>();
  const std::shared_ptr<IconStore> store =
      std::make_shared<IconStore>("https://records.example", "key", network);
};

TEST_F(IconStoreTest, AnAddressHasOneIdHoweverOftenItIsNamed) {
  EXPECT_EQ(admit(1), "key-0");
  EXPECT_EQ(admit(2), "key-1");
  EXPECT_EQ(admit(1), "key-0");
  EXPECT_EQ(store->admit("https://records.example/icons/1.svg"), "key-0");
}

TEST_F(IconStoreTest, TakesSoManyIconsAndNoMore) {
  for (std::size_t number = 0; number < IconStore::mostIcons; ++number) ASSERT_TRUE(admit(number));
  EXPECT_EQ(admit(IconStore::mostIcons), std::nullopt);
  EXPECT_EQ(admit(0), "key-0") << "which it has taken before";
}

TEST_F(IconStoreTest, KeepsSoManyBytesAndFetchesTheRestAnew) {
  network->answerPrefix("/icons/", StubNetwork::body(largest()));
  constexpr std::size_t kept = IconStore::mostBytesKept / IconStore::mostBytes;
  for (std::size_t number = 0; number <= kept; ++number) ASSERT_TRUE(isShown(admit(number).value()));
  for (const std::size_t number : {std::size_t{0}, kept - 1, kept})
    ASSERT_TRUE(isShown(admit(number).value()));
  EXPECT_EQ(network->count("/icons/0.svg"), 1U);
  EXPECT_EQ(network->count("/icons/" + std::to_string(kept - 1) + ".svg"), 1U);
  EXPECT_EQ(network->count("/icons/" + std::to_string(kept) + ".svg"), 2U);
}

}  // namespace
}  // namespace vellora::explore
