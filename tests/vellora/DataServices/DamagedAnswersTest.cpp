#include <functional>

#include "tests/support/ManualQueues.h"
#include "tests/support/TestClock.h"
#include "tests/vellora/DataServices/DamagedJson.h"
#include "tests/vellora/DataServices/SObjectsFixture.h"
#include "vellora/DataServices/CompactLayoutDataService.h"
#include "vellora/DataServices/LayoutDataService.h"
#include "vellora/DataServices/ThemeDataService.h"

// Each kind of answer of the server is cut at every byte, and has each member replaced by each JSON type. The
// damage is reported exactly, and nothing of the answer is cached.

namespace vellora {
namespace {

using testkit::StubNetwork;
using tests::JsonMember;
using Need = JsonMember::Need;

constexpr const char* layoutsUrl = "/services/data/v53.0/compactLayouts?";
constexpr const char* namesUrl = "/services/data/v53.0/query?";
constexpr const char* compactLayouts =
    R"({"Account":{"objectType":"Account","fieldItems":[{"label":"Owner","layoutComponents":[)"
    R"({"value":"OwnerId","details":{"relationshipName":"Owner","referenceTo":["User"],"type":"reference",)"
    R"("label":"Owner","htmlFormatted":true},"components":[]}]}]}})";

/// A host whose server gives one answer, and what is asked of it.
struct Question {
  tests::TestClock clock;
  tests::ManualQueues queues;
  SObjectsHost host;
  std::string outcome = "unanswered";
};

/// A kind of answer.
struct ServerAnswer {
  std::string name;
  std::string url;  ///< how the request's begins
  std::string body;
  std::vector<JsonMember> members;
  std::function<std::string(Question&)> ask;  ///< gives what came of it, as text
  std::string outcome;                        ///< of a damaged body; "REASON" stands for what the reader said
  std::vector<std::string> errorLines;        ///< likewise
};

void PrintTo(const ServerAnswer& answer, std::ostream* out) {
  *out << answer.name;
}

template <class E>
std::string textOf(const std::optional<E>& error) {
  return error ? error->localizedDescription() : "no error";
}

std::string askForObjectList(Question& question) {
  const auto service = std::make_shared<SObjectsDataService>(question.host.api(), 300);
  service->loadSObjects([&](const auto& error) { question.outcome = textOf(error); });
  question.queues.runAll();
  return question.outcome;
}

std::string askForThemeList(Question& question) {
  const auto service = std::make_shared<ThemeDataService>(question.host.api(), 300);
  service->loadThemes([&](const auto& error) { question.outcome = textOf(error); });
  question.queues.runAll();
  return question.outcome;
}

std::string askForListView(Question& question) {
  question.host.network->answer(listUrl, StubNetwork::body(listBody));
  const auto service = std::make_shared<SObjectsDataService>(question.host.api(), 300);
  service->loadSObjects(nullptr);
  question.queues.runAll();
  const auto known = service->sObjectsForIds({"00B"}).sink([](const auto&) {}, [](const auto&) {});
  question.queues
      .runAll();  // caches the rows of "ListView", so that the lookup below could write only the type
  question.host.logger->clear();
  question.host.cache->clearCalls();
  const auto token = service->sObjectsForIds({"00Bxx"}).sink(
      [](const auto&) {}, [&](const auto& end) { question.outcome = textOf(end); });
  question.queues.runAll();
  return question.outcome;
}

template <class Layout>
auto noteLayouts(Question& question) {
  return [&question](const std::optional<std::vector<Layout>>& layouts, const auto& error) {
    question.outcome = (layouts ? std::to_string(layouts->size()) : "no") + " layouts, " + textOf(error);
  };
}

std::string askForSearchLayouts(Question& question) {
  const auto service = std::make_shared<LayoutDataService>(question.host.api(), 300);
  service->layoutForApiName({"Account"}, noteLayouts<ObjectLayoutInfo>(question));
  return question.outcome;
}

std::string askForCompactLayouts(Question& question) {
  question.host.network->answerPrefix(namesUrl, StubNetwork::body(R"({"records":[]})"));
  const auto service = std::make_shared<CompactLayoutDataService>(question.host.api(), 300);
  service->compactLayoutForApiName({"Account"}, noteLayouts<ObjectCompactLayoutInfo>(question));
  return question.outcome;
}

std::string askForNameFields(Question& question) {
  question.host.network->answerPrefix(layoutsUrl, StubNetwork::body(compactLayouts));
  const auto service = std::make_shared<CompactLayoutDataService>(question.host.api(), 300);
  service->compactLayoutForApiName({"Account"}, noteLayouts<ObjectCompactLayoutInfo>(question));
  return question.outcome;
}

ServerAnswer objectList() {
  return {.name = "ObjectList",
          .url = listUrl,
          .body = R"({"encoding":"UTF-8","sobjects":[{"name":"Account","keyPrefix":"001","label":"é",)"
                  R"("labelPlural":"\u00e9s","createable":true,"urls":{}}]})",
          .members = {{"/sobjects", "an array"},
                      {"/sobjects/0", "an object"},
                      {"/sobjects/0/name", "a string"},
                      {"/sobjects/0/keyPrefix", "a string", Need::optional},
                      {"/sobjects/0/label", "a string"},
                      {"/sobjects/0/labelPlural", "a string"},
                      {"/sobjects/0/createable", "a boolean"}},
          .ask = askForObjectList,
          .outcome = "The operation could not be completed. (SObjectsDataServiceError.other: REASON)",
          .errorLines = {"VelloraService: SObjectsDataServiceError: REASON",
                         "VelloraService: SObjectsDataServiceError: The operation could not be completed. "
                         "(SObjectsDataServiceError.other: REASON)"}};
}

ServerAnswer themeList() {
  return {.name = "ThemeList",
          .url = "/services/data/v50.0/theme",
          .body = R"({"themeItems":[{"name":"Account",)"
                  R"("colors":[{"color":"FF0000","context":"primary","theme":"light"}],)"
                  R"("icons":[{"contentType":"image/png","theme":"light","url":"a.png","width":16}]}]})",
          .members = {{"/themeItems", "an array"},
                      {"/themeItems/0", "an object"},
                      {"/themeItems/0/name", "a string"},
                      {"/themeItems/0/colors", "an array", Need::optional},
                      {"/themeItems/0/colors/0", "an object"},
                      {"/themeItems/0/colors/0/color", "a string"},
                      {"/themeItems/0/colors/0/context", "a string"},
                      {"/themeItems/0/colors/0/theme", "a string"},
                      {"/themeItems/0/icons", "an array"},
                      {"/themeItems/0/icons/0", "an object"},
                      {"/themeItems/0/icons/0/contentType", "a string"},
                      {"/themeItems/0/icons/0/theme", "a string"},
                      {"/themeItems/0/icons/0/url", "a string"},
                      {"/themeItems/0/icons/0/width", "an integer", Need::optional}},
          .ask = askForThemeList,
          .outcome = "The operation could not be completed. (ThemeDataServiceError.other: REASON)",
          .errorLines = {"VelloraService: ThemeDataServiceError: REASON",
                         "VelloraService: ThemeDataServiceError: The operation could not be completed. "
                         "(ThemeDataServiceError.other: REASON)"}};
}

ServerAnswer listViewQuery() {
  return {.name = "ListView",
          .url = "/services/data/v50.0/query?",
          .body = R"({"count":1,"records":[{"Id":"00Bxx","SobjectType":"Contact"}]})",
          .members = {{"/records", "an array"},
                      {"/records/0", "an object"},
                      {"/records/0/Id", "a string"},
                      {"/records/0/SobjectType", "a string", Need::optional}},
          .ask = askForListView,
          .outcome = "The operation could not be completed. (SObjectsDataServiceError.other: REASON)",
          .errorLines = {"VelloraService: SObjectsDataServiceError: REASON"}};
}

constexpr const char* layoutError =
    "The operation could not be completed. (SObjectsDataServiceError.decoding)";

ServerAnswer searchLayouts() {
  return {
      .name = "SearchLayouts",
      .url = "/services/data/v50.0/search/layout?",
      .body = R"([{"objectType":"Account","label":"x",)"
              R"("searchColumns":[{"name":"Name","label":"n","format":"f","field":"Name"}]}])",
      .members = {{"/0", "an object"},
                  {"/0/objectType", "a string"},
                  {"/0/searchColumns", "an array"},
                  {"/0/searchColumns/0", "an object"},
                  {"/0/searchColumns/0/name", "a string"},
                  {"/0/searchColumns/0/label", "a string"},
                  {"/0/searchColumns/0/format", "a string", Need::optional},
                  {"/0/searchColumns/0/field", "a string"}},
      .ask = askForSearchLayouts,
      .outcome = std::string("0 layouts, ") + layoutError,
      .errorLines = {"getLayoutFromNetwork(_:completion:): Failed to decode: REASON",
                     std::string("layoutForApiName(_:completion:): Network request error:  ") + layoutError}};
}

ServerAnswer compactLayoutList() {
  const std::string component = "/Account/fieldItems/0/layoutComponents/0";
  return {.name = "CompactLayouts",
          .url = layoutsUrl,
          .body = compactLayouts,
          .members = {{"/Account", "an object", Need::dynamic},
                      {"/Account/objectType", "a string"},
                      {"/Account/fieldItems", "an array"},
                      {"/Account/fieldItems/0", "an object"},
                      {"/Account/fieldItems/0/label", "a string"},
                      {"/Account/fieldItems/0/layoutComponents", "an array"},
                      {component, "an object"},
                      {component + "/value", "a string"},
                      {component + "/details", "an object", Need::optional},
                      {component + "/details/relationshipName", "a string", Need::optional},
                      {component + "/details/referenceTo", "an array"},
                      {component + "/details/referenceTo/0", "a string"},
                      {component + "/details/type", "a string"},
                      {component + "/details/label", "a string"},
                      {component + "/details/htmlFormatted", "a boolean"},
                      {component + "/components", "an array", Need::optional}},
          .ask = askForCompactLayouts,
          .outcome = std::string("0 layouts, ") + layoutError,
          .errorLines = {
              "getCompactLayoutFromNetwork(_:completion:): Failed to decode: REASON",
              std::string("compactLayoutForApiName(_:completion:): Network request error:  ") + layoutError}};
}

ServerAnswer nameFields() {
  return {
      .name = "NameFields",
      .url = namesUrl,
      .body = R"({"records":[{"QualifiedApiName":"Name","EntityDefinition":{"QualifiedApiName":"User"},)"
              R"("IsNameField":true}]})",
      .members = {{"/records", "an array"},
                  {"/records/0", "an object"},
                  {"/records/0/QualifiedApiName", "a string"},
                  {"/records/0/EntityDefinition", "an object"},
                  {"/records/0/EntityDefinition/QualifiedApiName", "a string"}},
      .ask = askForNameFields,
      .outcome = "1 layouts, no error",  // as they were downloaded
      .errorLines = {
          "getCompactLayoutFromNetwork(_:completion:): Qualified API Name network request failed: REASON"}};
}

class DamagedAnswersTest : public testing::TestWithParam<ServerAnswer> {
 protected:
  void ask(const std::string& body) {
    question.emplace();
    question->host.network->answerPrefix(GetParam().url, StubNetwork::body(body));
    outcome = GetParam().ask(*question);
    errors = question->host.errors();
    written = tests::writesAmong(question->host.cache->calls());
  }

