#include "apps/vellora/config/ConfigurationFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "tests/support/TemporaryFolder.h"

namespace vellora::command {
namespace {

TEST(ConfigurationFileTest, IsReadToItsEnd) {
  const tests::TemporaryFolder folder;
  const std::string text(100'000, 'x');
  std::ofstream(folder.file("a")) << text;
  const auto read = readConfigurationFile(folder.file("a"));
  EXPECT_TRUE(read.exists);
  EXPECT_EQ(read.failure, std::nullopt);
  EXPECT_EQ(read.text, text);
}

TEST(ConfigurationFileTest, OneThatIsNotThereIsNoFailure) {
  const tests::TemporaryFolder folder;
  const auto read = readConfigurationFile(folder.file("absent"));
  EXPECT_FALSE(read.exists);
  EXPECT_EQ(read.failure, std::nullopt);
}

TEST(ConfigurationFileTest, APipeWithoutAWriterIsRefusedRatherThanWaitedFor) {
  const tests::TemporaryFolder folder;
  ASSERT_EQ(::mkfifo(folder.file("pipe").c_str(), 0600), 0);
  EXPECT_EQ(readConfigurationFile(folder.file("pipe")).failure, "it is no plain file");
}

}  // namespace
}  // namespace vellora::command
