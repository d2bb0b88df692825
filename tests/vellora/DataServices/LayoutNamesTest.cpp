#include "vellora/DataServices/LayoutNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"

namespace vellora {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LayoutNamesTest : public testing::Test {
 protected:
  const std::shared_ptr<testkit::FailingCache> cache =
      std::make_shared<testkit::FailingCache>(std::make_shared<hostkit::MemoryCache>());
  const LayoutNames names{cache, "names"};
};

TEST_F(LayoutNamesTest, NotesNamesBeforeTheirLayoutsAreWritten) {
  std::vector<std::string> noted;
  names.noteAndSave({"B", "A"}, {}, [&] { noted = names.all(); });
  EXPECT_THAT(noted, ElementsAre("A", "B"));
}

TEST_F(LayoutNamesTest, WritesOnlyNewNames) {
  names.noteAndSave({"A"}, {}, [] {});
  cache->clearCalls();
  names.noteAndSave({"A"}, {}, [] {});
  EXPECT_THAT(cache->callTexts(), ElementsAre("load names"));
  names.noteAndSave({"B"}, {}, [] {});
  EXPECT_THAT(LayoutNames(cache, "names").all(), ElementsAre("A", "B"));
}

TEST_F(LayoutNamesTest, ABlobThatCannotBeReadNamesNothingAndIsReplaced) {
  cache->save(Data("{"), "names");
  EXPECT_THAT(names.all(), IsEmpty());
  names.noteAndSave({"A"}, {}, [] {});
  EXPECT_THAT(names.all(), ElementsAre("A"));
  names.forgetAllBut({});
  EXPECT_FALSE(cache->load("names"));
}

TEST_F(LayoutNamesTest, KeepsTheNamesOfLayoutsThatAreStillThere) {
  names.noteAndSave({"A", "B"}, {}, [] {});
  names.forgetAllBut({"B"});
  EXPECT_THAT(names.all(), ElementsAre("B"));
}

TEST_F(LayoutNamesTest, LayoutsThatCannotBeNotedAreNotWritten) {
  cache->fail(testkit::FailingCache::Operation::save, "names");
  bool isSaved = false;
  names.noteAndSave({"A"}, {}, [&] { isSaved = true; });
  EXPECT_FALSE(isSaved) << "nobody would find it to forget it";
}

}  // namespace
}  // namespace vellora
