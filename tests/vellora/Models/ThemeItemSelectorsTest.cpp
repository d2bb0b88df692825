#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <functional>
#include <iterator>
#include <limits>
#include <random>

#include "tests/support/SlowBuild.h"
#include "vellora/Models/ThemeItem.h"

namespace vellora {
namespace {

/// The same choices in the plainest way: filter, sort stably, take the first.
namespace plain {

std::optional<std::string> color(const ThemeItem& item, const std::string& theme) {
  if (!item.colors || item.colors->empty()) return std::nullopt;
  std::vector<ColorInfo> matching;
  std::copy_if(item.colors->begin(), item.colors->end(), std::back_inserter(matching),
               [&](const auto& info) { return info.theme == theme; });
  return matching.empty() ? item.colors->front().color : matching.front().color;
}

std::optional<std::string> svgIconUrl(const ThemeItem& item, const std::string& theme) {
  std::vector<IconInfo> matching;
  std::copy_if(item.icons.begin(), item.icons.end(), std::back_inserter(matching),
               [&](const auto& icon) { return icon.theme == theme && icon.contentType == "image/svg+xml"; });
  if (matching.empty()) return std::nullopt;
  return matching.front().url;
}

template <class Order>
std::optional<std::string> firstOf(const ThemeItem& item, const std::string& theme, Order order) {
  std::vector<IconInfo> sorted;
  std::copy_if(item.icons.begin(), item.icons.end(), std::back_inserter(sorted),
               [&](const auto& icon) { return icon.theme == theme && icon.width && *icon.width > 0; });
  if (sorted.empty()) sorted = item.icons;
  std::stable_sort(sorted.begin(), sorted.end(), [&](const auto& left, const auto& right) {
    return order(left.width.value_or(0), right.width.value_or(0));
  });
  if (sorted.empty()) return std::nullopt;
  return sorted.front().url;
}

}  // namespace plain

/// Makes entries out of few values, so that equal widths, missing themes and fallbacks are frequent.
class RandomEntries {
 public:
  ThemeItem next() {
    ThemeItem item{"Account", std::nullopt, {}};
    if (below(5) > 0) item.colors.emplace();
    for (auto count = item.colors ? below(5) : 0; count > 0; --count) {
      item.colors->push_back(
          {"color " + std::to_string(count), below(2) == 0 ? "primary" : "secondary", theme()});
    }
    for (auto count = below(8); count > 0; --count) {
      item.icons.push_back(
          {below(3) == 0 ? "image/svg+xml" : "image/png", theme(), "url " + std::to_string(count), width()});
    }
    return item;
  }

  std::string theme() { return std::array{"light", "dark", "Light", ""}[below(4)]; }

 private:
  std::size_t below(std::size_t limit) { return random_() % limit; }

  std::optional<std::int64_t> width() {
    constexpr auto least = std::numeric_limits<std::int64_t>::min();
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    constexpr std::array<std::int64_t, 8> widths{0, 16, 16, 32, 120, -1, least, most};
    return below(4) == 0 ? std::nullopt : std::optional(widths[below(widths.size())]);
  }

  std::mt19937 random_{20'240'611};
};

TEST(ThemeItemSelectorsTest, ChooseWhatFilteringSortingAndTakingTheFirstChooses) {
  constexpr int rounds = tests::codeIsSlow ? 20'000 : 100'000;
  RandomEntries entries;
  int fallbacks = 0;
  for (int round = 0; round < rounds; ++round) {
    const auto item = entries.next();
    const auto theme = entries.theme();
    ASSERT_EQ(item.color(theme), plain::color(item, theme)) << round;
    ASSERT_EQ(item.svgIconUrl(theme), plain::svgIconUrl(item, theme)) << round;
    ASSERT_EQ(item.smallIconUrl(theme), plain::firstOf(item, theme, std::less<>())) << round;
    ASSERT_EQ(item.largeIconUrl(theme), plain::firstOf(item, theme, std::greater<>())) << round;
    const auto isCandidate = [&](const auto& icon) {
      return icon.theme == theme && icon.width.value_or(0) > 0;
    };
    fallbacks += std::none_of(item.icons.begin(), item.icons.end(), isCandidate) ? 1 : 0;
  }
  EXPECT_GT(fallbacks, 10'000);
  EXPECT_LT(fallbacks, 90'000);
}

TEST(ThemeItemSelectorsTest, LeaveTheEntryAsItIs) {
  const ThemeItem item{"Account",
                       std::vector<ColorInfo>{{"A", "c", "T2"}, {"B", "c", "T1"}},
                       {{"image/png", "T1", "wide", 9}, {"image/png", "T1", "narrow", 1}}};
  const auto before = item;
  EXPECT_EQ(item.color("T1"), "B");
  EXPECT_EQ(item.smallIconUrl("T1"), "narrow");
  EXPECT_EQ(item.largeIconUrl("T1"), "wide");
  EXPECT_EQ(item, before);
}

}  // namespace
}  // namespace vellora
