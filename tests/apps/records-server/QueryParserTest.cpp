#include "apps/records-server/QueryParser.h"

#include <gtest/gtest.h>

#include <string>

#include "apps/records-server/QueryError.h"

namespace vellora::recordsserver {
namespace {

using namespace std::string_literals;

std::string errorOf(const std::string& text) {
  const auto statement = parseQuery(text);
  if (statement) return "no error";
  const auto* error = statement.error().as<QueryError>();
  return error->code + ": " + error->message;
}

QueryCondition onlyCondition(const std::string& condition) {
  const auto statement = parseQuery("SELECT Id FROM ListView WHERE " + condition);
  if (!statement) ADD_FAILURE() << statement.error().localizedDescription();
  return statement ? statement.value().conditions.at(0) : QueryCondition{};
}

TEST(QueryParserTest, ReadsAQueryWithOneComparison) {
  const auto statement = parseQuery("SELECT Id,SobjectType FROM ListView WHERE Id = '00B000000000001'");
  ASSERT_TRUE(statement);
  EXPECT_EQ(statement.value(),
            (QueryStatement{.fields = {"Id", "SobjectType"},
                            .object = "ListView",
                            .conditions = {{.path = "Id", .anyOf = {"00B000000000001"s}}}}));
}

TEST(QueryParserTest, ReadsPathsListsAndSeveralConditions) {
  const auto statement = parseQuery(
      "SELECT EntityDefinition.QualifiedApiName, QualifiedApiName, IsNameField FROM FieldDefinition "
      "WHERE EntityDefinition.QualifiedApiName IN ('User','Account') AND IsNameField = true");
  ASSERT_TRUE(statement);
  EXPECT_EQ(statement.value(),
            (QueryStatement{
                .fields = {"EntityDefinition.QualifiedApiName", "QualifiedApiName", "IsNameField"},
                .object = "FieldDefinition",
                .conditions = {{.path = "EntityDefinition.QualifiedApiName", .anyOf = {"Account"s, "User"s}},
                               {.path = "IsNameField", .anyOf = {true}}}}));
}

TEST(QueryParserTest, NeedsNoCondition) {
  const auto statement = parseQuery("SELECT Id FROM ListView");
  ASSERT_TRUE(statement);
  EXPECT_TRUE(statement.value().conditions.empty());
}

TEST(QueryParserTest, DoesNotMindBlanksAndLineBreaksBetweenWords) {
  const auto statement =
      parseQuery(" \tSELECT  Id ,\r\nName\nFROM ListView WHERE Id='x'AND Name IN('y' , 'z') ");
  ASSERT_TRUE(statement);
  EXPECT_EQ(statement.value(), (QueryStatement{.fields = {"Id", "Name"},
                                               .object = "ListView",
                                               .conditions = {{.path = "Id", .anyOf = {"x"s}},
                                                              {.path = "Name", .anyOf = {"y"s, "z"s}}}}));
}

TEST(QueryParserTest, KnowsKeywordsInAnyCase) {
  const auto statement = parseQuery("select Id From ListView wHERE Id in ('x') and Flag = TRUE");
  ASSERT_TRUE(statement);
  EXPECT_EQ(statement.value().conditions, (std::vector<QueryCondition>{{"Id", {"x"s}}, {"Flag", {true}}}));
}

TEST(QueryParserTest, ReadsEveryKindOfLiteral) {
  EXPECT_EQ(onlyCondition("A IN ('x', true, FALSE, null, '')"),
            (QueryCondition{"A", {std::monostate{}, false, true, ""s, "x"s}}));
}

TEST(QueryParserTest, UndoesEscapesInStrings) {
  EXPECT_EQ(onlyCondition(R"(Id = 'it\'s \"a\" \\ \n\r\t\b\f')"),
            (QueryCondition{"Id", {"it's \"a\" \\ \n\r\t\b\f"s}}));
}

TEST(QueryParserTest, KeepsAnyOtherBytesOfAString) {
  EXPECT_EQ(onlyCondition("Id = 'SELECT, (\xc3\xa9) \xff=\"'"),
            (QueryCondition{"Id", {"SELECT, (\xc3\xa9) \xff=\""s}}));
}

TEST(QueryParserTest, ReadsAnEmptyStringInAList) {
  EXPECT_EQ(onlyCondition("Id IN ('')"), (QueryCondition{"Id", {""s}}));
}

TEST(QueryParserTest, TellsWhatItExpectedAndWhere) {
  EXPECT_EQ(errorOf(""), "BAD_QUERY: expected SELECT at position 0, but the query ends");
  EXPECT_EQ(errorOf("DELETE Id FROM X"), "BAD_QUERY: expected SELECT at position 0");
  EXPECT_EQ(errorOf("SELECT FROM X"), "BAD_QUERY: expected a field at position 7");
  EXPECT_EQ(errorOf("SELECT Id, FROM X"), "BAD_QUERY: expected a field at position 11");
  EXPECT_EQ(errorOf("SELECT Id X"), "BAD_QUERY: expected FROM at position 10");
  EXPECT_EQ(errorOf("SELECT Id FROM"), "BAD_QUERY: expected an object at position 14, but the query ends");
  EXPECT_EQ(errorOf("SELECT Id FROM A.B"), "BAD_QUERY: expected an object at position 15");
  EXPECT_EQ(errorOf("SELECT Id FROM X LIMIT 5"), "BAD_QUERY: unexpected character at position 23");
  EXPECT_EQ(errorOf("SELECT Id FROM X ORDER BY Id"), "BAD_QUERY: expected WHERE at position 17");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE"),
            "BAD_QUERY: expected a field at position 22, but the query ends");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id"),
            "BAD_QUERY: expected \"=\" or IN at position 25, but the query ends");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id LIKE 'x'"), "BAD_QUERY: expected \"=\" or IN at position 26");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = Name"), "BAD_QUERY: expected a literal at position 28");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id IN 'x'"), "BAD_QUERY: expected \"(\" at position 29");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id IN ()"), "BAD_QUERY: expected a literal at position 30");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id IN ('x',)"), "BAD_QUERY: expected a literal at position 34");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id IN ('x'"),
            "BAD_QUERY: expected \")\" or \",\" at position 33, but the query ends");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = 'x' OR Id = 'y'"),
            "BAD_QUERY: expected AND or the end of the query at position 32");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = 'x' AND"),
            "BAD_QUERY: expected a field at position 35, but the query ends");
}

