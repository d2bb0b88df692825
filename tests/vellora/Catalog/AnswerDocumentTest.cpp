#include "vellora/Catalog/AnswerDocument.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "tests/support/TestError.h"
#include "vellora/Catalog/Failure.h"
#include "vellora/Catalog/Missing.h"
#include "vellora/DataServices/SObjectsDataServiceError.h"
#include "vellora/Models/SObject.h"
#include "vellora/Platform/Json/EncodingError.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora {
namespace {

// The documents in this file stand behind `json(`, where the test of the schemas reads them.

using Why = Missing::Why;

const Date eightOClock = Date::since1970(1795334400.75);

Failure refusedBy(const std::string& url) {
  const Error down = tests::TestError{"401 Unauthorized"};
  return Failure(SObjectsDataServiceError::other(down).ofRequest(url, down));
}

ObjectPresentationInfo plainInfo(const std::string& name) {
  SObject type;
  type.name = name;
  type.label = name + "!";
  type.labelPlural = name + "s";
  return ObjectPresentationInfo({}, type, "light", {}, {});
}

ObjectPresentationInfo wholeInfo() {
  auto info = plainInfo("ListView");
  auto& type = info.typePresentationInfo;
  type.color = "2F6FDE";
  type.svgIconUrl = "https://icons/a.svg";
  type.smallIconUrl = "https://icons/a-small.png";
  type.largeIconUrl = "https://icons/a-large.png";
  type.createable = true;
  info.instancePresentationInfo = plainInfo("Account").typePresentationInfo;
  return info;
}

std::string textOf(const Result<Data>& document) {
  return document ? std::string(document.value().view()) : document.error().localizedDescription();
}

TEST(AnswerDocumentTest, TellsOfEachRecordInTheOrderAskedWhatItIsOrWhyItIsMissing) {
  Answer<ObjectPresentationInfo> answer;
  answer.end = End::failed;
  answer.found = {{"001", plainInfo("Account")}, {"00B", wholeInfo()}};
  answer.missing = {{"", Missing(Why::notAsked, Failure(tests::TestError{"The key is empty."}))},
                    {"003", Missing(Why::failed, refusedBy("/sobjects"))},
                    {"999", Missing(Why::unknown)}};
  answer.trouble = refusedBy("/theme");
  answer.age = {eightOClock, false};
  answer.otherAges = {{"001", {std::nullopt, true}}};

  EXPECT_EQ(
      textOf(recordsDocument(answer, {"999", "00B", "001", "00B", "003", "", "not in the answer"})),
      R"json({"question":"records","end":"failed","found":[)json"
      R"json({"key":"00B","record":{"typePresentationInfo":{"apiName":"ListView","color":"2F6FDE",)json"
      R"json("svgIconUrl":"https://icons/a.svg","smallIconUrl":"https://icons/a-small.png",)json"
      R"json("largeIconUrl":"https://icons/a-large.png","label":"ListView!",)json"
      R"json("labelPlural":"ListViews","createable":true},"instancePresentationInfo":)json"
      R"json({"apiName":"Account","label":"Account!","labelPlural":"Accounts","createable":false}},)json"
      R"json("fetched":"2026-11-22T08:00:00Z","stale":false},)json"
      R"json({"key":"001","record":{"typePresentationInfo":{"apiName":"Account","label":"Account!",)json"
      R"json("labelPlural":"Accounts","createable":false}},"stale":true}],)json"
      R"json("missing":[{"key":"999","code":"unknown","text":"unknown to the server"},)json"
      R"json({"key":"003","code":"failed",)json"
      R"json("text":"could not be asked: 401 Unauthorized (/sobjects)","request":"/sobjects"},)json"
      R"json({"key":"","code":"notAsked","text":"not asked: The key is empty."}],)json"
      R"json("trouble":{"text":"401 Unauthorized (/theme)","request":"/theme"},)json"
      R"json("fetched":"2026-11-22T08:00:00Z","stale":false})json");
}

TEST(AnswerDocumentTest, TellsOfTypesAsOfRecords) {
  Answer<ObjectPresentationInfo> answer;
  answer.end = End::timedOut;
  answer.missing = {{"A", Missing(Why::timedOut)}, {"B", Missing(Why::notCached)}};
  answer.trouble = Failure(tests::TestError{"late"});
  EXPECT_EQ(textOf(typesDocument(answer, {"B", "A"})),
            R"json({"question":"types","end":"timedOut","found":[],)json"
            R"json("missing":[{"key":"B","code":"notCached","text":"not in the cache"},)json"
            R"json({"key":"A","code":"timedOut","text":"timed out"}],)json"
            R"json("trouble":{"text":"late"},"stale":false})json");
}

TEST(AnswerDocumentTest, TellsOfAllTypesInTheOrderOfTheirNames) {
  Answer<ObjectPresentationInfo> answer;
  answer.found = {{"B", plainInfo("B")}, {"A", plainInfo("A")}};
  answer.age = {eightOClock, true};
  EXPECT_EQ(textOf(allTypesDocument(answer)),
            R"json({"question":"allTypes","end":"answered","found":[)json"
            R"json({"key":"A","record":{"typePresentationInfo":)json"
            R"json({"apiName":"A","label":"A!","labelPlural":"As","createable":false}},)json"
            R"json("fetched":"2026-11-22T08:00:00Z","stale":true},)json"
            R"json({"key":"B","record":{"typePresentationInfo":)json"
            R"json({"apiName":"B","label":"B!","labelPlural":"Bs","createable":false}},)json"
            R"json("fetched":"2026-11-22T08:00:00Z","stale":true}],)json"
            R"json("missing":[],"fetched":"2026-11-22T08:00:00Z","stale":true})json");
}

TEST(AnswerDocumentTest, TellsOfSearchColumns) {
  Answer<ObjectLayoutInfo> answer;
  answer.end = End::cancelled;
  answer.found = {{"A", {"A", {{"Phone", "Call", "phone", "Phone"}, {"Name", "Label", {}, "Owner.Name"}}}}};
  answer.missing = {{"B", Missing(Why::cancelled)}};
  answer.age = {eightOClock, false};
  EXPECT_EQ(textOf(searchColumnsDocument(answer, {"A", "B"})),
            R"json({"question":"searchColumns","end":"cancelled","found":[)json"
            R"json({"key":"A","record":{"objectType":"A","searchColumns":[)json"
            R"json({"name":"Phone","label":"Call","format":"phone","field":"Phone"},)json"
            R"json({"name":"Name","label":"Label","field":"Owner.Name"}]},)json"
            R"json("fetched":"2026-11-22T08:00:00Z","stale":false}],)json"
            R"json("missing":[{"key":"B","code":"cancelled","text":"cancelled"}],)json"
            R"json("fetched":"2026-11-22T08:00:00Z","stale":false})json");
}

TEST(AnswerDocumentTest, TellsOfHeadlines) {
  using Content = CompactLayoutField::Content;
  const auto part = std::make_shared<CompactLayoutField>(Content{"City", "string", "City"});
  Content owner{"Owner.Name", "reference", "Owner", "User", "Owner", true, CompactLayoutFields{part}};
  Answer<ObjectCompactLayoutInfo> answer;
  answer.found["A"].objectType = "A";
  answer.found["A"].layoutFields = {std::make_shared<CompactLayoutField>(std::move(owner))};
  answer.age = {eightOClock, false};
  EXPECT_EQ(textOf(headlinesDocument(answer, {"A"})),
            R"json({"question":"headlines","end":"answered","found":[)json"
            R"json({"key":"A","record":{"objectType":"A","layoutFields":[)json"
            R"json({"apiName":"Owner.Name","fieldType":"reference","label":"Owner","referenceTo":"User",)json"
            R"json("relationshipName":"Owner","htmlFormatted":true,"layoutFields":[)json"
            R"json({"apiName":"City","fieldType":"string","label":"City","htmlFormatted":false}]}]},)json"
            R"json("fetched":"2026-11-22T08:00:00Z","stale":false}],)json"
            R"json("missing":[],"fetched":"2026-11-22T08:00:00Z","stale":false})json");
}

TEST(AnswerDocumentTest, TellsWhatARefreshHasChanged) {
  Answer<TypeChange> answer;
  answer.found = {{"A", TypeChange::added}, {"B", TypeChange::removed}, {"C", TypeChange::changed}};
  answer.age = {eightOClock, false};
  EXPECT_EQ(textOf(refreshDocument(answer)),
            R"json({"question":"refresh","end":"answered","found":[)json"
            R"json({"key":"A","change":"added","fetched":"2026-11-22T08:00:00Z","stale":false},)json"
            R"json({"key":"B","change":"removed","fetched":"2026-11-22T08:00:00Z","stale":false},)json"
            R"json({"key":"C","change":"changed","fetched":"2026-11-22T08:00:00Z","stale":false}],)json"
            R"json("missing":[],"fetched":"2026-11-22T08:00:00Z","stale":false})json");
}

TEST(AnswerDocumentTest, TellsWhetherACatalogueIsReady) {
  EXPECT_EQ(textOf(readinessDocument(Readiness::loading())),
            R"json({"question":"readiness","state":"loading"})json");
  EXPECT_EQ(textOf(readinessDocument(Readiness::ready())),
            R"json({"question":"readiness","state":"ready"})json");
  EXPECT_EQ(textOf(readinessDocument(Readiness::failed(refusedBy("/theme")))),
            R"json({"question":"readiness","state":"failed",)json"
            R"json("trouble":{"text":"401 Unauthorized (/theme)","request":"/theme"}})json");
}

TEST(AnswerDocumentTest, IsUtf8WhateverAKeyOrAReasonHolds) {
  Answer<ObjectPresentationInfo> answer;
  answer.missing = {{"Acc\xFF", Missing(Why::failed, Failure(tests::TestError{"\xC3("}))}};
  EXPECT_EQ(textOf(recordsDocument(answer, {"Acc\xFF"})),
            R"json({"question":"records","end":"answered","found":[],)json"
            R"json("missing":[{"key":"Acc�","code":"failed","text":"could not be asked: �("}],)json"
            R"json("stale":false})json");
}

TEST(AnswerDocumentTest, TellsTheFirstAndTheLastMomentOfYearsWithFourDigits) {
  Answer<TypeChange> answer;
  answer.age.fetched = Date::since1970(-62135596800.0);
  EXPECT_THAT(textOf(refreshDocument(answer)), testing::HasSubstr(R"("fetched":"0001-01-01T00:00:00Z")"));
  answer.age.fetched = Date::since1970(253402300799.0);
  EXPECT_THAT(textOf(refreshDocument(answer)), testing::HasSubstr(R"("fetched":"9999-12-31T23:59:59Z")"));
}

TEST(AnswerDocumentTest, LeavesAMomentOutThatHasNoCalendarForm) {
  for (const double seconds :
       {1e300, -1e300, std::numeric_limits<double>::quiet_NaN(), -62135596801.0, 253402300800.0}) {
    Answer<TypeChange> answer;
    answer.age = {Date::since1970(seconds), true};
    EXPECT_EQ(textOf(refreshDocument(answer)),
              R"json({"question":"refresh","end":"answered","found":[],"missing":[],"stale":true})json");
  }
}

TEST(AnswerDocumentTest, SaysWhichRecordHasNoJsonForm) {
  Answer<ObjectLayoutInfo> answer;
  answer.found["A"].objectType = "\xFF";
  const auto document = searchColumnsDocument(answer, {"A"});
  ASSERT_FALSE(document);
  const auto* error = document.error().as<EncodingError>();
  ASSERT_TRUE(error);
  EXPECT_EQ(error->kind(), EncodingError::Kind::textNotUtf8);
  EXPECT_EQ(error->localizedDescription(),
            "cannot write text that is not UTF-8 at $.found.A.record.objectType");
}

}  // namespace
}  // namespace vellora
