#include "vellora/DataServices/LayoutCache.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "hostkit/cache/memory/MemoryCache.h"
#include "testkit/FailingCache.h"
#include "testkit/RecordingLogger.h"

namespace vellora {
namespace {

using CorvaneSDK::LogLevel;
using testing::ElementsAre;
using testing::IsEmpty;
using testkit::RecordingLogger;

class LayoutCacheTest : public testing::Test {
 protected:
  RecordingLogger logger;
  hostkit::MemoryCache blobs;
  LayoutCache cache{blobs, logger, "PREFIX_"};
};

TEST_F(LayoutCacheTest, LoadsTheEntryThatItSaved) {
  cache.save("Account", std::string("text"), "save()");
  EXPECT_EQ(cache.load<std::string>("Account"), "text");
  EXPECT_THAT(logger.lines(), IsEmpty());
}

TEST_F(LayoutCacheTest, AKeyIsThePrefixFollowedByTheType) {
  cache.save("ALongTypeName", std::string("a"), "save()");
  cache.save("B", std::string("b"), "save()");
  EXPECT_EQ(blobs.load("PREFIX_ALongTypeName"), Data("\"a\""));
  EXPECT_EQ(blobs.load("PREFIX_B"), Data("\"b\""));
}

TEST_F(LayoutCacheTest, RemovesOneTypesEntry) {
  cache.save("A", std::string("a"), "save()");
  cache.save("B", std::string("b"), "save()");
  cache.remove("A");
  EXPECT_EQ(blobs.load("PREFIX_A"), std::nullopt);
  EXPECT_EQ(cache.load<std::string>("B"), "b");
}

TEST_F(LayoutCacheTest, SaysWhyThereIsNoEntry) {
  cache.save("Account", std::string("text"), "save()");
  using Other = std::map<std::string, std::string>;
  EXPECT_EQ(cache.load<Other>("Account"), std::nullopt);
  EXPECT_EQ(cache.load<Other>("Contact"), std::nullopt);
  EXPECT_THAT(logger.lines(),
              ElementsAre(RecordingLogger::Line{LogLevel::error,
                                                "load(key:): Failed to decode: expected an object at $"},
                          RecordingLogger::Line{LogLevel::info, "load(key:): No data from cache"}));
}

TEST_F(LayoutCacheTest, SavesNothingThatHasNoJsonForm) {
  cache.save("Account", std::string("\xFF"), "save()");
  EXPECT_EQ(blobs.load("PREFIX_Account"), std::nullopt);
  EXPECT_THAT(logger.texts(LogLevel::error), ElementsAre(testing::StartsWith("save(): Failed to encode: ")));
}

TEST_F(LayoutCacheTest, TellsWhichEntriesAreStillThere) {
  testkit::FailingCache failing(std::make_shared<hostkit::MemoryCache>());
  failing.fail(testkit::FailingCache::Operation::remove, "PREFIX_B");
  EXPECT_THAT(LayoutCache(failing, logger, "PREFIX_").removeAll({"A", "B", "C"}), ElementsAre("B"));
}

}  // namespace
}  // namespace vellora
