#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

#include "bindings/c/vellora.h"
#include "tests/bindings/c/CHost.h"

namespace vellora::tests {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// What callers must not do, and what they get for it: an error, and nothing taken over.
using CHostileInputTest = CCatalogFixture;

constexpr const char* isNull = " is null.";

TEST_F(CHostileInputTest, NullIsAnErrorWhereSomethingIsNeeded) {
  open();
  vellora_catalog* opened = nullptr;
  vellora_question* question = nullptr;
  vellora_answer* answer = nullptr;
  vellora_text document;
  auto summary = sized<vellora_summary>();
  const auto how = options();
  for (auto* error :
       {vellora_open(nullptr, &opened), vellora_open(&how, nullptr),
        vellora_ask(nullptr, VELLORA_ALL_TYPES, nullptr, 0, nullptr, nullptr, &question),
        vellora_ask(catalog.get(), VELLORA_ALL_TYPES, nullptr, 0, nullptr, nullptr, nullptr),
        vellora_watch(catalog.get(), VELLORA_ALL_TYPES, nullptr, 0, nullptr, nullptr, &question),
        vellora_wait(nullptr, &answer), vellora_state(nullptr, &answer),
        vellora_state(catalog.get(), nullptr), vellora_forget(nullptr), vellora_release_memory(nullptr),
        vellora_answer_document(nullptr, &document), vellora_answer_summary(nullptr, &summary)}) {
    const auto text = said(error);
    EXPECT_THAT(text, StartsWith("1: "));
    EXPECT_THAT(text, testing::EndsWith(isNull));
  }
  EXPECT_EQ(opened, nullptr);
  EXPECT_EQ(question, nullptr);
  EXPECT_EQ(answer, nullptr);
  EXPECT_EQ(vellora_reply(nullptr, nullptr), VELLORA_BAD_ARGUMENT);
  EXPECT_EQ(vellora_give(nullptr, nullptr), VELLORA_BAD_ARGUMENT);
  EXPECT_EQ(vellora_give_row(nullptr, nullptr), VELLORA_BAD_ARGUMENT);
}

TEST_F(CHostileInputTest, NullIsNothingToFree) {
  vellora_close(nullptr);
  vellora_cancel(nullptr);
  vellora_question_free(nullptr);
  vellora_answer_free(nullptr);
  vellora_error_free(nullptr);
}

TEST_F(CHostileInputTest, KeysWithoutBytesOrWithALengthThatNothingHasAreRefused) {
  open();
  vellora_question* question = nullptr;
  const auto askFor = [&](const vellora_text* keys, std::size_t count) {
    return said(vellora_ask(catalog.get(), VELLORA_TYPES, keys, count, nullptr, nullptr, &question));
  };
  EXPECT_EQ(askFor(nullptr, 1), "1: There cannot be 1 keys there.");
  const std::array<vellora_text, 2> noBytes{textOf("Account"), vellora_text{nullptr, 5}};
  EXPECT_EQ(askFor(noBytes.data(), 2), "1: Key 1 is null, but has a size of 5.");
  const vellora_text tooLong{"Account", std::numeric_limits<std::size_t>::max()};
  EXPECT_THAT(askFor(&tooLong, 1), HasSubstr("which is too much."));
  EXPECT_THAT(askFor(&tooLong, std::numeric_limits<std::size_t>::max()), StartsWith("1: There cannot be"));
  EXPECT_EQ(question, nullptr);
}

TEST_F(CHostileInputTest, AKeyThatIsNotUtf8IsMissingForThatReason) {
  open();
  const auto answer = wait(ask(VELLORA_RECORDS, {"\xFF\xFE", std::string("\0", 1)}));
  auto missing = sized<vellora_missing>();
  expectFine(vellora_answer_missing(answer.get(), 0, &missing));
  EXPECT_EQ(stringOf(missing.key), "\xFF\xFE");
  EXPECT_EQ(missing.why, VELLORA_NO_KEY);
  EXPECT_EQ(stringOf(missing.text), "not asked: The key is not UTF-8.");
  vellora_text document;
  expectFine(vellora_answer_document(answer.get(), &document));
  EXPECT_THAT(stringOf(document), HasSubstr(R"({"key":"��","code":"notAsked")"));
}

TEST_F(CHostileInputTest, OptionsThatAreNotUtf8AreRefused) {
  vellora_catalog* opened = nullptr;
  for (const char* vellora_options::*member :
       {&vellora_options::server, &vellora_options::ca_file, &vellora_options::cache_file,
        &vellora_options::cache_owner, &vellora_options::theme}) {
    auto how = options();
    how.*member = "\xC3(";
    EXPECT_THAT(said(vellora_open(&how, &opened)), testing::MatchesRegex("1: .* is not UTF-8."));
  }
  open();
  auto asked = sized<vellora_ask_options>();
  asked.filter = textOf("\xC3(");
  vellora_question* question = nullptr;
  EXPECT_EQ(said(vellora_list(catalog.get(), &asked, nullptr, &question)), "1: The filter is not UTF-8.");
}

TEST_F(CHostileInputTest, NumbersThatMeanNothingAreRefused) {
  vellora_catalog* opened = nullptr;
  auto how = options();
  how.cache_timeout_seconds = std::nan("");
  EXPECT_EQ(said(vellora_open(&how, &opened)), "1: The time-out of the cache is not a number.");
  how = options();
  how.attempts = -1;
  EXPECT_EQ(said(vellora_open(&how, &opened)), "1: The number of attempts is below 0.");
  open();
  vellora_question* question = nullptr;
  for (const std::int32_t kind : {0, 7, -1, 99}) {
    EXPECT_EQ(said(vellora_ask(catalog.get(), kind, nullptr, 0, nullptr, nullptr, &question)),
              "1: There is no question of kind " + std::to_string(kind) + ".");
  }
  auto asked = sized<vellora_ask_options>();
  asked.source = 3;
  EXPECT_EQ(said(vellora_list(catalog.get(), &asked, nullptr, &question)), "1: There is no source 3.");
  asked.source = 0;
  asked.deadline_seconds = std::nan("");
  EXPECT_EQ(said(vellora_list(catalog.get(), &asked, nullptr, &question)),
            "1: The deadline is not a number.");
}

TEST_F(CHostileInputTest, AStructSizeThatNoVersionHasIsRefused) {
  vellora_catalog* opened = nullptr;
  for (const std::size_t size : {std::size_t{0}, sizeof(vellora_options) - 1, std::size_t{1} << 20U}) {
    auto how = options();
    how.struct_size = size;
    EXPECT_EQ(said(vellora_open(&how, &opened)),
              "2: The options: no version has a struct_size of " + std::to_string(size) + ".");
  }
  open();
  auto summary = sized<vellora_summary>();
  summary.struct_size = 8;
  const auto answer = wait(ask(VELLORA_TYPES, {"Account"}));
  EXPECT_THAT(said(vellora_answer_summary(answer.get(), &summary)),
              StartsWith("2: The summary: no version has"));
  EXPECT_EQ(summary.kind, 0);
}

/// Options as a later version may have them.
struct LaterOptions {
  vellora_options known;
  std::int64_t added;
};

TEST_F(CHostileInputTest, ALaterStructIsTakenUnlessItAsksForMore) {
  LaterOptions later{options(), 0};
  later.known.struct_size = sizeof later;
  open(later.known);
  EXPECT_TRUE(catalog);
  LaterOptions asking{options(), 1};
  asking.known.struct_size = sizeof asking;
  vellora_catalog* opened = nullptr;
  EXPECT_EQ(said(vellora_open(&asking.known, &opened)),
            "2: The options: this version does not know all that is set.");
}

TEST_F(CHostileInputTest, WhatALaterCallerWouldHaveFilledBecomesZero) {
  struct {
    vellora_summary known;
    std::int64_t added;
  } later{};
  std::memset(&later, 0xAA, sizeof later);
  later.known.struct_size = sizeof later;
  open();
  const auto answer = wait(ask(VELLORA_TYPES, {"Account"}));
  expectFine(vellora_answer_summary(answer.get(), &later.known));
  EXPECT_EQ(later.known.struct_size, sizeof later);
  EXPECT_EQ(later.known.found, 1U);
  EXPECT_EQ(later.added, 0);
}

TEST_F(CHostileInputTest, TablesWithoutTheirFunctionsAreRefusedAndTheirContextsStayTheHosts) {
  vellora_catalog* opened = nullptr;
  auto how = options();
  auto lame = networkTable;
  lame.send = nullptr;
  how.network = &lame;
  EXPECT_EQ(said(vellora_open(&how, &opened)), "1: The network lacks a function.");
  auto cache = sized<vellora_cache>();
  how = options();
  how.cache = &cache;
  EXPECT_EQ(said(vellora_open(&how, &opened)), "1: The cache lacks a function.");
  open();
  CListener listener;
  auto table = listener.table();
  auto silent = table;
  silent.answered = nullptr;
  EXPECT_EQ(said(vellora_list(catalog.get(), nullptr, &silent, nullptr)),
            "1: The listener lacks its function.");
  EXPECT_EQ(said(vellora_ask(catalog.get(), 99, nullptr, 0, nullptr, &table, nullptr)),
            "1: There is no question of kind 99.");
  table.destroy(table.context);
  EXPECT_EQ(listener.awaitDestruction(), 1);
}

TEST_F(CHostileInputTest, KeysOfAQuestionThatTakesNoneAreRefusedByName) {
  open();
  const auto key = textOf("Account");
  vellora_question* question = nullptr;
  const OwnedError error(vellora_ask(catalog.get(), VELLORA_REFRESH, &key, 1, nullptr, nullptr, &question));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code, VELLORA_BAD_ARGUMENT);
  EXPECT_EQ(stringOf(error->text), "The question takes no keys.");
  EXPECT_EQ(stringOf(error->key), "Account");
  EXPECT_EQ(error->struct_size, sizeof(vellora_error));
}

