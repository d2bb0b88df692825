#include "apps/vellora/cache/CacheTarget.h"

#include <filesystem>
#include <memory>
#include <string>
#include <variant>

#include "tests/apps/vellora/CommandFixture.h"
#include "vellora/Platform/Values/Data.h"
#include "vellora/Platform/Values/Date.h"

namespace vellora::command {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

class CacheTargetTest : public testing::Test {
 protected:
  const tests::TemporaryFolder folder;
  const std::string file = folder.file("cache.sqlite");
  const std::unique_ptr<CacheTarget> target = cacheFileTarget(file);
};

TEST_F(CacheTargetTest, AFileIsMadeFilledReadAndDeleted) {
  ASSERT_TRUE(std::get<0>(target->open())->save(Data("text"), "key"));
  EXPECT_THAT(std::get<0>(target->read(now())).blobs, SizeIs(1));
  EXPECT_EQ(target->destroy(), std::nullopt);
  EXPECT_FALSE(std::filesystem::exists(file));
}

TEST_F(CacheTargetTest, AFileThatIsNotThereCannotBeRead) {
  const auto read = target->read(now());
  EXPECT_EQ(std::get<Problem>(read).exit, ExitCode::cacheUnusable);
  EXPECT_THAT(std::get<Problem>(read).message, HasSubstr(file));
}

TEST_F(CacheTargetTest, OfAFileNothingMoreIsKnownThanIsSupposed) {
  EXPECT_EQ(target->explained({ExitCode::cacheUnusable, "is it full?"}).message, "is it full?");
  EXPECT_EQ(target->name(), "the cache file " + file);
}

TEST_F(CacheTargetTest, AnAddressThatIsNoneIsNotRepeated) {
  Arguments arguments;
  arguments.cacheFile = "redis://:secret@h";
  const auto made = cacheTarget(arguments, "owner");
  ASSERT_TRUE(std::holds_alternative<Problem>(made));
  EXPECT_EQ(std::get<Problem>(made).exit, ExitCode::usage);
  EXPECT_THAT(std::get<Problem>(made).message, Not(HasSubstr("secret")));
}

}  // namespace
}  // namespace vellora::command