  std::optional<Question> question;
  std::string outcome;
  std::vector<std::string> errors;
  std::ptrdiff_t written = 0;
};

TEST_P(DamagedAnswersTest, AWholeAnswerIsCached) {
  ask(GetParam().body);
  EXPECT_THAT(outcome, testing::HasSubstr("no error"));
  EXPECT_THAT(errors, testing::IsEmpty());
  EXPECT_GT(written, 0);
}

TEST_P(DamagedAnswersTest, ADamagedAnswerIsReportedAndNothingOfItCached) {
  for (const auto& damage : tests::damages(GetParam().body, GetParam().members)) {
    SCOPED_TRACE(damage.what);
    ask(damage.text);
    if (damage.reason) {
      ASSERT_EQ(outcome, tests::withReason(GetParam().outcome, *damage.reason));
      ASSERT_EQ(errors, tests::withReason(GetParam().errorLines, *damage.reason));
      ASSERT_EQ(written, 0);
    } else {
      ASSERT_THAT(outcome, testing::HasSubstr("no error"));
      ASSERT_THAT(errors, testing::IsEmpty());
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Of, DamagedAnswersTest,
                         testing::Values(objectList(), themeList(), listViewQuery(), searchLayouts(),
                                         compactLayoutList(), nameFields()),
                         [](const auto& answer) { return answer.param.name; });

}  // namespace
}  // namespace vellora
