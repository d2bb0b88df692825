#include "vellora/Platform/Values/Attempt.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

namespace vellora::detail {
namespace {

void fail() {
  throw std::bad_alloc();
}

TEST(AttemptTest, SaysWhetherThereWasMemory) {
  int runs = 0;
  EXPECT_TRUE(hadMemoryFor([&] { ++runs; }));
  EXPECT_FALSE(hadMemoryFor([&] {
    ++runs;
    fail();
  }));
  EXPECT_EQ(runs, 2);
}

TEST(AttemptTest, UndoesWhatGotNoMemoryAndThrowsOn) {
  std::string done;
  EXPECT_THROW(runOrUndo(
                   [&] {
                     done += "begun ";
                     fail();
                   },
                   [&] { done += "undone"; }),
               std::bad_alloc);
  EXPECT_EQ(done, "begun undone");
}

TEST(AttemptTest, UndoesNothingOfWhatWasDone) {
  bool undone = false;
  runOrUndo([] {}, [&] { undone = true; });
  EXPECT_FALSE(undone);
}

TEST(AttemptTest, LetsOtherExceptionsPass) {
  bool undone = false;
  const auto fault = [] { throw std::runtime_error("another"); };
  EXPECT_THROW(hadMemoryFor(fault), std::runtime_error);
  EXPECT_THROW(runOrUndo(fault, [&] { undone = true; }), std::runtime_error);
  EXPECT_FALSE(undone);
}

}  // namespace
}  // namespace vellora::detail
