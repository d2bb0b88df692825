#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

#include "fuzz/Target.h"

// What fuzzing started from, and what it has found since, is tried at each run of the tests.

namespace vellora::fuzz {
namespace {

namespace fs = std::filesystem;

std::vector<fs::path> filesIn(const fs::path& folder) {
  return {fs::directory_iterator(folder), fs::directory_iterator()};
}

std::string contentOf(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

class CorporaTest : public testing::TestWithParam<Target> {};

TEST_P(CorporaTest, KeepsItsPromisesForEveryInput) {
  const auto files = filesIn(fs::path(FUZZ_CORPUS) / GetParam().name);
  ASSERT_GE(files.size(), 3U);
  for (const auto& file : files) {
    SCOPED_TRACE(file);
    EXPECT_NO_THROW(GetParam().run(Data(contentOf(file))));
  }
}

TEST_P(CorporaTest, KeepsItsPromisesForNoBytesAtAll) {
  EXPECT_NO_THROW(GetParam().run(Data()));
}

INSTANTIATE_TEST_SUITE_P(Targets, CorporaTest, testing::ValuesIn(targets()),
                         [](const auto& target) { return std::string(target.param.name); });

TEST(CorporaFoldersTest, AreThoseOfTheTargets) {
  std::set<std::string> names;
  for (const auto& target : targets()) names.emplace(target.name);
  std::set<std::string> folders;
  for (const auto& folder : filesIn(FUZZ_CORPUS)) folders.insert(folder.filename().string());
  EXPECT_EQ(folders, names);
}

}  // namespace
}  // namespace vellora::fuzz
