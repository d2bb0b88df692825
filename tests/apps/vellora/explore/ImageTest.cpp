#include "apps/vellora/explore/Image.h"

#include <gtest/gtest.h>

#include <string>

namespace vellora::explore {
namespace {

TEST(ImageTest, KnowsImagesByTheirBytes) {
  EXPECT_EQ(imageTypeOf("\x89PNG\r\n\x1a\n…"), "image/png");
  EXPECT_EQ(imageTypeOf("\xFF\xD8\xFF\xE0"), "image/jpeg");
  EXPECT_EQ(imageTypeOf("GIF89a…"), "image/gif");
  EXPECT_EQ(imageTypeOf("RIFF1234WEBPVP8 "), "image/webp");
  EXPECT_EQ(imageTypeOf("<svg/>"), "image/svg+xml");
  EXPECT_EQ(imageTypeOf("\xEF\xBB\xBF<?xml version=\"1.0\"?>\n<!-- <html> -->\n <svg xmlns=\"x\">"),
            "image/svg+xml");
}

TEST(ImageTest, TakesNothingElseForOne) {
  for (const std::string bytes :
       {"", " ", "<", "<html>", "<svgx>", "<svg", "<?xml", "<?xml?><html>", "<!-- <svg>",
        "<!DOCTYPE html><svg>", "\x89PNG", "RIFF1234WAVE", "{\"svg\": 1}", "text <svg>"})
    EXPECT_EQ(imageTypeOf(bytes), std::nullopt) << bytes;
}

}  // namespace
}  // namespace vellora::explore
