#include "apps/records-server/Endpoints.h"

#include <gtest/gtest.h>

#include <boost/json.hpp>
#include <string>

#include "tests/support/HttpClient.h"

namespace vellora::recordsserver {
namespace {

namespace json = boost::json;
using test::percentEncoded;

const std::string searchLayouts = "/services/data/v50.0/search/layout?q=";
const std::string compactLayouts = "/services/data/v53.0/compactLayouts?q=";
const std::string query = "/services/data/v50.0/query?q=";
const std::string hostileNames[] = {
    "'",     "\"", "&",      "%",        "\r\n", "Account\r\nX-Header: 1", "<script>",
    "../..", "Ä",  "配送先", "\xff\xfe", ",,,",  std::string("\0", 1),     std::string(10'000, 'x')};

Answer get(const std::string& target) {
  static const auto data = DataSet::builtIn();
  return answerFor(target, data);
}

std::string bodyOf(const std::string& target) {
  const auto answer = get(target);
  EXPECT_EQ(answer.status, 200);
  return std::string(answer.body.view());
}

std::string errorOf(const std::string& target) {
  const auto answer = get(target);
  return std::to_string(answer.status) + " " + std::string(answer.body.view());
}

TEST(EndpointsTest, AnswersWithTheObjectList) {
  const auto body = json::parse(bodyOf("/services/data/v50.0/sobjects"));
  EXPECT_EQ(body.at("sobjects").as_array().size(), 44U);
  EXPECT_EQ(body.at("count"), 44);
}

TEST(EndpointsTest, AnswersWithTheThemeList) {
  EXPECT_EQ(json::parse(bodyOf("/services/data/v50.0/theme")).at("themeItems").as_array().size(), 40U);
}

TEST(EndpointsTest, AnswersWithSearchLayoutsInTheOrderOfTheNames) {
  const auto body = json::parse(bodyOf(searchLayouts + "Contact,Account"));
  ASSERT_EQ(body.as_array().size(), 2U);
  EXPECT_EQ(body.at(0).at("objectType"), "Contact");
  EXPECT_EQ(body.at(1).at("objectType"), "Account");
  EXPECT_FALSE(body.at(1).at("searchColumns").at(0).as_object().contains("format"));
  EXPECT_EQ(body.at(1).at("searchColumns").at(2).at("format"), "phone");
  EXPECT_EQ(body.at(1).at("searchColumns").at(2).at("field"), "Phone");
}

TEST(EndpointsTest, LeavesUnknownNamesAndTypesWithoutLayoutOut) {
  EXPECT_EQ(bodyOf(searchLayouts + "Nope,Folder,account"), "[]");
  EXPECT_EQ(bodyOf(compactLayouts + "Nope,Folder,account"), "{}");
  EXPECT_EQ(json::parse(bodyOf(searchLayouts + "Nope,Account,Folder")).as_array().size(), 1U);
  EXPECT_EQ(json::parse(bodyOf(compactLayouts + "Nope,Account,Folder")).as_object().size(), 1U);
}

TEST(EndpointsTest, AnswersOnceForANameThatIsAskedForTwice) {
  EXPECT_EQ(json::parse(bodyOf(searchLayouts + "Account,Account")).as_array().size(), 1U);
  EXPECT_EQ(bodyOf(compactLayouts + "Account,Account"), bodyOf(compactLayouts + "Account"));
}

TEST(EndpointsTest, AnswersWithNothingForNoNames) {
  EXPECT_EQ(bodyOf(searchLayouts), "[]");
  EXPECT_EQ(bodyOf(compactLayouts), "{}");
  EXPECT_EQ(bodyOf(searchLayouts + ",,"), "[]");
}

TEST(EndpointsTest, AnswersWithCompactLayoutsUnderTheirNames) {
  const auto body = json::parse(bodyOf(compactLayouts + "Account,Case"));
  const auto& address = body.at("Account").at("fieldItems").at(3).at("layoutComponents").at(0);
  EXPECT_EQ(body.at("Account").at("objectType"), "Account");
  EXPECT_EQ(address.at("details").at("type"), "address");
  EXPECT_EQ(address.at("components").as_array().size(), 5U);
  EXPECT_FALSE(address.at("components").at(3).as_object().contains("details"));
  const auto& owner = body.at("Case").at("fieldItems").at(4).at("layoutComponents").at(0).at("details");
  EXPECT_EQ(owner.at("referenceTo"), (json::array{"Team", "User"}));
  EXPECT_EQ(owner.at("relationshipName"), "Owner");
  EXPECT_EQ(owner.at("htmlFormatted"), false);
}

TEST(EndpointsTest, AnswersQueriesAtBothVersions) {
  const auto listView = percentEncoded("SELECT Id,SobjectType FROM ListView WHERE Id = '00B000000000003'");
  EXPECT_EQ(json::parse(bodyOf(query + listView)).at("records").at(0).at("SobjectType"), "Case");
  EXPECT_EQ(bodyOf("/services/data/v53.0/query?q=" + listView), bodyOf(query + listView));
}

TEST(EndpointsTest, AnswersHostileNamesWithNothing) {
  for (const auto& name : hostileNames) {
    EXPECT_EQ(bodyOf(searchLayouts + percentEncoded(name)), "[]");
    EXPECT_EQ(bodyOf(compactLayouts + percentEncoded(name)), "{}");
  }
}

TEST(EndpointsTest, AnswersHostileIdsWithNoRowsOrAMistakeInTheQuery) {
  for (const auto& id : hostileNames) {
    const auto answer =
        get(query + percentEncoded("SELECT Id,SobjectType FROM ListView WHERE Id = '" + id + "'"));
    const auto breaksOut = id.find_first_of("'\r\n") != std::string::npos;
    EXPECT_EQ(answer.status, breaksOut ? 400 : 200);
    const auto body = json::parse(json::string_view(answer.body.data(), answer.body.size()));
    if (breaksOut) {
      EXPECT_EQ(body.at(0).at("code"), "BAD_QUERY");
    } else {
      EXPECT_EQ(body.at("count"), 0);
    }
  }
}

TEST(EndpointsTest, TakesAPlusForAPlus) {
  EXPECT_EQ(errorOf(query + "SELECT+Id+FROM+ListView"),
            R"(400 [{"message":"unexpected character at position 6","code":"BAD_QUERY"}])");
}

TEST(EndpointsTest, TellsOfQueriesThatItCannotAnswer) {
  EXPECT_EQ(errorOf(query),
            R"(400 [{"message":"expected SELECT at position 0, but the query ends","code":"BAD_QUERY"}])");
  EXPECT_EQ(errorOf(query + "SELECT%20Id%20FROM%20Account"),
            R"(400 [{"message":"no object 'Account' can be queried","code":"UNKNOWN_TYPE"}])");
}

TEST(EndpointsTest, TellsOfAMissingItem) {
  const std::string error =
      R"(400 [{"message":"The query item \"q\" is missing.","code":"MISSING_ARGUMENT"}])";
  EXPECT_EQ(errorOf("/services/data/v50.0/query"), error);
  EXPECT_EQ(errorOf("/services/data/v53.0/query?"), error);
  EXPECT_EQ(errorOf("/services/data/v50.0/search/layout"), error);
  EXPECT_EQ(errorOf("/services/data/v53.0/compactLayouts?Q=Account"), error);
}

TEST(EndpointsTest, TellsOfBrokenPercentEncoding) {
  EXPECT_EQ(errorOf(searchLayouts + "%zz"),
            R"(400 [{"message":"The address is not percent-encoded well.","code":"BAD_REQUEST"}])");
}

TEST(EndpointsTest, KnowsNoOtherPaths) {
  for (const auto* path :
       {"/", "*", "/services/data/v50.0", "/services/data/v50.0/sobjects/", "/services/data/v53.0/theme",
        "/services/data/v50.0/compactLayouts?q=Account", "/services/data/v50.0//theme"})
    EXPECT_EQ(errorOf(path), R"(404 [{"message":"There is nothing at this address.","code":"NOT_FOUND"}])");
}

}  // namespace
}  // namespace vellora::recordsserver
