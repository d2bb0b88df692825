#include "apps/records-server/QueryEngine.h"

#include <gtest/gtest.h>

#include <string>

#include "apps/records-server/QueryError.h"
#include "apps/records-server/QueryParser.h"

namespace vellora::recordsserver {
namespace {

std::string answerTo(const std::string& query) {
  const auto statement = parseQuery(query);
  if (!statement) return statement.error().localizedDescription();
  const auto body = runQuery(statement.value(), DataSet::builtIn());
  return body ? body.value() : body.error().localizedDescription();
}

TEST(QueryEngineTest, AnswersWithTheSelectedFieldsOnly) {
  EXPECT_EQ(answerTo("SELECT Id,SobjectType FROM ListView WHERE Id = '00B000000000001'"),
            R"({"count":1,"complete":true,"records":[{"about":{"type":"ListView",)"
            R"("url":"/services/data/v50.0/sobjects/ListView/00B000000000001"},)"
            R"("Id":"00B000000000001","SobjectType":"Account"}]})");
  EXPECT_EQ(answerTo("SELECT Name FROM ListView WHERE Id = '00B000000000006AAC'"),
            R"({"count":1,"complete":true,"records":[{"about":{"type":"ListView",)"
            R"("url":"/services/data/v50.0/sobjects/ListView/00B000000000006AAC"},"Name":"Lager Süd"}]})");
}

TEST(QueryEngineTest, NestsTheFieldsOfRelatedRecords) {
  EXPECT_EQ(
      answerTo("SELECT EntityDefinition.QualifiedApiName, QualifiedApiName, IsNameField FROM FieldDefinition "
               "WHERE EntityDefinition.QualifiedApiName IN ('Case','Task') AND IsNameField = true"),
      R"({"count":2,"complete":true,"records":[)"
      R"({"about":{"type":"FieldDefinition",)"
      R"("url":"/services/data/v50.0/sobjects/FieldDefinition/Case.CaseNumber"},)"
      R"("EntityDefinition":{"about":{"type":"EntityDefinition"},"QualifiedApiName":"Case"},)"
      R"("QualifiedApiName":"CaseNumber","IsNameField":true},)"
      R"({"about":{"type":"FieldDefinition",)"
      R"("url":"/services/data/v50.0/sobjects/FieldDefinition/Task.Subject"},)"
      R"("EntityDefinition":{"about":{"type":"EntityDefinition"},"QualifiedApiName":"Task"},)"
      R"("QualifiedApiName":"Subject","IsNameField":true}]})");
}

TEST(QueryEngineTest, AnswersWithNoRecordsWhenNoneMatches) {
  const auto none = R"({"count":0,"complete":true,"records":[]})";
  EXPECT_EQ(answerTo("SELECT Id FROM ListView WHERE Id = 'nosuch'"), none);
  EXPECT_EQ(answerTo("SELECT Id FROM FieldDefinition WHERE EntityDefinition.QualifiedApiName IN ('')"), none);
  EXPECT_EQ(answerTo("SELECT Id FROM ListView WHERE Id = '00B000000000001' AND SobjectType = 'Contact'"),
            none);
}

TEST(QueryEngineTest, FindsRowsWithoutAValueByNull) {
  EXPECT_EQ(answerTo("SELECT Id,SobjectType FROM ListView WHERE SobjectType = null"),
            R"({"count":1,"complete":true,"records":[{"about":{"type":"ListView",)"
            R"("url":"/services/data/v50.0/sobjects/ListView/00B00000000000cAAE"},)"
            R"("Id":"00B00000000000cAAE","SobjectType":null}]})");
}

TEST(QueryEngineTest, ComparesTextsWithTheirCase) {
  EXPECT_NE(answerTo("SELECT SobjectType FROM ListView WHERE Id = '00B00000000000a'").find("Vehicle"),
            std::string::npos);
  EXPECT_NE(answerTo("SELECT SobjectType FROM ListView WHERE Id = '00B00000000000A'").find("DeliveryStop"),
            std::string::npos);
}

TEST(QueryEngineTest, KnowsNamesInAnyCaseAndAnswersInItsOwn) {
  EXPECT_EQ(answerTo("SELECT id,SOBJECTTYPE FROM listview WHERE ID = '00B000000000001'"),
            answerTo("SELECT Id,SobjectType FROM ListView WHERE Id = '00B000000000001'"));
}

TEST(QueryEngineTest, GivesAFieldOnceThatIsSelectedTwice) {
  EXPECT_EQ(answerTo("SELECT Id,Id FROM ListView WHERE Id = '00B000000000001'"),
            answerTo("SELECT Id FROM ListView WHERE Id = '00B000000000001'"));
}

TEST(QueryEngineTest, TellsOfUnknownNames) {
  EXPECT_EQ(answerTo("SELECT Id FROM Account"), "UNKNOWN_TYPE: no object 'Account' can be queried");
  EXPECT_EQ(answerTo("SELECT Id,Nope FROM ListView"), "UNKNOWN_FIELD: no field 'Nope' on 'ListView'");
  EXPECT_EQ(answerTo("SELECT Id FROM ListView WHERE Owner.Name = 'x'"),
            "UNKNOWN_FIELD: no field 'Owner.Name' on 'ListView'");
}

TEST(QueryEngineTest, TellsOfLiteralsOfAnotherType) {
  EXPECT_EQ(answerTo("SELECT Id FROM FieldDefinition WHERE IsNameField = 'true'"),
            "UNKNOWN_FIELD: 'IsNameField' is compared with another type");
  EXPECT_EQ(answerTo("SELECT Id FROM ListView WHERE Id = true"),
            "UNKNOWN_FIELD: 'Id' is compared with another type");
}

}  // namespace
}  // namespace vellora::recordsserver
