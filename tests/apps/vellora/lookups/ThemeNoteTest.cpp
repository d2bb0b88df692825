#include "apps/vellora/lookups/ThemeNote.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "hostkit/cache/memory/MemoryCache.h"
#include "vellora/Host/CacheTable.h"
#include "vellora/Host/Table.h"

namespace vellora::command {
namespace {

/// A cache whose list of themes is `themes`.
class ThemeNoteTest : public testing::Test {
 protected:
  void cacheList(std::string themes) {
    const auto table = CorvaneSDK::CacheTable::create(
        cache, CorvaneSDK::Table::emptyWithKey("OPS_ThemesCacheTable", CorvaneSDK::Table::MaxAge::sevenDays));
    table->upsert({Data(std::move(themes)), {{"cacheEntryType", "themes"}}, std::nullopt});
  }

  hostkit::MemoryCache cache;
};

TEST_F(ThemeNoteTest, AThemeThatTheServerDoesNotHaveIsToldWithThoseThatItHas) {
  cacheList(R"([{"name":"A","colors":[{"color":"1","context":"primary","theme":"light"}],"icons":[]},
                {"name":"B","icons":[{"contentType":"image/png","theme":"dark","url":"u"}]}])");
  EXPECT_EQ(themeNote("light", cache), std::nullopt);
  EXPECT_EQ(themeNote("dark", cache), std::nullopt) << "one that has icons only";
  EXPECT_EQ(themeNote("Light", cache),
            "the server has no theme Light; it has dark, light, whose colours and icons stand in");
}

TEST_F(ThemeNoteTest, WithoutAListNothingIsKnownOfThemes) {
  EXPECT_EQ(themeNote("light", cache), std::nullopt);
  cacheList(R"([{"name":"A","icons":[]}])");
  EXPECT_EQ(themeNote("light", cache), std::nullopt) << "no entry names one";
}

TEST_F(ThemeNoteTest, OfManyThemesTenAreNamed) {
  std::string colors;
  for (char name = 'a'; name <= 'l'; ++name)
    colors +=
        std::string(colors.empty() ? "" : ",") + R"({"color":"1","context":"c","theme":")" + name + "\"}";
  cacheList(R"([{"name":"A","icons":[],"colors":[)" + colors + "]}]");
  EXPECT_EQ(themeNote("x", cache),
            "the server has no theme x; it has a, b, c, d, e, f, g, h, i, j and 2 more, whose colours and "
            "icons stand in");
}

}  // namespace
}  // namespace vellora::command
