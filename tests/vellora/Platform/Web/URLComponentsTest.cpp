#include "vellora/Platform/Web/URLComponents.h"

#include <gtest/gtest.h>

#include <boost/url/parse.hpp>
#include <boost/url/url_view.hpp>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace vellora {
namespace {

std::string urlOf(std::string_view base, const std::vector<URLQueryItem>& items) {
  auto components = URLComponents::parse(base);
  if (!components) return "no URL";
  components->setQueryItems(items);
  return components->url().value().absoluteString();
}

std::string queryOf(const std::string& value) {
  return urlOf("/x", {{"q", value}});
}

TEST(URLComponentsTest, LeavesCommasInAValue) {
  EXPECT_EQ(urlOf("/services/data/v50.0/search/layout", {{"q", "Account,Contact"}}),
            "/services/data/v50.0/search/layout?q=Account,Contact");
}

TEST(URLComponentsTest, WritesAnEmptyValue) {
  EXPECT_EQ(urlOf("/services/data/v50.0/search/layout", {{"q", ""}}),
            "/services/data/v50.0/search/layout?q=");
}

TEST(URLComponentsTest, EncodesBlanksAndEqualSignsButNoQuotes) {
  EXPECT_EQ(urlOf("/services/data/v50.0/query",
                  {{"q", "SELECT Id,SobjectType FROM ListView WHERE Id = '00B000000000001'"}}),
            "/services/data/v50.0/query?q=SELECT%20Id,SobjectType%20FROM%20ListView%20WHERE%20Id%20%3D%20"
            "'00B000000000001'");
}

TEST(URLComponentsTest, LeavesParentheses) {
  EXPECT_EQ(
      urlOf("/services/data/v53.0/query",
            {{"q",
              "SELECT EntityDefinition.QualifiedApiName, QualifiedApiName, IsNameField FROM FieldDefinition "
              "WHERE EntityDefinition.QualifiedApiName IN ('User','Account') AND IsNameField = true"}}),
      "/services/data/v53.0/query?q=SELECT%20EntityDefinition.QualifiedApiName,%20QualifiedApiName,"
      "%20IsNameField%20FROM%20FieldDefinition%20WHERE%20EntityDefinition.QualifiedApiName%20IN%20"
      "('User','Account')%20AND%20IsNameField%20%3D%20true");
}

TEST(URLComponentsTest, LeavesPlusAndSemicolonButEncodesAmpersandAndPercent) {
  EXPECT_EQ(queryOf("a+b&c;d%20é"), "/x?q=a+b%26c;d%2520%C3%A9");
}

TEST(URLComponentsTest, LeavesExactlyTheUnescapedSet) {
  std::string left;
  for (int byte = 0; byte < 256; ++byte) {
    const std::string text(1, static_cast<char>(byte));
    if (queryOf(text) == "/x?q=" + text) left += text;
  }
  EXPECT_EQ(left, "!$'()*+,-./0123456789:;?@ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz~");
}

TEST(URLComponentsTest, EncodesWhatCouldBreakARequestLine) {
  EXPECT_EQ(queryOf("a\r\nHost: evil"), "/x?q=a%0D%0AHost:%20evil");
  EXPECT_EQ(queryOf("\"#<>[\\]^`{|}"), "/x?q=%22%23%3C%3E%5B%5C%5D%5E%60%7B%7C%7D");
  EXPECT_EQ(queryOf(std::string("\0\x7F\xFF\xC3", 4)), "/x?q=%00%7F%FF%C3");
}

TEST(URLComponentsTest, EncodesNamesLikeValues) {
  EXPECT_EQ(urlOf("/x", {{"a b&", "1"}, {"c=", "2"}}), "/x?a%20b%26=1&c%3D=2");
}

TEST(URLComponentsTest, KeepsTheOrderOfItems) {
  EXPECT_EQ(urlOf("/x", {{"b", "1"}, {"a", "2"}, {"b", ""}}), "/x?b=1&a=2&b=");
  EXPECT_EQ(urlOf("/x", {{"", ""}, {"", "v"}}), "/x?=&=v");
}

TEST(URLComponentsTest, ReplacesTheQueryAndNothingElse) {
  EXPECT_EQ(urlOf("https://user@example.com:8443/a%20b/c?old=1&x#part", {{"q", "v"}}),
            "https://user@example.com:8443/a%20b/c?q=v#part");
  EXPECT_EQ(urlOf("/x?old=1#part", {}), "/x#part");
}

TEST(URLComponentsTest, TakesRelativeReferencesAndWholeUrls) {
  for (const std::string_view text :
       {"/a/b", "a", "", "?q=1", "//host/a", "https://example.com", "http://[::1]:80/"}) {
    const auto components = URLComponents::parse(text);
    ASSERT_TRUE(components.has_value()) << text;
    EXPECT_EQ(components->url().value().absoluteString(), text);
  }
}

TEST(URLComponentsTest, RefusesWhatIsNoUrl) {
  for (const std::string_view text : {"/a b", "http://[", "/a%zz", "/é", "http://host:port/", "//ho:st:80/",
                                      "/a\n", "/a\"b", "1:2", "http://a\\b", "/a?q={x}"}) {
    EXPECT_FALSE(URLComponents::parse(text).has_value()) << text;
  }
  EXPECT_FALSE(URLComponents::parse(std::string_view("/a\0b", 4)).has_value());
}

TEST(URLComponentsTest, EncodesALongValue) {
  EXPECT_EQ(queryOf(std::string(10'000, 'a')), "/x?q=" + std::string(10'000, 'a'));
  EXPECT_EQ(queryOf(std::string(10'000, '&')).size(), 5U + 30'000U);
}

TEST(URLComponentsTest, CanBeDecodedToTheSameItemsWhateverTheyHold) {
  std::mt19937 random(20261120);
  const auto text = [&random] {
    std::string bytes(random() % 40, '\0');
    for (char& byte : bytes) byte = static_cast<char>(random() % 256);
    return bytes;
  };
  for (int round = 0; round < 2000; ++round) {
    const std::vector<URLQueryItem> items = {{text(), text()}, {text(), text()}};
    const auto url = urlOf("/x", items);
    const auto parsed = boost::urls::parse_uri_reference(url);
    ASSERT_TRUE(parsed.has_value()) << url;
    std::size_t index = 0;
    for (const auto& parameter : parsed->encoded_params()) {
      ASSERT_LT(index, items.size());
      EXPECT_EQ(parameter.key.decode(boost::urls::encoding_opts()), items[index].name);
      EXPECT_EQ(parameter.value.decode(boost::urls::encoding_opts()), items[index].value);
      ++index;
    }
    EXPECT_EQ(index, items.size());
  }
}

}  // namespace
}  // namespace vellora
