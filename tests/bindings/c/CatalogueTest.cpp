#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <future>
#include <string>

#include "bindings/c/vellora.h"
#include "tests/bindings/c/CHost.h"

namespace vellora::tests {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

using CCatalogueTest = CCatalogFixture;

constexpr const char* recordOfAccount = "001000000000009";
constexpr const char* listViewUrl =
    "/services/data/v50.0/query?q=SELECT%20Id,SobjectType%20FROM%20ListView%20WHERE%20Id%20%3D%20'00B1'";
constexpr const char* nameFieldsUrl =
    "/services/data/v53.0/query?q=SELECT%20EntityDefinition.QualifiedApiName,%20QualifiedApiName,"
    "%20IsNameField%20FROM%20FieldDefinition%20WHERE%20EntityDefinition.QualifiedApiName%20IN%20('User')"
    "%20AND%20IsNameField%20%3D%20true";

TEST_F(CCatalogueTest, AnswersWhoWaits) {
  open();
  const auto answer = wait(ask(VELLORA_RECORDS, {"zzz", recordOfAccount, ""}));

  vellora_text document;
  expectFine(vellora_answer_document(answer.get(), &document));
  EXPECT_THAT(stringOf(document),
              AllOf(StartsWith(R"({"question":"records","end":"answered","found":[{"key":"001000000000009",)"
                               R"("record":{"typePresentationInfo":{"apiName":"Account","color":"FF0000",)"),
                    HasSubstr(R"("missing":[{"key":"zzz","code":"unknown","text":"unknown to the server"},)"
                              R"({"key":"","code":"notAsked","text":"not asked: The key is empty."}])")));
  EXPECT_EQ(document.bytes[document.size], '\0');
}

TEST_F(CCatalogueTest, TellsTheSameToWhoDoesNotParse) {
  open();
  const auto answer = wait(ask(VELLORA_RECORDS, {"zzz", recordOfAccount}));

  const auto summary = summaryOf(answer);
  EXPECT_EQ(summary.kind, VELLORA_RECORDS);
  EXPECT_EQ(summary.end, VELLORA_ANSWERED);
  EXPECT_EQ(summary.found, 1U);
  EXPECT_EQ(summary.missing, 1U);
  EXPECT_GT(summary.fetched, 1.6e9);
  EXPECT_EQ(summary.is_stale, 0);
  EXPECT_EQ(summary.trouble.bytes, nullptr);

  auto found = sized<vellora_found>();
  expectFine(vellora_answer_found(answer.get(), 0, &found));
  EXPECT_EQ(stringOf(found.key), recordOfAccount);
  EXPECT_EQ(found.change, 0);

  auto look = sized<vellora_look>();
  expectFine(vellora_answer_look(answer.get(), 0, 0, &look));
  EXPECT_EQ(stringOf(look.api_name), "Account");
  EXPECT_EQ(stringOf(look.label), "Account");
  EXPECT_EQ(stringOf(look.label_plural), "Accounts");
  EXPECT_EQ(stringOf(look.color), "FF0000");
  EXPECT_EQ(stringOf(look.svg_icon_url), "(absent)");
  EXPECT_EQ(look.is_createable, 1);

  auto missing = sized<vellora_missing>();
  expectFine(vellora_answer_missing(answer.get(), 0, &missing));
  EXPECT_EQ(stringOf(missing.key), "zzz");
  EXPECT_EQ(missing.why, VELLORA_UNKNOWN);
  EXPECT_EQ(stringOf(missing.text), "unknown to the server");
  EXPECT_EQ(stringOf(missing.request), "(absent)");
}

TEST_F(CCatalogueTest, TellsOfColumns) {
  network.answer("/services/data/v50.0/search/layout?q=Account",
                 R"([{"objectType":"Account","searchColumns":[)"
                 R"({"name":"Phone","label":"Call","format":"phone","field":"Phone"},)"
                 R"({"name":"Fax","label":"Fax","field":"Fax"}]}])");
  open();
  const auto columns = wait(ask(VELLORA_SEARCH_COLUMNS, {"Account"}));
  auto found = sized<vellora_found>();
  expectFine(vellora_answer_found(columns.get(), 0, &found));
  EXPECT_EQ(found.columns, 2U);
  EXPECT_EQ(found.fields, 0U);
  auto column = sized<vellora_column>();
  expectFine(vellora_answer_column(columns.get(), 0, 0, &column));
  EXPECT_EQ(stringOf(column.name) + stringOf(column.label) + stringOf(column.field) + stringOf(column.format),
            "PhoneCallPhonephone");
  expectFine(vellora_answer_column(columns.get(), 0, 1, &column));
  EXPECT_EQ(stringOf(column.format), "(absent)");
  EXPECT_EQ(said(vellora_answer_column(columns.get(), 0, 2, &column)), "5: The answer has no such column.");
  auto look = sized<vellora_look>();
  EXPECT_EQ(said(vellora_answer_look(columns.get(), 0, 0, &look)), "5: The answer has no such look.");
}

TEST_F(CCatalogueTest, TellsOfFields) {
  network.answer(
      "/services/data/v53.0/compactLayouts?q=Account",
      R"({"Account":{"objectType":"Account","fieldItems":[{"label":"Owner","layoutComponents":[{"value":"OwnerId",)"
      R"("details":{"label":"Owner","type":"reference","referenceTo":["User"],"relationshipName":"Owner",)"
      R"("htmlFormatted":false}}]}]}})");
  network.answer(
      nameFieldsUrl,
      R"({"records":[{"EntityDefinition":{"QualifiedApiName":"User"},"QualifiedApiName":"Name"}]})");
  open();
  const auto headlines = wait(ask(VELLORA_HEADLINES, {"Account"}));
  auto found = sized<vellora_found>();
  expectFine(vellora_answer_found(headlines.get(), 0, &found));
  EXPECT_EQ(found.fields, 1U);
  auto field = sized<vellora_field>();
  expectFine(vellora_answer_field(headlines.get(), 0, 0, &field));
  EXPECT_EQ(stringOf(field.api_name), "Owner.Name");
  EXPECT_EQ(stringOf(field.label), "Owner");
  EXPECT_EQ(stringOf(field.field_type), "reference");
  EXPECT_EQ(stringOf(field.reference_to), "User");
  EXPECT_EQ(stringOf(field.relationship_name), "Owner");
  EXPECT_EQ(field.is_html, 0);
  EXPECT_EQ(field.parts, 0U);
  EXPECT_EQ(said(vellora_answer_field(headlines.get(), 0, 1, &field)), "5: The answer has no such field.");
}

TEST_F(CCatalogueTest, TellsTheLookOfWhatAListViewLists) {
  network.answer(
      typesUrl,
      R"({"sobjects":[{"name":"Account","keyPrefix":"001","label":"Account","labelPlural":"Accounts",)"
      R"("createable":true},{"name":"ListView","keyPrefix":"00B","label":"List view",)"
      R"("labelPlural":"List views","createable":false}]})");
  network.answer(listViewUrl, R"({"count":1,"records":[{"Id":"00B1","SobjectType":"Account"}]})");
  open();
  const auto answer = wait(ask(VELLORA_RECORDS, {"00B1", recordOfAccount}));
  auto look = sized<vellora_look>();
  expectFine(vellora_answer_look(answer.get(), 0, 0, &look));
  EXPECT_EQ(stringOf(look.label) + std::to_string(look.is_createable), "List view0");
  expectFine(vellora_answer_look(answer.get(), 0, 1, &look));
  EXPECT_EQ(stringOf(look.label), "Account");
  EXPECT_EQ(said(vellora_answer_look(answer.get(), 1, 1, &look)), "5: The answer has no such look.");
}

TEST_F(CCatalogueTest, AnswersAListenerOnceAndThenDestroysItsContext) {
  CListener listener;
  open();
  const auto question = ask(VELLORA_TYPES, {"Account"}, &listener);
  EXPECT_THAT(listener.awaitDocuments(1),
              ElementsAre(StartsWith(R"({"question":"types","end":"answered",)")));
  EXPECT_EQ(listener.awaitDestruction(), 1);
  vellora_answer* answer = nullptr;
  EXPECT_EQ(said(vellora_wait(question.get(), &answer)), "4: The question has a listener.");
}

TEST_F(CCatalogueTest, AQuestionWithoutAHandleGoesOnByItself) {
  CListener listener;
  open();
  const auto table = listener.table();
  expectFine(vellora_list(catalog.get(), nullptr, &table, nullptr));
  EXPECT_THAT(listener.awaitDocuments(1),
              ElementsAre(StartsWith(R"({"question":"allTypes","end":"answered",)")));
}

TEST_F(CCatalogueTest, NoListenerIsCalledOnceItsQuestionIsCancelled) {
  CListener listener;
  CNetwork silent;
  openOn(silent);
  const auto question = ask(VELLORA_RECORDS, {recordOfAccount}, &listener);
  silent.awaitRequest(typesUrl);

  vellora_cancel(question.get());

  EXPECT_EQ(listener.awaitDestruction(), 1);
  silent.replyToAll("too late");
  EXPECT_EQ(listener.calls(), 0U);
}

TEST_F(CCatalogueTest, CancellingWakesWhoWaits) {
  CNetwork silent;
  openOn(silent);
  const auto question = ask(VELLORA_RECORDS, {recordOfAccount});
  auto waiting = std::async(std::launch::async, [&] { return wait(question); });
  silent.awaitRequest(typesUrl);

  vellora_cancel(question.get());

  const auto answer = waiting.get();
  EXPECT_EQ(summaryOf(answer).end, VELLORA_CANCELLED);
  auto missing = sized<vellora_missing>();
  expectFine(vellora_answer_missing(answer.get(), 0, &missing));
  EXPECT_EQ(missing.why, VELLORA_KEY_CANCELLED);
}

TEST_F(CCatalogueTest, ClosingGivesAllUpAndDestroysEachContextOnce) {
  CListener listener;
  CNetwork silent;
  openOn(silent);
  const auto question = ask(VELLORA_RECORDS, {recordOfAccount}, &listener);
  silent.awaitRequest(typesUrl);

  catalog.reset();

  EXPECT_EQ(listener.awaitDestruction(), 1);
  EXPECT_EQ(listener.calls(), 0U);
  silent.replyToAll("too late");
  EXPECT_EQ(silent.awaitDestruction(), 1);
}

TEST_F(CCatalogueTest, AWatchWhoseHandleIsKeptLetsGoOfItsListenerWhenThatIsFreed) {
  CListener listener;
  open();
  const auto name = textOf("Account");
  const auto table = listener.table();
  vellora_question* watch = nullptr;
  expectFine(vellora_watch(catalog.get(), VELLORA_TYPES, &name, 1, nullptr, &table, &watch));
  OwnedQuestion owned(watch);
  listener.awaitDocuments(1);

  catalog.reset();
  owned.reset();

  EXPECT_EQ(listener.awaitDestruction(), 1);
  EXPECT_EQ(listener.calls(), 1U);
}

TEST_F(CCatalogueTest, AWatchWithoutAHandleEndsWithTheCatalogue) {
  CListener listener;
  open();
  const auto name = textOf("Account");
  const auto table = listener.table();
  expectFine(vellora_watch(catalog.get(), VELLORA_TYPES, &name, 1, nullptr, &table, nullptr));
  listener.awaitDocuments(1);

  catalog.reset();

  EXPECT_EQ(listener.awaitDestruction(), 1);
}

TEST_F(CCatalogueTest, IsClosedFromInsideACallback) {
  std::promise<void> closed;
  CListener listener([&] {
    catalog.reset();
    closed.set_value();
  });
  open();
  const auto question = ask(VELLORA_RECORDS, {recordOfAccount}, &listener);
  closed.get_future().wait();
  EXPECT_EQ(listener.awaitDocuments(1).size(), 1U);
  listener.awaitDestruction();
}

TEST_F(CCatalogueTest, AQuestionIsFreedFromInsideItsCallback) {
  OwnedQuestion question;
  std::promise<void> asked;
  const auto isAsked = asked.get_future().share();
  CListener listener([&] {
    isAsked.wait();
    question.reset();
  });
  open();
  question = ask(VELLORA_RECORDS, {recordOfAccount}, &listener);
  asked.set_value();
  listener.awaitDestruction();
  EXPECT_EQ(listener.calls(), 1U);
}

TEST_F(CCatalogueTest, WaitingInsideACallbackFailsAtOnce) {
  std::promise<std::int32_t> ended;
  // The network answers no layout, so the answer cannot be there already.
  CListener listener([&] { ended.set_value(summaryOf(wait(ask(VELLORA_SEARCH_COLUMNS, {"Account"}))).end); });
  open();
  const auto question = ask(VELLORA_RECORDS, {recordOfAccount}, &listener);
  EXPECT_EQ(ended.get_future().get(), VELLORA_FAILED);
  listener.awaitDestruction();
}

TEST_F(CCatalogueTest, IsWaitedForOnce) {
  open();
  const auto question = ask(VELLORA_TYPES, {"Account"});
  wait(question);
  vellora_answer* answer = nullptr;
  EXPECT_EQ(said(vellora_wait(question.get(), &answer)), "4: The question was waited for before.");
  EXPECT_EQ(answer, nullptr);
}

TEST_F(CCatalogueTest, AWatchAnswersAgainWhenARefreshHasChangedTheAnswer) {
  CListener listener;
  open();
  const auto name = textOf("Account");
  const auto table = listener.table();
  vellora_question* watch = nullptr;
  expectFine(vellora_watch(catalog.get(), VELLORA_TYPES, &name, 1, nullptr, &table, &watch));
  const OwnedQuestion owned(watch);
  listener.awaitDocuments(1);
  network.answer(typesUrl, R"({"sobjects":[{"name":"Account","keyPrefix":"001","label":"Customer",)"
                           R"("labelPlural":"Customers","createable":true}]})");

  vellora_question* refresh = nullptr;
  expectFine(vellora_refresh(catalog.get(), nullptr, nullptr, &refresh));
  const auto refreshed = wait(OwnedQuestion(refresh));

  auto found = sized<vellora_found>();
  expectFine(vellora_answer_found(refreshed.get(), 0, &found));
  EXPECT_EQ(found.change, VELLORA_CHANGED);
  EXPECT_THAT(listener.awaitDocuments(2),
              ElementsAre(HasSubstr(R"("label":"Account")"), HasSubstr("Customer")));
  vellora_cancel(watch);
  listener.awaitDestruction();
}

TEST_F(CCatalogueTest, TellsOfItsStateAndWatchesIt) {
  CListener listener;
  open();
  const auto table = listener.table();
  vellora_question* watch = nullptr;
  expectFine(vellora_watch(catalog.get(), VELLORA_READINESS, nullptr, 0, nullptr, &table, &watch));
  const OwnedQuestion owned(watch);
  EXPECT_THAT(listener.awaitDocuments(1), ElementsAre(R"({"question":"readiness","state":"loading"})"));

  wait(ask(VELLORA_RECORDS, {recordOfAccount}));

  EXPECT_EQ(listener.awaitDocuments(2)[1], R"({"question":"readiness","state":"ready"})");
  vellora_answer* state = nullptr;
  expectFine(vellora_state(catalog.get(), &state));
  const OwnedAnswer ownedState(state);
  EXPECT_EQ(summaryOf(ownedState).kind, VELLORA_READINESS);
  EXPECT_EQ(summaryOf(ownedState).end, VELLORA_IS_READY);
  vellora_cancel(watch);
  listener.awaitDestruction();
}

TEST_F(CCatalogueTest, ForgettingLeavesNothingInTheCache) {
  open();
  wait(ask(VELLORA_RECORDS, {recordOfAccount}));
  expectFine(vellora_forget(catalog.get()));
  auto how = sized<vellora_ask_options>();
  how.source = VELLORA_CACHE_ONLY;
  const auto key = textOf(recordOfAccount);
  vellora_question* question = nullptr;
  expectFine(vellora_ask(catalog.get(), VELLORA_RECORDS, &key, 1, &how, nullptr, &question));
  const auto answer = wait(OwnedQuestion(question));
  auto missing = sized<vellora_missing>();
  expectFine(vellora_answer_missing(answer.get(), 0, &missing));
  EXPECT_EQ(missing.why, VELLORA_NOT_CACHED);
}

TEST_F(CCatalogueTest, AskOptionsSayTheDeadlineTheThemeAndTheFilter) {
  open();
  auto how = sized<vellora_ask_options>();
  how.filter = textOf("nobody");
  how.theme = "dark";
  vellora_question* question = nullptr;
  expectFine(vellora_list(catalog.get(), &how, nullptr, &question));
  EXPECT_EQ(summaryOf(wait(OwnedQuestion(question))).found, 0U);
  how.filter = {};
  expectFine(vellora_list(catalog.get(), &how, nullptr, &question));
  const auto all = wait(OwnedQuestion(question));
  auto look = sized<vellora_look>();
  expectFine(vellora_answer_look(all.get(), 0, 0, &look));
  EXPECT_EQ(stringOf(look.color), "00FF00");
  how.deadline_seconds = -1;
  const auto name = textOf("Silence");
  expectFine(vellora_ask(catalog.get(), VELLORA_SEARCH_COLUMNS, &name, 1, &how, nullptr, &question));
  EXPECT_EQ(summaryOf(wait(OwnedQuestion(question))).end, VELLORA_TIMED_OUT);
}

TEST_F(CCatalogueTest, TellsItsVersion) {
  EXPECT_STREQ(vellora_version(), VELLORA_VERSION);
}

}  // namespace
}  // namespace vellora::tests
