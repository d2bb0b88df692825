#include "apps/vellora/cache/KeptFiles.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/TemporaryFolder.h"

namespace vellora::command {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(KeptFilesTest, AreThePlainFilesOfTheFolderThatAreNamedSo) {
  const tests::TemporaryFolder folder;
  for (const char* const name : {"b.sqlite", "a.sqlite", "a.sqlite-wal", ".vellora-key", "a.sqlite.damaged"})
    std::ofstream(folder.file(name)) << "x";
  std::filesystem::create_directory(folder.file("c.sqlite"));
  std::filesystem::create_symlink("a.sqlite", folder.file("d.sqlite"));
  EXPECT_THAT(keptFiles(folder.path().string()),
              ElementsAre(folder.file("a.sqlite"), folder.file("b.sqlite")));
}

TEST(KeptFilesTest, ThereAreNoneWithoutTheFolder) {
  const tests::TemporaryFolder folder;
  EXPECT_THAT(keptFiles(folder.file("absent")), IsEmpty());
}

}  // namespace
}  // namespace vellora::command
