#include "apps/records-server/Icons.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <cstdint>
#include <string>

#include "apps/records-server/DataSet.h"
#include "apps/records-server/Endpoints.h"

namespace vellora::recordsserver {
namespace {

std::uint32_t numberAt(std::string_view bytes, std::size_t at) {
  std::uint32_t number = 0;
  for (std::size_t i = 0; i < 4; ++i) number = number << 8U | static_cast<unsigned char>(bytes[at + i]);
  return number;
}

/// How opaque the pixels of a PNG of ours are, row by row; checks its chunks on the way.
std::string coverOf(std::string_view png, std::uint32_t width) {
  EXPECT_TRUE(png.starts_with("\x89PNG\r\n\x1a\n"));
  std::string lines(width * (1 + width * 4), '\0');
  for (std::size_t at = 8; at < png.size();) {
    const auto length = numberAt(png, at);
    const auto body = png.substr(at + 4, length + 4);
    const auto* bytes = reinterpret_cast<const Bytef*>(body.data());
    EXPECT_EQ(numberAt(png, at + 8 + length), ::crc32(0, bytes, static_cast<uInt>(body.size())));
    if (body.starts_with("IHDR")) {
      EXPECT_EQ(numberAt(body, 4), width);
    }
    if (body.starts_with("IDAT")) {
      auto size = static_cast<uLongf>(lines.size());
      EXPECT_EQ(::uncompress(reinterpret_cast<Bytef*>(lines.data()), &size, bytes + 4, length), Z_OK);
      EXPECT_EQ(size, lines.size());
    }
    at += 12 + length;
  }
  std::string cover;
  for (std::uint32_t row = 0; row < width; ++row)
    for (std::uint32_t column = 0; column < width; ++column)
      cover += lines[row * (1 + width * 4) + 1 + column * 4 + 3];
  return cover;
}

TEST(IconsTest, DrawsVectorIconsInTheThemesInk) {
  const auto light = iconAt("/icons/light/task.svg");
  ASSERT_TRUE(light);
  EXPECT_EQ(light->contentType, "image/svg+xml");
  EXPECT_TRUE(light->image.view().starts_with("<svg xmlns=\"http://www.w3.org/2000/svg\""));
  EXPECT_NE(light->image.view().find("stroke=\"#ffffff\""), std::string_view::npos);
  EXPECT_NE(iconAt("/icons/dark/task.svg")->image.view().find("stroke=\"#14171f\""), std::string_view::npos);
}

TEST(IconsTest, DrawsRasterIconsOfTheWidthThatTheirNameTells) {
  const auto icon = iconAt("/icons/light/container_48_again.png");
  ASSERT_TRUE(icon);
  EXPECT_EQ(icon->contentType, "image/png");
  const auto cover = coverOf(icon->image.view(), 48);
  // The box is drawn from (3, 7) to (21, 18) of 24 units: two pixels each.
  EXPECT_EQ(cover[14 * 48 + 20], '\xff');  // on its upper edge
  EXPECT_EQ(cover[24 * 48 + 11], '\0');    // within it
  EXPECT_EQ(cover[2 * 48 + 20], '\0');     // above it
}

TEST(IconsTest, DrawsSomethingForTypesThatItDoesNotKnow) {
  EXPECT_EQ(iconAt("/icons/light/record00002.svg")->image, iconAt("/icons/light/record00003.svg")->image);
  EXPECT_NE(iconAt("/icons/light/record00002.svg")->image, iconAt("/icons/light/account.svg")->image);
}

TEST(IconsTest, HasNothingAtOtherPaths) {
  for (const auto* path : {"/icons/", "/icons/light", "/icons/light/account", "/icons/light/account.png",
                           "/icons/light/account_0.png", "/icons/light/account_257.png",
                           "/icons/light/account_x.png", "/icon/light/account.svg"})
    EXPECT_FALSE(iconAt(path)) << path;
}

TEST(IconsTest, AreServedWhereTheThemeListSaysTheyAre) {
  const auto data = DataSet::builtIn().withIconsAt("http://127.0.0.1:1");
  const auto list = data.themeList().view();
  EXPECT_EQ(list.find("icons.example"), std::string_view::npos);
  const std::string_view address = "\"http://127.0.0.1:1/icons/light/account_32.png\"";
  EXPECT_NE(list.find(address), std::string_view::npos);
  const auto answer = answerFor("/icons/light/account_32.png", data);
  EXPECT_EQ(answer.status, 200);
  EXPECT_EQ(answer.contentType, "image/png");
  EXPECT_EQ(answerFor("/icons/light/account.gif", data).status, 404);
}

}  // namespace
}  // namespace vellora::recordsserver