TEST_F(CHostileInputTest, ARefreshIsNotWatched) {
  open();
  CListener listener;
  const auto table = listener.table();
  vellora_question* watch = nullptr;
  EXPECT_EQ(said(vellora_watch(catalog.get(), VELLORA_REFRESH, nullptr, 0, nullptr, &table, &watch)),
            "1: A refresh cannot be watched.");
  EXPECT_EQ(watch, nullptr);
  table.destroy(table.context);
}

TEST_F(CHostileInputTest, AnIndexBeyondTheEndIsNoEntry) {
  open();
  const auto answer = wait(ask(VELLORA_TYPES, {"Account"}));
  auto found = sized<vellora_found>();
  EXPECT_EQ(said(vellora_answer_found(answer.get(), 1, &found)), "5: The answer has no such found key.");
  auto missing = sized<vellora_missing>();
  EXPECT_EQ(said(vellora_answer_missing(answer.get(), std::numeric_limits<std::size_t>::max(), &missing)),
            "5: The answer has no such missing key.");
  auto field = sized<vellora_field>();
  EXPECT_EQ(said(vellora_answer_field(answer.get(), 0, 0, &field)), "5: The answer has no such field.");
}

TEST_F(CHostileInputTest, AResponseThatIsNoneFailsItsRequestForThatReason) {
  open();
  const auto missingBecause = [&](const std::string& name, const vellora_response& response,
                                  std::int32_t code) {
    const auto question = ask(VELLORA_SEARCH_COLUMNS, {name});
    const std::string url = "/services/data/v50.0/search/layout?q=" + name;
    EXPECT_EQ(vellora_reply(network.takeRequest(url), &response), code);
    const auto answer = wait(question);
    auto missing = sized<vellora_missing>();
    expectFine(vellora_answer_missing(answer.get(), 0, &missing));
    EXPECT_EQ(stringOf(missing.request), url);
    return stringOf(missing.text);
  };
  auto response = sized<vellora_response>();
  response.body = {nullptr, 7};
  EXPECT_THAT(missingBecause("A", response, VELLORA_BAD_ARGUMENT),
              HasSubstr("The body is null, but has a size of 7."));
  response = sized<vellora_response>();
  response.error = "\xFF";
  EXPECT_THAT(missingBecause("B", response, VELLORA_BAD_ARGUMENT), HasSubstr("The error is not UTF-8."));
  response.struct_size = 3;
  EXPECT_THAT(missingBecause("C", response, VELLORA_BAD_STRUCT),
              HasSubstr("no version has a struct_size of 3."));
}

TEST_F(CHostileInputTest, AHostThatCannotBeHadSaysWhy) {
  vellora_catalog* opened = nullptr;
  auto how = sized<vellora_options>();
  EXPECT_THAT(said(vellora_open(&how, &opened)), StartsWith("3: "));
  how.server = "no address";
  EXPECT_THAT(said(vellora_open(&how, &opened)), StartsWith("3: "));
  how = options();
  how.cache_file = "/dev/null/no such folder/cache";
  EXPECT_THAT(said(vellora_open(&how, &opened)), StartsWith("3: "));
  EXPECT_EQ(opened, nullptr);
}

}  // namespace
}  // namespace vellora::tests