TEST(QueryParserTest, RefusesBadStrings) {
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = 'x"), "BAD_QUERY: string without end at position 28");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = '"), "BAD_QUERY: string without end at position 28");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = 'x\\"), "BAD_QUERY: unknown escape at position 30");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = '\\q'"), "BAD_QUERY: unknown escape at position 29");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = 'x\ny'"),
            "BAD_QUERY: line break in a string at position 30");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = 'x\ry'"),
            "BAD_QUERY: line break in a string at position 30");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE Id = 'o'neil'"), "BAD_QUERY: string without end at position 35");
}

TEST(QueryParserTest, RefusesPathsWithEmptyParts) {
  EXPECT_EQ(errorOf("SELECT A..B FROM X"), "BAD_QUERY: expected a field at position 7");
  EXPECT_EQ(errorOf("SELECT A. FROM X"), "BAD_QUERY: expected a field at position 7");
  EXPECT_EQ(errorOf("SELECT .A FROM X"), "BAD_QUERY: unexpected character at position 7");
}

TEST(QueryParserTest, RefusesKeywordsAsNames) {
  EXPECT_EQ(errorOf("SELECT select FROM X"), "BAD_QUERY: expected a field at position 7");
  EXPECT_EQ(errorOf("SELECT Id FROM where"), "BAD_QUERY: expected an object at position 15");
  EXPECT_EQ(errorOf("SELECT Id FROM X WHERE null = 'x'"), "BAD_QUERY: expected a field at position 23");
}

TEST(QueryParserTest, RefusesCharactersThatBeginNoToken) {
  EXPECT_EQ(errorOf("SELECT * FROM X"), "BAD_QUERY: unexpected character at position 7");
  EXPECT_EQ(errorOf("SELECT \xc3\xa9 FROM X"), "BAD_QUERY: unexpected character at position 7");
  EXPECT_EQ(errorOf("SELECT Id FROM X\0"s), "BAD_QUERY: unexpected character at position 16");
}

}  // namespace
}  // namespace vellora::recordsserver
