#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>

#include "bindings/c/vellora.h"
#include "tests/bindings/c/CHost.h"
#include "tests/support/AllocationCounter.h"

namespace vellora::tests {
namespace {

/// What callers get where there is no memory: an error, and nothing taken over.
using COutOfMemoryTest = CCatalogFixture;

constexpr const char* noMemory = "6: There is no memory left.";

/// Calls with one allocation after the other failing on this thread, and hands `check` what each call said,
/// until there is no allocation of that number.
void failEach(const std::function<vellora_error*()>& call,
              const std::function<void(const std::string&)>& check) {
  bool happened = true;
  std::size_t refused = 0;
  for (std::size_t number = 1; happened; ++number) {
    vellora_error* error = nullptr;
    {
      const AllocationFailure failure(number);
      error = call();
      happened = failure.happened();
    }
    const std::string text = said(error);
    refused += text == noMemory ? 1 : 0;
    check(text);
  }
  EXPECT_GT(refused, 0U);
}

TEST_F(COutOfMemoryTest, WhatIsNotAskedLeavesItsListenerToTheCaller) {
  open();
  const auto name = textOf("Account");
  for (const auto begin : {vellora_ask, vellora_watch}) {
    CListener listener;
    auto table = listener.table();
    int destroyed = 0;
    vellora_question* question = nullptr;
    failEach([&] { return begin(catalog.get(), VELLORA_TYPES, &name, 1, nullptr, &table, &question); },
             [&](const std::string& text) {
               EXPECT_EQ(question == nullptr, text == noMemory) << text;
               if (question == nullptr) table.destroy(table.context);
               vellora_question_free(question);
               question = nullptr;
               EXPECT_EQ(listener.awaitDestructions(++destroyed), destroyed);
               table = listener.table();
             });
    table.destroy(table.context);
  }
}

TEST_F(COutOfMemoryTest, ADocumentThatCannotBeWrittenIsAnErrorAndCanBeHadLater) {
  open();
  const auto answer = wait(ask(VELLORA_TYPES, {"Account"}));
  vellora_text document{};
  failEach([&] { return vellora_answer_document(answer.get(), &document); },
           [&](const std::string& text) { EXPECT_EQ(document.bytes == nullptr, text == noMemory); });
  EXPECT_NE(document.size, 0U);
}

}  // namespace
}  // namespace vellora::tests
